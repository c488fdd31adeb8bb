// A directory that lasts as long as it is needed.
#ifndef ECLIPSE_INT_BASE_TEMPORARY_DIRECTORY_H
#define ECLIPSE_INT_BASE_TEMPORARY_DIRECTORY_H

#include <filesystem>

namespace eclipse_base {

/// Makes an empty directory that only this user can read, and removes it with all that is in it. Throws filesystem_error.
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
