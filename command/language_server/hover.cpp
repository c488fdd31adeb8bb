#include "language_server/hover.h"

#include <algorithm>
#include <array>
#include <set>
#include <sstream>
#include <string_view>

#include "lint/manual.h"
#include "lint/rule.h"
#include "lint/rules/header_lines.h"

namespace eclipse_language_server {

namespace {

constexpr std::string_view description_of_header =
    "### Header\n\nThe plug-in ignores every line whose first column is exactly `Repository`, wherever it is in the file.\n";

constexpr std::string_view description_of_ignored_line =
    "### Ignored line\n\nThe plug-in ignores a line without a tab. A line needs a repository, a tab, and a feature.\n";

constexpr std::array<std::string_view, 5> descriptions_of_columns = {
    "### Column 1: repository\n"
    "\n"
    "A p2 repository (update site): a directory, or an archive whose name ends in `.zip`. The path is relative to the "
    "component's directory, even if it begins with a slash. The plug-in ignores the line if this column is empty.\n",
    "### Column 2: feature\n\nThe installable unit that the director gets: the id of the feature, followed by "
    "`.feature.group`. Nothing is trimmed.\n",
    "### Column 3: extra\n\nThe plug-in reads this column and does nothing with it. It may be empty.\n",
    "### Column 4: order\n\nA number: features with lower numbers come first. Without this column, or if it does not begin "
    "with "
    "a number, it is 0. Of two lines with the same number, the later one gets the next free number.\n",
    "### Further columns\n\nThe plug-in ignores all columns after the fourth.\n"};

}  // namespace

std::string description_of(const std::vector<std::string>& rules) {
  std::ostringstream text;
  std::set<std::string> described;
  for (const std::string& name : rules) {
    const eclipse_lint::Rule* const rule = eclipse_lint::find_rule(name);
    if (rule == nullptr || !described.insert(name).second) continue;
    if (described.size() > 1) text << "\n";
    eclipse_lint::print_rule_in_markdown(text, *rule);
  }
  return text.str();
}

std::string description_of_column(const Document& document, const Position& position, PositionEncoding encoding) {
  const std::size_t offset = document.offset_of(position, encoding);
  const auto [start, line] = document.line_at(offset);
  const std::size_t column = column_at(line, offset - start);
  if (line.substr(0, line.find('\t')) == eclipse_lint::header) return std::string(description_of_header);
  if (line.find('\t') == line.npos) return std::string(description_of_ignored_line);
  return std::string(descriptions_of_columns[std::min(column, descriptions_of_columns.size() - 1)]);
}

std::size_t column_at(std::string_view line, std::size_t offset) {
  return static_cast<std::size_t>(std::count(line.begin(), line.begin() + static_cast<std::ptrdiff_t>(offset), '\t'));
}

}  // namespace eclipse_language_server
