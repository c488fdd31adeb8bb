#include "dry_run/descriptor_paths.h"

#include <algorithm>
#include <array>
#include <string>

#include "base/text.h"

namespace fs = std::filesystem;

namespace eclipse_dry_run {

std::size_t descriptor_directory_in(std::string_view path) {
  std::size_t at = path.find(descriptor_directory);
  while (at != path.npos && at != 0 && path[at - 1] != '/') at = path.find(descriptor_directory, at + 1);
  return at;
}

bool is_among_examples(std::string_view path) {
  constexpr std::array<std::string_view, 9> names = {"doc",    "docs",    "documentation", "example",  "examples",
                                                     "sample", "samples", "template",      "templates"};
  auto directories = eclipse_base::split(path.substr(0, descriptor_directory_in(path)), '/');
  directories.pop_back();
  return std::any_of(directories.begin(), directories.end(), [&](const std::string& directory) {
    return std::find(names.begin(), names.end(), eclipse_base::lower_case(directory)) != names.end();
  });
}

bool is_descriptor_directory(const std::filesystem::path& path) {
  return path.filename() == "eclipse" && path.parent_path().filename() == "etc";
}

fs::path directory_for_replacement(const fs::path& descriptor) {
  const std::string named = fs::absolute(descriptor).lexically_normal().string();
  fs::path directory = fs::weakly_canonical(descriptor).parent_path();
  if (const std::size_t at = named.find(descriptor_directory); at != named.npos) {
    const fs::path descriptors = fs::weakly_canonical(named.substr(0, at + descriptor_directory.size() - 1));
    if ((directory / "").string().starts_with((descriptors / "").string())) directory = descriptors.parent_path();
  }
  const std::string found = (directory / "").string();
  const std::size_t at = found.find(descriptor_directory);
  return at == found.npos ? directory : fs::path(found.substr(0, at + descriptor_directory.find('/')));
}

}  // namespace eclipse_dry_run
