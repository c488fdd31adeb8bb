// A folder for the files that the measured cases read.
#ifndef ECLIPSE_INT_BENCH_WORK_FOLDER_H
#define ECLIPSE_INT_BENCH_WORK_FOLDER_H

#include <filesystem>
#include <string>

namespace bench {

/// An empty folder, which is the working directory as long as this lives and is removed after it. The names that cases use are
/// relative to it, so that texts have the same lengths wherever the folder is.
class WorkFolder {
 public:
  WorkFolder();
  ~WorkFolder();
  WorkFolder(const WorkFolder&) = delete;
  WorkFolder& operator=(const WorkFolder&) = delete;

 private:
  std::filesystem::path before_;
  std::filesystem::path folder_;
};

/// Writes a file, and the folders above it.
void write_file(const std::string& name, const std::string& content);

}  // namespace bench

#endif
