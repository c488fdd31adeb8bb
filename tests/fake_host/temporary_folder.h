// An empty folder of its own for a test that needs real files.
#ifndef ECLIPSE_INT_TESTS_FAKE_HOST_TEMPORARY_FOLDER_H
#define ECLIPSE_INT_TESTS_FAKE_HOST_TEMPORARY_FOLDER_H

#include <filesystem>
#include <string>

namespace fake {

/// A new folder, which is the working folder as long as this object lives. So tests name files by short relative paths, and the
/// paths in records are short as well. Removed at the end with all that is in it.
class TemporaryFolder {
 public:
  TemporaryFolder();
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;

  /// The folder's path, absolute and without symbolic links.
  const std::string& path() const { return path_; }

 private:
  std::filesystem::path working_folder_before_;
  std::string path_;
};

/// Writes a file, and makes the folders that it needs.
void write_file(const std::string& file, const std::string& content);

}  // namespace fake

#endif
