// A file in memory, for functions that read only what has a path.
#ifndef ECLIPSE_INT_BASE_MEMORY_FILE_H
#define ECLIPSE_INT_BASE_MEMORY_FILE_H

#include <string>
#include <string_view>

namespace eclipse_base {

/// A regular file that this process can open by its path for as long as this object lives.
class MemoryFile {
 public:
  /// Throws std::system_error, also when /proc is not mounted.
  explicit MemoryFile(std::string_view content);
  ~MemoryFile();
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  /// The path of every file is directory + "/" + name().
  static constexpr const char* directory = "/proc/self/fd";
  std::string name() const;
  std::string path() const;

 private:
  int descriptor_;
};

}  // namespace eclipse_base

#endif
