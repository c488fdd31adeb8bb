// Texts in columns.
#ifndef ECLIPSE_INT_TERMINAL_TABLE_H
#define ECLIPSE_INT_TERMINAL_TABLE_H

#include <string>
#include <vector>

namespace eclipse_terminal {

class Table {
 public:
  void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }

  /// Each row on an indented line of its own, its texts in columns as wide as the widest of them. Control characters are shown.
  std::string text() const;

 private:
  std::vector<std::vector<std::string>> rows_;
};

}  // namespace eclipse_terminal

#endif
