#include "base/file_replacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <system_error>

#include "base/write_all.h"

namespace eclipse_base {

namespace {

/// The file itself, with all links followed. A device such as /dev/null, or a pipe, must not be replaced by a file.
std::filesystem::path target_of(const std::filesystem::path& file) {
  std::error_code error;
  const auto status = std::filesystem::status(file, error);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw FileError(file, "is not a regular file; give the path of a file to write");
  }
  if (!std::filesystem::exists(status) && std::filesystem::is_symlink(file, error)) {
    throw FileError(file, "is a dangling symlink; give the path of a file to write");
  }
  auto target = std::filesystem::weakly_canonical(std::filesystem::absolute(file, error), error);
  if (error) throw FileError(file, "cannot be written: " + error.message() + "; give the path of a file to write");
  return target;
}

}  // namespace

NoSpace::NoSpace(const std::filesystem::path& file, const std::string& message)
    : FileError(file, message + "; free some space in its file system") {}

bool NoSpace::is_reason(int error) { return error == ENOSPC || error == EDQUOT; }

FileReplacement::FileReplacement(const std::filesystem::path& file, const std::filesystem::path& directory)
    : named_(file), target_(target_of(file)) {
  const std::string name = "." + target_.filename().string() + "." + std::to_string(getpid()) + ".new";
  temporary_ = (directory.empty() ? target_.parent_path() : directory) / name;
  unlink(temporary_.c_str());
  descriptor_ = open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
  if (descriptor_ < 0) fail_with(errno, directory.empty() ? "" : temporary_.string() + ": ");
}

FileReplacement::~FileReplacement() {
  if (descriptor_ < 0) return;
  close(descriptor_);
  unlink(temporary_.c_str());
}

void FileReplacement::check_target() const {
  struct statx target {};
  if (statx(AT_FDCWD, target_.c_str(), 0, STATX_BASIC_STATS, &target) != 0) return;
  const std::uint64_t attributes = target.stx_attributes & target.stx_attributes_mask;
  if ((attributes & (STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND)) != 0) fail("it is immutable or append-only");
  if ((attributes & STATX_ATTR_MOUNT_ROOT) != 0) fail("it is a mount point");
  if (faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) fail_with(errno);
}

void FileReplacement::replace_target_with(std::string_view text) {
  write(text);
  replace_target();
}

void FileReplacement::write(std::string_view text) {
  copy_permissions_of(target_);
  if (!write_all(descriptor_, text) || fsync(descriptor_) != 0) fail_with(errno);
}

void FileReplacement::replace_target() {
  if (rename(temporary_.c_str(), target_.c_str()) != 0) fail_with(errno);
  close(descriptor_);
  descriptor_ = -1;
}

/// Before anything is written: nobody may read it who may not read the target.
void FileReplacement::copy_permissions_of(const std::filesystem::path& file) const {
  struct stat existing {};
  if (stat(file.c_str(), &existing) != 0) return;
  if (fchmod(descriptor_, existing.st_mode & 07777U) != 0) fail_with(errno);
  // A user who cannot change the owner may still be able to set the group. Neither is required.
  [[maybe_unused]] const bool is_given = fchown(descriptor_, existing.st_uid, existing.st_gid) == 0 ||
                                         fchown(descriptor_, static_cast<uid_t>(-1), existing.st_gid) == 0;
}

void FileReplacement::fail_with(int error, const std::string& where) const {
  const std::string reason = where + std::strerror(error);
  if (NoSpace::is_reason(error)) throw NoSpace(named_, "cannot be written: " + reason);
  fail(reason);
}

void FileReplacement::fail(const std::string& reason) const {
  throw FileError(named_, "cannot be written: " + reason + "; give the path of a writable file in a writable directory");
}

void replace_file(const std::filesystem::path& file, std::string_view text) { FileReplacement(file).replace_target_with(text); }

}  // namespace eclipse_base
