#include "p2/unit.h"

#include <algorithm>
#include <cstddef>

#include "base/text.h"
#include "p2/version.h"

using eclipse_base::trimmed;

namespace eclipse_p2 {

std::string text_of(const Unit& unit) { return unit.version.empty() ? unit.id : unit.id + "/" + unit.version; }

std::vector<std::string> texts_of(const std::vector<Unit>& units) {
  std::vector<std::string> texts;
  texts.reserve(units.size());
  for (const Unit& unit : units) texts.push_back(text_of(unit));
  return texts;
}

Unit unit_called(std::string_view text) {
  const std::size_t slash = std::min(text.find('/'), text.size());
  const std::string_view id = text.substr(0, slash);
  text.remove_prefix(std::min(text.find_first_not_of('/', slash), text.size()));
  return {std::string(id), std::string(trimmed(text.substr(0, text.find('/'))))};
}

bool is_pinned(const Unit& unit) { return !unit.version.empty() && whole_version(unit.version) != "0.0.0"; }

bool is_wanted(const Unit& wanted, const Unit& installed) {
  if (wanted.id != installed.id) return false;
  return !is_pinned(wanted) || whole_version(wanted.version) == whole_version(installed.version);
}

}  // namespace eclipse_p2
