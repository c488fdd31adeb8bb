#include "terminal/progress_line.h"

#include <unistd.h>

#include <iostream>

namespace eclipse_terminal {

ProgressLine::ProgressLine() : is_terminal_(isatty(STDERR_FILENO) != 0) {}

ProgressLine::~ProgressLine() { show(""); }

void ProgressLine::show(const std::string& text) {
  if (!is_terminal_) return;
  if (width_ > 0) std::cerr << '\r' + std::string(width_, ' ') + '\r';
  std::cerr << text << std::flush;
  width_ = text.size();
}

}  // namespace eclipse_terminal
