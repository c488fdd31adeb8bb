#include "terminal/table.h"

#include <algorithm>

#include "base/printable.h"
#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_terminal {

std::string Table::text() const {
  std::vector<std::vector<std::string>> rows = rows_;
  std::vector<std::size_t> widths;
  for (auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) {
      row[i] = printable(row[i]);
      widths[i] = std::max(widths[i], characters_in(row[i]));
    }
  }
  std::string text;
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) line += "  " + row[i] + std::string(widths[i] - characters_in(row[i]), ' ');
    text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  }
  return text;
}

}  // namespace eclipse_terminal
