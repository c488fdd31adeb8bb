// Writing a file whole or not at all.
#ifndef ECLIPSE_INT_BASE_FILE_REPLACEMENT_H
#define ECLIPSE_INT_BASE_FILE_REPLACEMENT_H

#include <filesystem>
#include <string>
#include <string_view>

#include "base/file_error.h"

namespace eclipse_base {

/// The file system, or what this user may have of it, is full.
class NoSpace : public FileError {
 public:
  /// Appends the fix to the message.
  NoSpace(const std::filesystem::path& file, const std::string& message);

  /// Whether an error of the system says so.
  static bool is_reason(int error);
};

/// A new file that replaces another one when it is complete. Until then it is deleted with this object, but stays if the
/// process is killed. Every function throws FileError when the file cannot be written, NoSpace if that is the reason.
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

  /// Gives the new file the permissions of this one, and its owner and group as far as they can be set. Nothing changes when
  /// there is no such file.
  void copy_permissions_of(const std::filesystem::path& file) const;

  /// To be called once. The new file has the permissions of the old one, and its owner and group as far as they can be set.
  void replace_target_with(std::string_view text);

  /// The same in two steps, each to be called once, for files of which all or none are to be replaced.
  void write(std::string_view text);
  void replace_target();

 private:
  [[noreturn]] void fail_with(int error, const std::string& where = "") const;
  [[noreturn]] void fail(const std::string& reason) const;

  std::filesystem::path named_;
  std::filesystem::path target_;
  std::filesystem::path temporary_;
  int descriptor_ = -1;
};

/// Writes a file whole or not at all, as FileReplacement does. The text is complete before there is a new file: if memory runs
/// out while it is composed, the process may end without a chance to delete that file.
void replace_file(const std::filesystem::path& file, std::string_view text);

}  // namespace eclipse_base

#endif
