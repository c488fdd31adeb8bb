// An empty directory of its own for a test that needs real files.
#ifndef ECLIPSE_INT_TESTS_FAKE_HOST_TEMPORARY_DIRECTORY_H
#define ECLIPSE_INT_TESTS_FAKE_HOST_TEMPORARY_DIRECTORY_H

#include <filesystem>
#include <optional>
#include <string>

namespace fake {

/// A new directory, which is the working directory as long as this object lives. So tests name files by short relative paths,
/// and the paths in records are short as well. Removed at the end with all that is in it. Its path has the same length
/// wherever temporary files are: findings have columns in lines that hold the path.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  ~TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  /// The directory's path, absolute and without symbolic links.
  const std::string& path() const { return path_; }

 private:
  std::filesystem::path working_directory_before_;
  std::string path_;
};

/// Another place for temporary files, as TMPDIR names it, as long as this object lives.
class PlaceOfTemporaryFiles {
 public:
  explicit PlaceOfTemporaryFiles(const std::string& directory);
  ~PlaceOfTemporaryFiles();
  PlaceOfTemporaryFiles(const PlaceOfTemporaryFiles&) = delete;
  PlaceOfTemporaryFiles& operator=(const PlaceOfTemporaryFiles&) = delete;

 private:
  std::optional<std::string> before_;
};

/// Writes a file, and makes the directories that it needs.
void write_file(const std::string& file, const std::string& content);

}  // namespace fake

#endif
