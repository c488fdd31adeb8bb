// Texts in colour, for a terminal.
#ifndef ECLIPSE_INT_LINT_COLOURS_H
#define ECLIPSE_INT_LINT_COLOURS_H

#include <string>

#include "lint/finding.h"

namespace eclipse_lint {

/// The sequences that switch colours on a terminal, or nothing.
class Colours {
 public:
  explicit Colours(bool are_on) : are_on_(are_on) {}

  std::string bold(const std::string& text) const { return in("1", text); }
  std::string faint(const std::string& text) const { return in("2", text); }
  std::string of(Severity severity, const std::string& text) const {
    return in(severity == Severity::error ? "1;31" : severity == Severity::warning ? "1;35" : "1;36", text);
  }

 private:
  std::string in(const std::string& colour, const std::string& text) const {
    return are_on_ ? "\x1B[" + colour + "m" + text + "\x1B[0m" : text;
  }

  bool are_on_;
};

}  // namespace eclipse_lint

#endif
