#include "verify/verification.h"

#include <algorithm>
#include <compare>
#include <iterator>
#include <map>
#include <string_view>
#include <utility>

#include "p2/installation.h"
#include "p2/instance_paths.h"
#include "p2/kept_artifacts.h"
#include "p2/removal.h"
#include "p2/unit_list.h"
#include "p2/version.h"

using namespace eclipse_p2;
using eclipse_plan::Offer;

namespace eclipse_verify {

namespace {

/// Whether an installed version of a unit is the one that is named or brought, or a higher one than that which is brought.
bool is_as_wanted(const CheckedUnit& checked, const Unit& installed) {
  const bool is_older = !checked.brought.empty() && std::is_lt(compare_versions(installed.version, checked.brought));
  return is_wanted(checked.unit, installed) && !is_older;
}

/// The same, and takes down that the installed version is higher.
bool look_at(CheckedUnit& checked, const Unit& installed) {
  if (!is_as_wanted(checked, installed)) return false;
  const bool is_newer = !checked.brought.empty() && std::is_gt(compare_versions(installed.version, checked.brought));
  if (is_newer) checked.newer = installed.version;
  return true;
}

using Records = std::vector<const eclipse_plan::PlannedRecord*>;

/// Each unit once, at the first of its places in the install order, with all lines that name it.
std::vector<CheckedUnit> units_of(const Records& records, const Offer& offer) {
  std::vector<CheckedUnit> units;
  std::map<Unit, std::size_t> known;
  for (const eclipse_plan::PlannedRecord* const record : records) {
    for (const auto& [unit, text, start] : units_written_in(record->config.feature)) {
      const auto [found, is_new] = known.emplace(unit, units.size());
      if (is_new) units.push_back({unit, {}, highest_offered(unit, offer.units).value_or(""), false, false, {}, {}, ""});
      units[found->second].places.push_back(record->place());
    }
  }
  return units;
}

void look_up_roots(CheckedUnit& checked, const std::vector<Unit>& roots) {
  for (const Unit& unit : roots) {
    if (look_at(checked, unit)) {
      checked.is_installed = true;
      checked.is_root = true;
    } else if (unit.id == checked.unit.id) {
      checked.other_versions.push_back(unit.version);
    }
  }
}

std::vector<Unit> without_places(const std::vector<CheckedUnit>& checked) {
  std::vector<Unit> units(checked.size());
  std::transform(checked.begin(), checked.end(), units.begin(), [](const CheckedUnit& each) { return each.unit; });
  return units;
}

/// The profile has the roots, too.
void look_up_all(CheckedUnit& checked, const InstalledById& all) {
  UnitState state = all.state_of(checked.unit.id, [&](const Unit& unit) { return look_at(checked, unit); });
  checked.is_installed = checked.is_installed || state.is_installed;
  checked.required_by = std::move(state.required_by);
  checked.other_versions = std::move(state.other_versions);
}

std::vector<CheckedUnit> unremoved_units_of(const eclipse_plan::Plan& plan, const std::vector<Unit>& roots) {
  Records records;
  for (const eclipse_plan::PlannedRecord& record : plan.unremoved) records.push_back(&record);
  std::vector<CheckedUnit> units = units_of(records, {});
  for (CheckedUnit& checked : units) look_up_roots(checked, roots);
  std::erase_if(units, [](const CheckedUnit& checked) { return !checked.is_root; });
  return units;
}

void look_for_files(Verification& verification) {
  if (verification.is_removal || !verification.knows_all()) return;
  std::vector<std::string_view> ids;
  for (const CheckedUnit& checked : verification.units) {
    if (checked.is_installed) ids.push_back(checked.unit.id);
  }
  const auto needed = ids_kept_by(std::move(ids), *verification.installed.all);
  std::vector<InstalledUnit> units;
  std::copy_if(verification.installed.all->begin(), verification.installed.all->end(), std::back_inserter(units),
               [&](const InstalledUnit& unit) { return needed.contains(unit.id); });
  const std::filesystem::path instance = instance_directory(verification.executable);
  verification.missing_files = missing_files(instance, listed_artifacts(instance), units);
}

}  // namespace

bool is_verifiable(const eclipse_plan::Plan& plan) { return plan.command || !plan.unremoved.empty(); }

std::vector<CheckedUnit> Verification::differences() const {
  std::vector<CheckedUnit> different = units;
  std::erase_if(different, [this](const CheckedUnit& checked) { return is_as_it_should_be(checked); });
  return different;
}

std::optional<bool> Verification::has(const std::string& feature) const {
  std::optional<bool> has;
  for (const WrittenUnit& written : units_written_in(feature)) {
    const auto is_it = [&](const CheckedUnit& checked) { return checked.unit == written.unit; };
    const auto found = std::find_if(units.begin(), units.end(), is_it);
    if (found == units.end()) return std::nullopt;
    has = has.value_or(true) && found->is_installed;
  }
  return has;
}

std::vector<CheckedUnit> Verification::not_there() const {
  std::vector<CheckedUnit> missing;
  if (!is_removal) return missing;
  std::copy_if(units.begin(), units.end(), std::back_inserter(missing),
               [](const auto& checked) { return !checked.is_installed; });
  return missing;
}

std::vector<CheckedUnit> Verification::staying() const {
  std::vector<CheckedUnit> staying;
  if (!is_removal || !knows_all()) return staying;
  const auto removal = removal_of(without_places(units), installed.roots, *installed.all);
  for (std::size_t i = 0; i < removal.size(); ++i) {
    if (removal[i].kept_by.empty()) continue;
    staying.push_back(units[i]);
    staying.back().required_by = removal[i].kept_by;
  }
  return staying;
}

Verification compare(const eclipse_plan::Plan& plan, InstalledUnits installed, const Offer& offer) {
  Verification verification{plan.is_removal, plan.executable, std::move(installed), Source::director,
                            units_of(plan.by_slot(), offer)};
  verification.unremoved = unremoved_units_of(plan, verification.installed.roots);
  for (CheckedUnit& checked : verification.units) look_up_roots(checked, verification.installed.roots);
  if (!verification.knows_all()) return verification;
  const InstalledById all(*verification.installed.all);
  for (CheckedUnit& checked : verification.units) look_up_all(checked, all);
  return verification;
}

std::optional<Verification> verify_by_profile(const eclipse_plan::Plan& plan, const Offer& offer, ProfileStates& states) {
  auto recorded = recorded_units(instance_directory(plan.executable), states);
  if (!recorded) return std::nullopt;
  Verification verification = compare(plan, *std::move(recorded), offer);
  verification.source = Source::profile;
  look_for_files(verification);
  return verification;
}

Verification verify_by_director(const eclipse_plan::Plan& plan, const Offer& offer,
                                const eclipse_shell::CommandProgress& progress) {
  Verification verification = compare(plan, installed_units(plan.executable, progress), offer);
  look_for_files(verification);
  return verification;
}

}  // namespace eclipse_verify
