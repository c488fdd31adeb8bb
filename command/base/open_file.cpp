#include "base/open_file.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace fs = std::filesystem;

namespace eclipse_base {

namespace {

std::string last_error() { return errno == EINVAL ? "is not a regular file" : std::string(unreadable) + std::strerror(errno); }

}  // namespace

OpenFile::OpenFile(const fs::path& file) {
  descriptor_ = open_regular_file(file, facts_);
  if (descriptor_ < 0) error_ = last_error();
}

OpenFile::~OpenFile() {
  if (descriptor_ >= 0) close(descriptor_);
}

FileContent OpenFile::beginning(std::size_t count) const { return read_from(0, count); }

FileContent OpenFile::end(std::size_t count) const {
  return read_from(size() - std::min<std::uintmax_t>(size(), count), count);
}

FileContent OpenFile::read_from(std::uintmax_t offset, std::size_t count) const {
  if (!error_.empty()) return {"", error_};
  if (descriptor_ < 0) return {std::string(bytes_.substr(offset, count)), ""};
  FileContent content;
  std::array<char, 65536> piece;
  while (content.error.empty() && content.bytes.size() < count) {
    const std::size_t wanted = std::min(piece.size(), count - content.bytes.size());
    const ssize_t length = pread(descriptor_, piece.data(), wanted, static_cast<off_t>(offset + content.bytes.size()));
    if (length == 0) break;
    if (length < 0 && errno != EINTR) content.error = last_error();
    if (length > 0) content.bytes.append(piece.data(), static_cast<std::size_t>(length));
    // The read that would find the end is saved; a file whose size is 0 may be one of /proc.
    if (size() != 0 && offset + content.bytes.size() == size()) break;
  }
  return content;
}

}  // namespace eclipse_base
