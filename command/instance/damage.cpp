#include "instance/damage.h"

#include <algorithm>
#include <functional>
#include <set>
#include <utility>

#include "base/printable.h"
#include "base/text.h"
#include "instance/lock.h"
#include "instance/profile_history.h"
#include "instance/repair.h"
#include "p2/instance_paths.h"

using namespace eclipse_base;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_instance {

namespace {

std::size_t count_of(const ProfileState& state) { return state.units ? state.units->size() : 0; }

InstanceDamage damage_of(const ProfileState& newest, const std::string& error, const std::string& repair) {
  return {newest.file, text_of_newest_state(newest.file, error), "run: " + repair, newest.is_damaged};
}

bool has_other_time(const ProfileState& state) {
  return !state.recorded_time.empty() &&
         (is_before(state.time, state.recorded_time) || is_before(state.recorded_time, state.time));
}

/// A person has renamed it. p2 goes on starting from it, and takes it for one that another director has written meanwhile.
InstanceDamage damage_of_renamed(const ProfileState& newest, const fs::path& instance, const std::string& executable) {
  InstanceDamage damage =
      damage_of(newest, "was written at another time, " + printable(newest.recorded_time) + ", so every change fails", "");
  damage.is_fatal = true;
  const std::string name = newest.file.filename().string();
  const fs::path right = newest.file.parent_path() / (newest.recorded_time + name.substr(name.find('.')));
  damage.fix = "rename it to " + printable(right.filename().string());
  std::error_code error;
  if (!fs::exists(fs::symlink_status(right, error))) return damage;
  for (const std::string& time : state_times(instance)) {
    const ProfileState older = state_of_time(instance, time);
    if (has_other_time(older) || !why_not_newest(instance, older).empty()) continue;
    damage.fix = "run: " + repair_command(executable, time);
    break;
  }
  return damage;
}

InstanceDamage damage_of_misnamed(const fs::path& file, const std::string& executable) {
  return {file,
          printable(file.string()) +
              " ends like a state of the p2 profile, but its name does not begin with a time, so every change fails",
          "run: " + repair_command(executable), true};
}

InstanceDamage damage_of(const ConfigurationDamage& damage, const std::string& executable) {
  const bool would_be_lost = damage.is_replaced && copy_to_restore(instance_directory(executable), damage);
  const bool is_fatal = !damage.is_startable || would_be_lost;
  return {damage.file, printable(damage.file.string()) + " " + damage.error + ", " + damage.consequence,
          fix_of(damage, executable), is_fatal};
}

}  // namespace

std::string text_of_newest_state(const fs::path& state, const std::string& error) {
  return "the newest state of the p2 profile, " + printable(state.string()) + ", " + error;
}

std::string LostUnits::text() const {
  return "has " + counted(units, "unit") + ", the state before it " + std::to_string(before) +
         ", but bundles.info still lists " + counted(bundles, "bundle") +
         " of the missing ones, as if two directors had worked at the same time";
}

std::optional<LostUnits> lost_units(const fs::path& instance, const std::vector<ProfileState>& states) {
  if (states.empty() || !states.front().is_readable()) return std::nullopt;
  const ProfileState& newest = states.front();
  const auto before = std::find_if(states.begin() + 1, states.end(), std::mem_fn(&ProfileState::is_readable));
  if (before == states.end() || count_of(newest) * 2 >= count_of(*before)) return std::nullopt;
  std::set<Unit> listed = listed_bundles(instance);
  if (newest.units) {
    for (const InstalledUnit& unit : *newest.units) listed.erase(unit.unit());
  }
  if (!why_not_newest(instance, *before).empty()) return std::nullopt;
  const auto bundles = std::count_if(before->units->begin(), before->units->end(),
                                     [&](const InstalledUnit& unit) { return listed.contains(unit.unit()); });
  if (bundles == 0) return std::nullopt;
  return LostUnits{count_of(newest), count_of(*before), static_cast<std::size_t>(bundles), before->time};
}

std::optional<ConfigurationDamage> known_configuration_damage(const fs::path& instance, const ProfileState& state) {
  const auto kept = configuration_backup(instance);
  auto damage = configuration_damage(instance, state, kept ? kept->files : std::vector<fs::path>());
  return damage ? damage : surplus_bundles(instance, state);
}

std::string fix_of(const ConfigurationDamage& damage, const std::string& executable) {
  const fs::path instance = instance_directory(executable);
  if (copy_to_restore(instance, damage)) return "run: " + repair_command(executable);
  if (!damage.time_before.empty() && why_not_newest(instance, state_of_time(instance, damage.time_before)).empty()) {
    return "run: " + repair_command(executable, damage.time_before);
  }
  if (!damage.surplus.empty()) return std::string(return_of_states) + removal_of_surplus;
  return "there is no backup copy of it; restore it from a backup of the Eclipse instance, or reinstall Eclipse";
}

std::optional<InstanceDamage> instance_damage(const std::string& executable, ProfileStates& read) {
  if (executable.empty()) return std::nullopt;
  const fs::path instance = instance_directory(executable);
  const std::vector<ProfileState> states = newest_states(instance, read);
  if (states.empty()) return std::nullopt;
  const ProfileState& newest = states.front();
  if (newest.is_damaged)
    return damage_of(newest, newest.error + ", " + consequence::director_fails, repair_command(executable));
  if (const auto misnamed = misnamed_states(instance); !misnamed.empty())
    return damage_of_misnamed(misnamed.front(), executable);
  if (has_other_time(newest)) return damage_of_renamed(newest, instance, executable);
  if (const auto lost = lost_units(instance, states)) {
    return damage_of(newest, lost->text(), repair_command(executable, lost->time_before));
  }
  const auto damage = known_configuration_damage(instance, newest);
  return damage ? std::optional(damage_of(*damage, executable)) : std::nullopt;
}

std::optional<InstanceDamage> instance_damage(const std::string& executable) {
  ProfileStates states;
  return instance_damage(executable, states);
}

DamageSeen damage_seen(const std::string& executable, ProfileStates& states) {
  if (!instance_damage(executable, states)) return {};
  std::string at_work = who_uses(instance_directory(executable));
  if (!at_work.empty()) return {std::nullopt, std::move(at_work)};
  // A director that has ended meanwhile has completed what it wrote.
  states = {};
  return {instance_damage(executable, states), ""};
}

std::optional<InstanceDamage> instance_damage_at_rest(const std::string& executable, ProfileStates& states) {
  return damage_seen(executable, states).damage;
}

}  // namespace eclipse_instance
