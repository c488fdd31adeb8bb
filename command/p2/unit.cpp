#include "p2/unit.h"

#include <algorithm>
#include <cstddef>

#include "p2/version.h"

namespace eclipse_p2 {

std::string_view without_white_space(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(white_space), text.size()));
  return text.substr(0, text.find_last_not_of(white_space) + 1);
}

std::string text_of(const Unit& unit) { return unit.version.empty() ? unit.id : unit.id + "/" + unit.version; }

Unit unit_called(std::string_view text) {
  const std::size_t slash = text.find('/');
  if (slash == text.npos) return {std::string(text), ""};
  return {std::string(text.substr(0, slash)), std::string(text.substr(slash + 1))};
}

std::vector<Unit> units_named(std::string_view list) {
  std::vector<Unit> units;
  while (!list.empty()) {
    const std::size_t comma = std::min(list.find(','), list.size());
    const std::string_view text = without_white_space(list.substr(0, comma));
    if (!text.empty()) units.push_back(unit_called(text));
    list.remove_prefix(std::min(comma + 1, list.size()));
  }
  return units;
}

bool is_wanted(const Unit& wanted, const Unit& installed) {
  if (wanted.id != installed.id) return false;
  return wanted.version.empty() || whole_version(wanted.version) == whole_version(installed.version);
}

}  // namespace eclipse_p2
