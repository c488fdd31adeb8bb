#include "verify/verification.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace eclipse_verify {

namespace {

/// Each unit once, at the first of its places in the install order, with all lines that name it.
std::vector<CheckedUnit> units_of(const eclipse_plan::Plan& plan) {
  std::vector<CheckedUnit> units;
  std::map<Unit, std::size_t> known;
  for (const eclipse_plan::PlannedRecord* const record : plan.by_slot()) {
    for (const Unit& unit : units_named(record->config.feature)) {
      const auto [found, is_new] = known.emplace(unit, units.size());
      if (is_new) units.push_back({unit, {}, false, {}});
      units[found->second].places.push_back(record->file + ":" + std::to_string(record->line));
    }
  }
  return units;
}

void look_up(CheckedUnit& checked, const std::vector<Unit>& installed) {
  for (const Unit& unit : installed) {
    if (is_wanted(checked.unit, unit)) {
      checked.is_installed = true;
    } else if (unit.id == checked.unit.id) {
      checked.other_versions.push_back(unit.version);
    }
  }
}

}  // namespace

std::vector<CheckedUnit> Verification::differences() const {
  std::vector<CheckedUnit> different = units;
  std::erase_if(different, [this](const CheckedUnit& checked) { return is_as_it_should_be(checked); });
  return different;
}

std::vector<CheckedUnit> Verification::not_there() const {
  std::vector<CheckedUnit> missing;
  if (!is_removal) return missing;
  std::copy_if(units.begin(), units.end(), std::back_inserter(missing),
               [](const auto& checked) { return !checked.is_installed; });
  return missing;
}

Verification compare(const eclipse_plan::Plan& plan, std::vector<Unit> installed) {
  Verification verification{plan.is_removal, plan.executable, std::move(installed), units_of(plan)};
  for (CheckedUnit& checked : verification.units) look_up(checked, verification.installed);
  return verification;
}

Verification verify(const eclipse_plan::Plan& plan) { return compare(plan, installed_units(plan.executable)); }

std::vector<Unit> missing_in(const std::vector<Unit>& units, const std::vector<Unit>& others) {
  std::vector<Unit> missing;
  std::set_difference(units.begin(), units.end(), others.begin(), others.end(), std::back_inserter(missing));
  return missing;
}

}  // namespace eclipse_verify
