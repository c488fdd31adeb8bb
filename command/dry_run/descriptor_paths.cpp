#include "dry_run/descriptor_paths.h"

namespace eclipse_dry_run {

std::size_t descriptor_directory_in(std::string_view path) {
  std::size_t at = path.find(descriptor_directory);
  while (at != path.npos && at != 0 && path[at - 1] != '/') at = path.find(descriptor_directory, at + 1);
  return at;
}

bool is_descriptor_directory(const std::filesystem::path& path) {
  return path.filename() == "eclipse" && path.parent_path().filename() == "etc";
}

}  // namespace eclipse_dry_run
