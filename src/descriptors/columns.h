// The columns of a line.
#ifndef ECLIPSE_INT_SRC_DESCRIPTORS_COLUMNS_H
#define ECLIPSE_INT_SRC_DESCRIPTORS_COLUMNS_H

#include <algorithm>
#include <optional>
#include <string_view>

namespace eclipse_int {

/// Removes the first column, and the tab after it, from the front of `line`; returns nothing once the line is used up. So a tab
/// at the end of the line adds no column, while a tab at its start gives an empty first column.
inline std::optional<std::string_view> take_column(std::string_view& line) {
  if (line.empty()) return std::nullopt;
  const std::string_view column(line.data(), std::min(line.find('\t'), line.size()));
  line.remove_prefix(std::min(column.size() + 1, line.size()));
  return column;
}

}  // namespace eclipse_int

#endif
