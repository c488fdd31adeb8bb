// A directory for the files that the measured cases read.
#ifndef ECLIPSE_INT_BENCH_WORK_DIRECTORY_H
#define ECLIPSE_INT_BENCH_WORK_DIRECTORY_H

#include <filesystem>
#include <string>

namespace bench {

/// An empty directory, which is the working directory while this exists and is then removed. Cases use names relative to it, so
/// that texts have the same lengths wherever the directory is.
class WorkDirectory {
 public:
  WorkDirectory();
  ~WorkDirectory();
  WorkDirectory(const WorkDirectory&) = delete;
  WorkDirectory& operator=(const WorkDirectory&) = delete;

 private:
  std::filesystem::path before_;
  std::filesystem::path directory_;
};

/// Writes a file, and makes its parent directories.
void write_file(const std::string& name, const std::string& content);

}  // namespace bench

#endif
