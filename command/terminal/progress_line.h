// A line on standard error that says what a person waits for, as long as nothing else is printed.
#ifndef ECLIPSE_INT_TERMINAL_PROGRESS_LINE_H
#define ECLIPSE_INT_TERMINAL_PROGRESS_LINE_H

#include <cstddef>
#include <string>

namespace eclipse_terminal {

/// Shows nothing unless standard error is a terminal. The line is erased with the object.
class ProgressLine {
 public:
  ProgressLine();
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Replaces the line.
  void show(const std::string& text);

 private:
  bool is_terminal_;
  std::size_t width_ = 0;  ///< of what shows
};

}  // namespace eclipse_terminal

#endif
