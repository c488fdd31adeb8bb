#include <string_view>

#include "descriptors/columns.h"
#include "eclipse_int/eclipse_int.h"

std::vector<std::string> split_by_tabs(std::string line) {
  std::vector<std::string> columns;
  std::string_view rest = line;
  while (const auto column = eclipse_int::take_column(rest)) columns.emplace_back(*column);
  return columns;
}
