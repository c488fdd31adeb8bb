// Writing a file whole or not at all.
#ifndef ECLIPSE_INT_BASE_FILE_REPLACEMENT_H
#define ECLIPSE_INT_BASE_FILE_REPLACEMENT_H

#include <filesystem>
#include <string>
#include <string_view>

#include "base/file_error.h"

namespace eclipse_base {

/// A new file that replaces another one when it is complete. Until then it is deleted with this object, but stays if the
/// process is killed. Every function throws FileError when the file cannot be written.
class FileReplacement {
 public:
  /// Of a symbolic link, the file that it leads to is replaced, which need not exist otherwise.
  /// The new file is in the directory of that one, or in the given one, which must be in the same file system.
  explicit FileReplacement(const std::filesystem::path& file, const std::filesystem::path& directory = {});
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  /// Only replacing the target shows that it can be replaced; the reasons against it that are known before are checked here.
  void check_target() const;

  /// To be called once. The new file has the permissions of the old one, and its owner and group as far as they can be set.
  void replace_target_with(std::string_view text);

 private:
  void copy_permissions_of_target() const;
  [[noreturn]] void fail() const;
  [[noreturn]] void fail(const std::string& reason) const;

  std::filesystem::path named_;
  std::filesystem::path target_;
  std::filesystem::path temporary_;
  int descriptor_ = -1;
};

}  // namespace eclipse_base

#endif
