#include "p2/unit_change.h"

#include <algorithm>
#include <iterator>

#include "base/text.h"

namespace eclipse_p2 {

namespace {

/// Whether a unit is among all that are known to be installed.
bool has(const InstalledUnits& installed, const Unit& wanted) {
  return installed.all && std::any_of(installed.all->begin(), installed.all->end(),
                                      [&](const auto& unit) { return is_wanted(wanted, unit.unit()); });
}

std::vector<Unit> missing_in(const std::vector<Unit>& units, const std::vector<Unit>& others) {
  std::vector<Unit> missing;
  std::set_difference(units.begin(), units.end(), others.begin(), others.end(), std::back_inserter(missing));
  return missing;
}

/// Of all units that are known, in order.
std::vector<Unit> without_roots(const InstalledUnits& installed) {
  std::vector<Unit> units;
  for (const InstalledUnit& unit : *installed.all) {
    if (!unit.is_root) units.push_back(unit.unit());
  }
  std::sort(units.begin(), units.end());
  return units;
}

std::size_t count_missing(const std::vector<Unit>& units, const InstalledUnits& installed) {
  std::vector<Unit> all;
  for (const InstalledUnit& unit : *installed.all) all.push_back(unit.unit());
  std::sort(all.begin(), all.end());
  return missing_in(units, all).size();
}

}  // namespace

bool UnitChange::is_empty() const {
  return installed.empty() && removed.empty() && now_by_name.empty() && no_longer_by_name.empty() && others_installed == 0 &&
         others_removed == 0;
}

UnitChange change_between(const InstalledUnits& before, const InstalledUnits& after) {
  UnitChange change;
  for (const Unit& unit : missing_in(after.roots, before.roots)) {
    (has(before, unit) ? change.now_by_name : change.installed).push_back(unit);
  }
  for (const Unit& unit : missing_in(before.roots, after.roots)) {
    (has(after, unit) ? change.no_longer_by_name : change.removed).push_back(unit);
  }
  if (!before.all || !after.all) return change;
  change.others_installed = count_missing(without_roots(after), before);
  change.others_removed = count_missing(without_roots(before), after);
  return change;
}

std::string text_of(const UnitChange& change) {
  std::vector<std::string> units;
  for (const Unit& unit : change.installed) units.push_back("+ " + text_of(unit));
  for (const Unit& unit : change.removed) units.push_back("- " + text_of(unit));
  const std::size_t more =
      change.others_installed + change.others_removed + change.now_by_name.size() + change.no_longer_by_name.size();
  if (more > 0) units.push_back(eclipse_base::counted(more, "other unit"));
  constexpr std::size_t most_named = 10;
  return eclipse_base::first_few(units, most_named);
}

}  // namespace eclipse_p2
