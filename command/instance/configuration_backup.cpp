// The copy is the directory configuration/.eclipse-int.kept/TIME in the instance, with the files below their own names. It has
// no other name before it is complete.
#include "instance/configuration_backup.h"

#include <cstdint>
#include <memory>
#include <system_error>

#include "base/file.h"
#include "base/file_replacement.h"
#include "base/limits.h"
#include "instance/owner.h"
#include "p2/configuration_files.h"
#include "p2/instance_paths.h"
#include "p2/profile.h"

namespace fs = std::filesystem;
using namespace eclipse_base;
using namespace eclipse_p2;

namespace eclipse_instance {

namespace {

fs::path directory_of_copies(const fs::path& instance) { return instance / configuration_directory / ".eclipse-int.kept"; }

constexpr const char* incomplete = "incomplete";  ///< the name of a copy that is being made

/// What a director writes of an instance, but for the profile, which has a file for each state, and what it adds.
std::vector<fs::path> files_to_keep() {
  return {configuration_file, bundle_list, source_list, update_configuration, artifact_list};
}

std::string copy_of(const ConfigurationBackup& kept, const fs::path& file) {
  return content_of(kept.directory / file, largest::profile, "restore the file from a backup");
}

void make_directories(const fs::path& directory, const fs::path& around) {
  if (directory == around) return;
  make_directories(directory.parent_path(), around);
  make_directory_for_owner(directory);
}

bool has_space_for_twice(const fs::path& directory, std::uintmax_t size) {
  std::error_code error;
  const fs::space_info space = fs::space(directory, error);
  const bool is_known = !error && space.capacity > 0;
  return !is_known || space.available / 2 >= size;
}

/// A director that writes a file of this size anew must find as much space after the copy was made.
void check_space(const fs::path& copy, std::uintmax_t size) {
  if (!has_space_for_twice(copy.parent_path(), size)) throw NoSpace(copy, "would leave too little space for a director");
}

std::uintmax_t size_of(const fs::path& file) {
  std::error_code error;
  const std::uintmax_t size = fs::file_size(file, error);
  return error ? 0 : size;
}

void keep_file(const fs::path& from, const fs::path& to) {
  const std::string bytes = content_of(from, largest::profile, "restore it from a backup, or make it readable for this user");
  check_space(to, bytes.size());
  FileReplacement copy(to);
  copy.copy_permissions_of(from);
  copy.replace_target_with(bytes);
}

/// A copy that is being made. One that is not finished is removed.
class IncompleteCopy {
 public:
  /// One who may write into the instance could make a link of its place that leads out.
  explicit IncompleteCopy(const fs::path& copies) : directory_(copies / incomplete) {
    if (fs::is_symlink(fs::symlink_status(copies))) fs::remove(copies);
    fs::remove_all(directory_);
    fs::create_directories(copies.parent_path());
    make_directories(directory_, copies.parent_path());
  }
  ~IncompleteCopy() {
    std::error_code ignored;
    fs::remove_all(directory_, ignored);
  }
  IncompleteCopy(const IncompleteCopy&) = delete;
  IncompleteCopy& operator=(const IncompleteCopy&) = delete;

  void take_files_of(const fs::path& instance) const {
    for (const fs::path& file : files_to_keep()) {
      std::error_code error;
      const fs::file_status status = fs::status(instance / file, error);
      if (status.type() == fs::file_type::none) throw FileError(instance / file, "cannot be read: " + error.message());
      if (!fs::is_regular_file(status)) continue;
      make_directories((directory_ / file).parent_path(), directory_);
      keep_file(instance / file, directory_ / file);
    }
  }

  void finish(const std::string& name) const {
    const fs::path copies = directory_.parent_path();
    for (const auto& older : fs::directory_iterator(copies)) {
      if (older.path() != directory_) fs::remove_all(older.path());
    }
    fs::rename(directory_, copies / name);
  }

 private:
  fs::path directory_;
};

/// The directory around that of the file is there: it has the copy.
void make_place_for(const fs::path& file) {
  if (!fs::exists(fs::status(file.parent_path()))) make_directory_for_owner(file.parent_path());
  const bool is_there = fs::exists(fs::symlink_status(file));
  if (is_there && !fs::is_regular_file(fs::status(file))) renamed_to_damaged(file);
}

/// The files that differ from the copy, after `use` with the bytes of the copy.
template <typename Use>
std::vector<fs::path> differing(const ConfigurationBackup& kept, const fs::path& instance, const Use& use) {
  std::vector<fs::path> files;
  for (const fs::path& name : kept.files) {
    const fs::path file = instance / name;
    const std::string bytes = copy_of(kept, name);
    const FileContent now = read_file(file, largest::profile);
    if (now.error.empty() && now.bytes == bytes) continue;
    use(file, bytes);
    files.push_back(file);
  }
  return files;
}

}  // namespace

void back_up_configuration(const fs::path& instance, const std::string& time) {
  const fs::path copies = directory_of_copies(instance);
  try {
    const IncompleteCopy copy(copies);
    copy.take_files_of(instance);
    copy.finish(time);
  } catch (const fs::filesystem_error& error) {
    const std::string message = "cannot be written: " + error.code().message();
    if (NoSpace::is_reason(error.code().value())) throw NoSpace(copies, message);
    throw FileError(copies, message + "; make it a directory that this user can write, or rename it");
  }
}

void check_space_for_director(const fs::path& instance) {
  const fs::path newest = profile_file(instance);
  std::uintmax_t size = size_of(newest);
  for (const fs::path& file : files_to_keep()) size += size_of(instance / file);
  for (const fs::path& directory : {instance, newest.parent_path()}) {
    if (!has_space_for_twice(directory, size)) throw NoSpace(directory, "has too little space for a director");
  }
}

std::optional<ConfigurationBackup> configuration_backup(const fs::path& instance) {
  std::error_code error;
  for (const auto& copy : fs::directory_iterator(directory_of_copies(instance), error)) {
    if (copy.path().filename() == incomplete || !copy.is_directory(error)) continue;
    ConfigurationBackup kept{copy.path().filename().string(), {}, copy.path()};
    for (const fs::path& file : files_to_keep()) {
      if (fs::is_regular_file(copy.path() / file, error)) kept.files.push_back(file);
    }
    return kept;
  }
  return std::nullopt;
}

std::vector<fs::path> differing_files(const ConfigurationBackup& kept, const fs::path& instance) {
  return differing(kept, instance, [](const fs::path&, const std::string&) {});
}

std::vector<fs::path> restore(const ConfigurationBackup& kept, const fs::path& instance) {
  std::vector<std::unique_ptr<FileReplacement>> replacements;
  try {
    auto files = differing(kept, instance, [&](const fs::path& file, const std::string& bytes) {
      make_place_for(file);
      replacements.push_back(std::make_unique<FileReplacement>(file));
      replacements.back()->copy_permissions_of(kept.directory / file.lexically_relative(instance));
      replacements.back()->write(bytes);
    });
    for (const auto& replacement : replacements) replacement->replace_target();
    return files;
  } catch (const fs::filesystem_error& error) {
    throw FileError(error.path1(), "cannot be written: " + error.code().message() + "; make it writable for this user");
  }
}

}  // namespace eclipse_instance
