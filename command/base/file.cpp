#include "base/file.h"
#include "base/limits.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <system_error>
#include <utility>

namespace fs = std::filesystem;

namespace eclipse_base {

namespace {

/// A regular file that is open for reading.
class InputFile {
 public:
  explicit InputFile(const fs::path& file) : descriptor_(open_regular_file(file)) {
    if (descriptor_ < 0) note_error();
  }
  ~InputFile() {
    if (descriptor_ >= 0) close(descriptor_);
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  /// What the file system says of it: 0 for files of /proc, whatever they hold.
  std::uintmax_t size() const {
    struct stat status {};
    return descriptor_ >= 0 && fstat(descriptor_, &status) == 0 ? static_cast<std::uintmax_t>(status.st_size) : 0;
  }

  void skip_to_last(std::size_t count) {
    const off_t size = descriptor_ < 0 ? 0 : lseek(descriptor_, 0, SEEK_END);
    if (descriptor_ >= 0 && lseek(descriptor_, std::max<off_t>(0, size - static_cast<off_t>(count)), SEEK_SET) < 0)
      note_error();
  }

  /// At most so many bytes.
  FileContent read_up_to(std::size_t count) {
    FileContent content;
    std::array<char, 65536> piece;
    while (error_.empty() && content.bytes.size() < count) {
      const ssize_t length = read(descriptor_, piece.data(), std::min(piece.size(), count - content.bytes.size()));
      if (length == 0) break;
      if (length < 0 && errno != EINTR) note_error();
      if (length > 0) content.bytes.append(piece.data(), static_cast<std::size_t>(length));
    }
    content.error = error_;
    return content;
  }

 private:
  void note_error() {
    error_ = errno == EINVAL ? "is not a regular file" : std::string("cannot be read: ") + std::strerror(errno);
  }

  int descriptor_;
  std::string error_;
};

FileContent too_large(std::size_t limit) {
  return {"", "is larger than " + std::to_string(limit / largest::mebibyte) + " MiB", true};
}

[[noreturn]] void throw_unknown_path(const fs::path& file, const std::error_code& error) {
  throw FileError(file, "cannot determine its full path: " + error.message() + "; give the full path");
}

}  // namespace

int open_regular_file(const fs::path& file) {
  // Opening a device may do something to it, so look first. The file may be another one afterwards, so look again.
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) return -1;
  int descriptor = -1;
  if (S_ISREG(status.st_mode)) {
    descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY);
    if (descriptor < 0 || (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))) return descriptor;
    close(descriptor);
  }
  errno = EINVAL;
  return -1;
}

FileContent limited_content(std::string bytes, std::size_t limit) {
  return bytes.size() <= limit ? FileContent{std::move(bytes), ""} : too_large(limit);
}

FileContent read_file(const fs::path& file, std::size_t limit) {
  InputFile input(file);
  if (input.size() > limit) return too_large(limit);
  FileContent content = input.read_up_to(limit + 1);
  return content.error.empty() ? limited_content(std::move(content.bytes), limit) : content;
}

FileContent read_beginning(const fs::path& file, std::size_t count) { return InputFile(file).read_up_to(count); }

FileContent read_end(const fs::path& file, std::size_t count) {
  InputFile input(file);
  input.skip_to_last(count);
  return input.read_up_to(count);
}

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
