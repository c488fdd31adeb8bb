// The file that takes the installer's log.
#ifndef ECLIPSE_INT_TERMINAL_LOG_FILE_H
#define ECLIPSE_INT_TERMINAL_LOG_FILE_H

#include <string>

#include "standalone_host/session_run.h"

namespace eclipse_terminal {

class LogFile {
 public:
  /// Opens the file and empties it. A path that leads to standard output or standard error, as /dev/stdout does, writes to that
  /// stream and empties nothing. Directors do not inherit the descriptor. Throws FileError, also for a FIFO without a reader.
  explicit LogFile(const std::string& file);
  ~LogFile();
  LogFile(const LogFile&) = delete;
  LogFile& operator=(const LogFile&) = delete;

  /// Appends each record of the log as it comes, as one printable line, and before the record of a command each line of its
  /// output that the record leaves out. It refers to this object.
  eclipse_host::RunObserver observer();

  /// Throws FileError when a line could not be written.
  void check() const;

 private:
  void write_line(const std::string& line);

  std::string file_;
  int descriptor_;
  int error_ = 0;  ///< of the first line that could not be written
};

}  // namespace eclipse_terminal

#endif
