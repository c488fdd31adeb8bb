// The file that takes the installer's log.
#ifndef ECLIPSE_INT_CLI_LOG_FILE_H
#define ECLIPSE_INT_CLI_LOG_FILE_H

#include <fstream>
#include <string>

namespace eclipse_cli {

class LogFile {
 public:
  /// Opens the file and empties it. Throws FileError.
  explicit LogFile(const std::string& file);

  /// Appends a line, which stands in the file when this returns.
  void write(const std::string& line);

  /// Throws FileError when a line could not be written.
  void check() const;

 private:
  std::string file_;
  std::ofstream stream_;
  int error_ = 0;  ///< of the first line that could not be written
};

}  // namespace eclipse_cli

#endif
