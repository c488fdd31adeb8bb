#include "p2/unit.h"

#include <cstddef>

#include "p2/version.h"

namespace eclipse_p2 {

std::string text_of(const Unit& unit) { return unit.version.empty() ? unit.id : unit.id + "/" + unit.version; }

Unit unit_called(std::string_view text) {
  const std::size_t slash = text.find('/');
  if (slash == text.npos) return {std::string(text), ""};
  return {std::string(text.substr(0, slash)), std::string(text.substr(slash + 1))};
}

bool is_wanted(const Unit& wanted, const Unit& installed) {
  if (wanted.id != installed.id) return false;
  return wanted.version.empty() || whole_version(wanted.version) == whole_version(installed.version);
}

}  // namespace eclipse_p2
