#include "cli/table.h"

#include <algorithm>

#include "cli/one_line.h"

namespace eclipse_cli {

namespace {

/// In characters, when the text is UTF-8.
std::size_t width_of(const std::string& text) {
  return static_cast<std::size_t>(
      std::count_if(text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

}  // namespace

std::string Table::text() const {
  std::vector<std::vector<std::string>> rows = rows_;
  std::vector<std::size_t> widths;
  for (auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) {
      row[i] = on_one_line(row[i]);
      widths[i] = std::max(widths[i], width_of(row[i]));
    }
  }
  std::string text;
  for (const auto& row : rows) {
    std::string line;
    for (std::size_t i = 0; i < row.size(); ++i) line += "  " + row[i] + std::string(widths[i] - width_of(row[i]), ' ');
    text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
  }
  return text;
}

}  // namespace eclipse_cli
