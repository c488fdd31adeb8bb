#include "base/file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "base/limits.h"
#include "base/open_file.h"

namespace fs = std::filesystem;

namespace eclipse_base {

namespace {

FileContent too_large(std::size_t limit) {
  return {"", "is larger than " + std::to_string(limit / largest::mebibyte) + " MiB", true};
}

[[noreturn]] void throw_unknown_path(const fs::path& file, const std::error_code& error) {
  throw FileError(file, "cannot determine its full path: " + error.message() + "; give the full path");
}

}  // namespace

int open_regular_file(const fs::path& file) {
  FileFacts ignored;
  return open_regular_file(file, ignored);
}

int open_regular_file(const fs::path& file, FileFacts& facts) {
  // Opening a device may do something to it, so look first. The file may be another one afterwards, so look again.
  struct stat status {};
  if (lstat(file.c_str(), &status) != 0) return -1;
  const bool is_link = S_ISLNK(status.st_mode);
  if (is_link && stat(file.c_str(), &status) != 0) return -1;
  if (S_ISREG(status.st_mode)) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0) return -1;
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode)) {
      facts = {static_cast<std::uintmax_t>(status.st_size), fs::perms(status.st_mode) & fs::perms::mask, is_link};
      return descriptor;
    }
    close(descriptor);
  }
  errno = EINVAL;
  return -1;
}

FileContent limited_content(std::string bytes, std::size_t limit) {
  return bytes.size() <= limit ? FileContent{std::move(bytes), ""} : too_large(limit);
}

FileContent read_file(const fs::path& file, std::size_t limit) {
  const OpenFile input(file);
  if (input.size() > limit) return too_large(limit);
  FileContent content = input.beginning(limit + 1);
  return content.error.empty() ? limited_content(std::move(content.bytes), limit) : content;
}

FileContent read_beginning(const fs::path& file, std::size_t count) { return OpenFile(file).beginning(count); }

FileContent read_end(const fs::path& file, std::size_t count) { return OpenFile(file).end(count); }

std::string content_of(const fs::path& file, std::size_t limit, const std::string& fix) {
  FileContent content = read_file(file, limit);
  if (!content.error.empty()) throw FileError(file, content.error + "; " + fix);
  return std::move(content.bytes);
}

bool is_same_file(const fs::path& one, const fs::path& other) {
  std::error_code error;
  if (fs::equivalent(one, other, error)) return true;
  const auto canonical = [](const fs::path& file) {
    std::error_code ignored;
    return fs::weakly_canonical(fs::absolute(file, ignored), ignored);
  };
  return canonical(one) == canonical(other);
}

fs::path renamed_to_damaged(const fs::path& file) {
  const std::string name = file.string() + std::string(set_aside_suffix);
  std::error_code error;
  fs::path free = name;
  for (int number = 2; fs::exists(fs::symlink_status(free, error)); ++number) free = name + "." + std::to_string(number);
  fs::rename(file, free, error);
  if (error) throw FileError(file, "cannot be renamed: " + error.message());
  return free;
}

fs::path absolute_path(const fs::path& file) {
  std::error_code error;
  fs::path path = fs::absolute(file, error);
  if (error) throw_unknown_path(file, error);
  return path;
}

fs::path canonical_path(const fs::path& file) {
  std::error_code error;
  fs::path path = fs::canonical(file, error);
  if (error) throw_unknown_path(file, error);
  return path;
}

}  // namespace eclipse_base
