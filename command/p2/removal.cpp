#include "p2/removal.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace eclipse_p2 {

namespace {

/// The ids of the units that the director leaves in the instance.
std::set<std::string_view> ids_that_stay(const std::vector<Unit>& removed, const std::vector<Unit>& roots,
                                         const std::vector<InstalledUnit>& installed) {
  std::vector<std::string_view> staying;
  for (const Unit& root : roots) {
    const auto is_it = [&](const Unit& unit) { return is_wanted(unit, root); };
    if (std::none_of(removed.begin(), removed.end(), is_it)) staying.push_back(root.id);
  }
  return ids_kept_by(std::move(staying), installed);
}

}  // namespace

InstalledById::InstalledById(const std::vector<InstalledUnit>& installed) {
  for (const InstalledUnit& unit : installed) units_.emplace(unit.id, &unit);
}

UnitState InstalledById::state_of(const std::string& id, const std::function<bool(const Unit& installed)>& is_it) const {
  UnitState state;
  const auto [begin, end] = units_.equal_range(id);
  for (auto found = begin; found != end; ++found) {
    const InstalledUnit& unit = *found->second;
    if (is_it(unit.unit())) {
      // The same for all versions, since requirers are known by id.
      if (!state.is_installed) state.required_by = unit.required_by.get();
      state.is_installed = true;
    } else {
      state.other_versions.push_back(unit.version);
    }
  }
  return state;
}

std::vector<UnitState> states_of(const std::vector<Unit>& units, const std::vector<InstalledUnit>& installed) {
  const InstalledById by_id(installed);
  std::vector<UnitState> states;
  states.reserve(units.size());
  for (const Unit& wanted : units) {
    states.push_back(by_id.state_of(wanted.id, [&](const Unit& unit) { return is_wanted(wanted, unit); }));
  }
  return states;
}

std::vector<RemovedUnit> removal_of(const std::vector<Unit>& units, const std::vector<Unit>& roots,
                                    const std::vector<InstalledUnit>& installed) {
  const std::set<std::string_view> staying = ids_that_stay(units, roots, installed);
  std::vector<UnitState> states = states_of(units, installed);
  std::vector<RemovedUnit> removal;
  for (std::size_t i = 0; i < units.size(); ++i) {
    RemovedUnit& removed = removal.emplace_back(RemovedUnit{units[i], std::move(states[i]), {}});
    std::copy_if(removed.state.required_by.begin(), removed.state.required_by.end(), std::back_inserter(removed.kept_by),
                 [&](const std::string& id) { return staying.contains(id); });
  }
  return removal;
}

std::set<std::string_view> ids_kept_by(std::vector<std::string_view> roots, const std::vector<InstalledUnit>& units) {
  std::multimap<std::string_view, std::string_view> required;
  std::set<std::string_view> seen;
  for (const InstalledUnit& unit : units) {
    if (!seen.insert(unit.id).second) continue;
    for (const std::string& requirer : unit.required_by.get()) required.emplace(requirer, unit.id);
  }
  std::set<std::string_view> kept;
  std::vector<std::string_view>& pending = roots;
  while (!pending.empty()) {
    const std::string_view id = pending.back();
    pending.pop_back();
    if (!kept.insert(id).second) continue;
    const auto [begin, end] = required.equal_range(id);
    for (auto found = begin; found != end; ++found) pending.push_back(found->second);
  }
  return kept;
}

}  // namespace eclipse_p2
