// A directory that lasts as long as it is needed.
#ifndef ECLIPSE_INT_BASE_TEMPORARY_DIRECTORY_H
#define ECLIPSE_INT_BASE_TEMPORARY_DIRECTORY_H

#include <filesystem>

#include "base/file_error.h"

namespace eclipse_base {

/// How to fix that there is no directory for temporary files.
inline constexpr const char* other_temporary_directory =
    "set TMPDIR to a directory with enough space that this user can write to";

/// Makes an empty directory that only this user can read, and removes it with all that is in it. Throws FileError.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  const std::filesystem::path& path() const { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace eclipse_base

#endif
