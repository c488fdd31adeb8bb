// A file whose parts are read in any order.
#ifndef ECLIPSE_INT_BASE_OPEN_FILE_H
#define ECLIPSE_INT_BASE_OPEN_FILE_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include "base/file.h"

namespace eclipse_base {

/// A regular file that is open for reading, or the bytes of one that was read.
class OpenFile {
 public:
  explicit OpenFile(const std::filesystem::path& file);
  /// The bytes must outlive it.
  static OpenFile in_memory(std::string_view bytes) { return OpenFile(bytes, bytes.size()); }
  ~OpenFile();
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  /// Why it is not open, as in FileContent; empty when it is.
  const std::string& error() const { return error_; }
  /// What the file system says of it; of bytes in memory, only the size is known.
  const FileFacts& facts() const { return facts_; }
  std::uintmax_t size() const { return facts_.size; }
  /// At most so many bytes of its beginning or of its end.
  FileContent beginning(std::size_t count) const;
  FileContent end(std::size_t count) const;

  /// Of a file; -1 for bytes.
  int descriptor() const { return descriptor_; }
  std::string_view bytes() const { return bytes_; }

 private:
  OpenFile(std::string_view bytes, std::uintmax_t size) : bytes_(bytes), facts_{.size = size} {}

  FileContent read_from(std::uintmax_t offset, std::size_t count) const;

  int descriptor_ = -1;
  std::string_view bytes_;
  FileFacts facts_;
  std::string error_;
};

}  // namespace eclipse_base

#endif
