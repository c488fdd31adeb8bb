// The copy is the directory configuration/.eclipse-int.kept/TIME in the instance, with the files below their own names. It has
// no other name before it is complete.
#include "p2/kept_configuration.h"

#include <system_error>

#include "base/file.h"
#include "base/file_replacement.h"
#include "p2/configuration_files.h"

namespace fs = std::filesystem;
using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

fs::path directory_of_copies(const fs::path& instance) { return instance / "configuration/.eclipse-int.kept"; }

/// What a director writes of an instance, but for the profile, which has a file for each state, and what it adds.
std::vector<fs::path> files_to_keep() {
  return {configuration_file, bundle_list, "configuration/org.eclipse.equinox.source/source.info",
          "configuration/org.eclipse.update/platform.xml", "artifacts.xml"};
}

std::string copy_of(const KeptConfiguration& kept, const fs::path& instance, const fs::path& file) {
  return content_of(directory_of_copies(instance) / kept.time / file, largest::profile, "restore the file from a backup");
}

void copy_files(const fs::path& from, const fs::path& to) {
  for (const fs::path& file : files_to_keep()) {
    if (!fs::is_regular_file(from / file)) continue;
    fs::create_directories((to / file).parent_path());
    fs::copy_file(from / file, to / file);
  }
}

/// The files that differ from the copy, after `use` with the bytes of the copy.
template <typename Use>
std::vector<fs::path> differing(const KeptConfiguration& kept, const fs::path& instance, const Use& use) {
  std::vector<fs::path> files;
  for (const fs::path& name : kept.files) {
    const fs::path file = instance / name;
    const std::string bytes = copy_of(kept, instance, name);
    const FileContent now = read_file(file, largest::profile);
    if (now.error.empty() && now.bytes == bytes) continue;
    use(file, bytes);
    files.push_back(file);
  }
  return files;
}

}  // namespace

void keep_configuration(const fs::path& instance, const std::string& time) {
  const fs::path copies = directory_of_copies(instance);
  try {
    // One who may write into the instance could make a link of it that leads out.
    if (fs::is_symlink(fs::symlink_status(copies))) fs::remove(copies);
    const fs::path incomplete = copies / "incomplete";
    fs::remove_all(incomplete);
    fs::create_directories(incomplete);
    copy_files(instance, incomplete);
    for (const auto& older : fs::directory_iterator(copies)) {
      if (older.path() != incomplete) fs::remove_all(older.path());
    }
    fs::rename(incomplete, copies / time);
  } catch (const fs::filesystem_error& error) {
    throw FileError(error.path1().empty() ? copies : error.path1(), error.code().message());
  }
}

std::optional<KeptConfiguration> kept_configuration(const fs::path& instance) {
  std::error_code error;
  for (const auto& copy : fs::directory_iterator(directory_of_copies(instance), error)) {
    if (copy.path().filename() == "incomplete" || !copy.is_directory(error)) continue;
    KeptConfiguration kept{copy.path().filename().string(), {}};
    for (const fs::path& file : files_to_keep()) {
      if (fs::is_regular_file(copy.path() / file, error)) kept.files.push_back(file);
    }
    return kept;
  }
  return std::nullopt;
}

std::vector<fs::path> differing_files(const KeptConfiguration& kept, const fs::path& instance) {
  return differing(kept, instance, [](const fs::path&, const std::string&) {});
}

std::vector<fs::path> bring_back(const KeptConfiguration& kept, const fs::path& instance) {
  return differing(kept, instance,
                   [](const fs::path& file, const std::string& bytes) { FileReplacement(file).replace_target_with(bytes); });
}

}  // namespace eclipse_p2
