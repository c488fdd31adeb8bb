#include "cli/log_file.h"

#include <cerrno>
#include <cstring>

#include "base/file_error.h"

namespace eclipse_cli {

LogFile::LogFile(const std::string& file) : file_(file), stream_(file, std::ios::binary | std::ios::trunc) {
  if (stream_) return;
  throw eclipse_base::FileError(file + ": cannot be opened for the log: " + std::strerror(errno) +
                                "; give the path of a file that can be written");
}

void LogFile::write(const std::string& line) {
  if (error_ == 0 && !(stream_ << line << '\n' << std::flush)) error_ = errno;
}

void LogFile::check() const {
  if (error_ == 0) return;
  throw eclipse_base::FileError(file_ + ": the log is not complete: " + std::strerror(error_) + "; give it another place");
}

}  // namespace eclipse_cli
