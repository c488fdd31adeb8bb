#include "p2/profile_repair.h"

#include <algorithm>
#include <chrono>
#include <set>
#include <system_error>
#include <utility>

#include "base/file.h"
#include "base/printable.h"
#include "base/text.h"
#include "p2/instance_lock.h"
#include "p2/profile_history.h"
#include "shell/shell_reading.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

bool is_readable(const ProfileState& state) { return state.error.empty(); }

std::size_t count_of(const ProfileState& state) { return state.units ? state.units->size() : 0; }

InstanceDamage damage_of(const ProfileState& newest, const std::string& error, const std::string& repair) {
  return {newest.file, "the newest state of the p2 profile, " + printable(newest.file.string()) + ", " + error,
          "run: " + repair, newest.is_damaged};
}

/// The copy to bring back: one whose state is there, and that is not as damaged as what it would replace.
std::optional<KeptConfiguration> useful_copy(const fs::path& instance, const ConfigurationDamage& damage) {
  auto kept = kept_configuration(instance);
  if (!kept || !state_of_time(instance, kept->time).error.empty()) return std::nullopt;
  const bool is_newer = !damage.time_before.empty() && is_before(damage.time_before, kept->time);
  return is_newer ? std::nullopt : kept;
}

/// A clock may have been a little fast.
bool is_of_the_future(const std::string& time) {
  const auto soon = std::chrono::system_clock::now() + std::chrono::minutes(10);
  return is_before(std::to_string(std::chrono::duration_cast<std::chrono::milliseconds>(soon.time_since_epoch()).count()),
                   time);
}

/// p2 gives a new state the present time, but goes on starting from this one, and refuses every change then.
InstanceDamage damage_of_the_future(const ProfileState& newest, const fs::path& instance, const std::string& executable) {
  InstanceDamage damage = damage_of(newest, "is of the future (" + date_of(newest.time) + "), so every change fails", "");
  const auto times = state_times(instance);
  const auto present = std::find_if_not(times.begin(), times.end(), is_of_the_future);
  damage.fix = present == times.end() ? "set the clock of this computer right" : "run: " + repair_command(executable, *present);
  damage.is_fatal = true;
  return damage;
}

InstanceDamage damage_of(const ConfigurationDamage& damage, const std::string& executable) {
  return {damage.file,
          printable(damage.file.string()) + " " + damage.error +
              (damage.is_startable ? ", so Eclipse does not start it" : ", so every director fails"),
          fix_of(damage, executable), !damage.is_startable};
}

}  // namespace

std::string LostUnits::text() const {
  return "has " + counted(units, "unit") + ", the state before it has " + std::to_string(before) +
         ", and bundles.info still lists " + counted(bundles, "bundle") +
         " of those that are missing, as if two directors had worked at the same time";
}

std::optional<LostUnits> lost_units(const fs::path& instance, const std::vector<ProfileState>& states) {
  if (states.empty() || !is_readable(states.front())) return std::nullopt;
  const ProfileState& newest = states.front();
  const auto before = std::find_if(states.begin() + 1, states.end(), is_readable);
  if (before == states.end() || count_of(newest) * 2 >= count_of(*before)) return std::nullopt;
  std::set<Unit> listed = listed_bundles(instance);
  if (newest.units) {
    for (const InstalledUnit& unit : *newest.units) listed.erase({unit.id, unit.version});
  }
  const auto bundles = std::count_if(before->units->begin(), before->units->end(), [&](const InstalledUnit& unit) {
    return listed.contains(Unit{unit.id, unit.version});
  });
  if (bundles == 0) return std::nullopt;
  return LostUnits{count_of(newest), count_of(*before), static_cast<std::size_t>(bundles), before->time};
}

std::string repair_command(const std::string& executable, const std::string& to) {
  const std::string word = eclipse_shell::is_plain(executable) ? executable : eclipse_shell::quoted_for_shell(executable);
  return "eclipse-int repair " + printable(word) + (to.empty() ? "" : " --to " + to);
}

std::string fix_of(const ConfigurationDamage& damage, const std::string& executable) {
  if (useful_copy(instance_directory(executable), damage)) return "run: " + repair_command(executable);
  if (!damage.time_before.empty()) return "run: " + repair_command(executable, damage.time_before);
  return "no copy of it was kept; restore it from a backup of the Eclipse instance, or install the Eclipse anew";
}

std::optional<InstanceDamage> instance_damage(const std::string& executable) {
  if (executable.empty()) return std::nullopt;
  const fs::path instance = instance_directory(executable);
  const std::vector<ProfileState> states = newest_states(instance);
  if (states.empty()) return std::nullopt;
  const ProfileState& newest = states.front();
  if (newest.is_damaged) return damage_of(newest, newest.error + ", so every director fails", repair_command(executable));
  if (is_of_the_future(newest.time)) return damage_of_the_future(newest, instance, executable);
  if (const auto lost = lost_units(instance, states)) {
    return damage_of(newest, lost->text(), repair_command(executable, lost->time_before));
  }
  const auto damage = configuration_damage(instance, newest);
  return damage ? std::optional(damage_of(*damage, executable)) : std::nullopt;
}

std::optional<InstanceDamage> instance_damage_at_rest(const std::string& executable) {
  auto damage = instance_damage(executable);
  if (damage && is_in_use(instance_directory(executable))) return std::nullopt;
  return damage;
}

std::vector<ProfileState> newest_states(const fs::path& instance, const std::optional<std::string>& to) {
  std::vector<ProfileState> states;
  std::size_t readable = 0;
  bool reached = !to;
  for (const fs::path& file : profile_states(instance)) {
    if (readable >= 2 && reached) break;
    states.push_back(read_profile_state(file));
    if (is_readable(states.back())) ++readable;
    reached = reached || states.back().time == *to;
  }
  return states;
}

std::vector<ProfileState> states_to_move(const std::vector<ProfileState>& states, const std::optional<std::string>& to) {
  const auto kept = std::find_if(states.begin(), states.end(),
                                 [&](const ProfileState& state) { return to ? state.time == *to : !state.is_damaged; });
  if (to && kept == states.end()) throw RepairError("the profile has no state of the time " + printable(*to));
  if (kept != states.end() && !is_readable(*kept)) throw RepairError(printable(kept->file.string()) + " " + kept->error);
  if (!states.empty() && kept == states.end()) {
    throw RepairError("no state of the p2 profile in " + printable(states.front().file.parent_path().string()) +
                      " can be read");
  }
  return {states.begin(), kept};
}

RepairPlan plan_repair(const fs::path& instance, const std::optional<std::string>& to) {
  RepairPlan plan{to, newest_states(instance, to), {}, {}};
  // A director starts from this one when those that are damaged are moved aside.
  const auto first =
      std::find_if_not(plan.states.begin(), plan.states.end(), [](const ProfileState& state) { return state.is_damaged; });
  if (first != plan.states.end()) plan.configuration = configuration_damage(instance, *first);
  auto kept = plan.configuration ? useful_copy(instance, *plan.configuration) : kept_configuration(instance);
  if (plan.configuration && kept && !to) {
    plan.to = kept->time;
    plan.states = newest_states(instance, plan.to);
  }
  if (kept && plan.to == kept->time) plan.to_bring_back = std::move(kept);
  return plan;
}

fs::path move_aside(const ProfileState& state) try { return renamed_to_damaged(state.file); } catch (const FileError& error) {
  throw RepairError(error.what());
}

}  // namespace eclipse_p2
