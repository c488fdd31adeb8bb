// Replacing a file completely or not at all.
#ifndef ECLIPSE_INT_BASE_FILE_REPLACEMENT_H
#define ECLIPSE_INT_BASE_FILE_REPLACEMENT_H

#include <filesystem>
#include <string>
#include <string_view>

#include "base/file_error.h"

namespace eclipse_base {

/// A new file in the directory of another one, which it replaces when it is complete. Until then it is deleted with this
/// object. If the other one is a link, its target is replaced. All throw FileError.
class FileReplacement {
 public:
  explicit FileReplacement(const std::filesystem::path& file);
  ~FileReplacement();
  FileReplacement(const FileReplacement&) = delete;
  FileReplacement& operator=(const FileReplacement&) = delete;

  /// Only replacing the target shows that it can be replaced; the reasons against it that are known before are checked here.
  void check_target() const;

  /// The file keeps its permissions, and its owner and group as far as the process may set them.
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
