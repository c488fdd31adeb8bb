#include "instance/repair.h"

#include <algorithm>
#include <functional>
#include <set>
#include <utility>

#include "base/file.h"
#include "base/printable.h"
#include "base/text.h"
#include "instance/damage.h"
#include "instance/profile_history.h"
#include "instance/reversion.h"
#include "shell/shell_reading.h"

using namespace eclipse_base;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_instance {

namespace {

/// Reads the states of a plan, one after the other: thousands of them would need gigabytes.
class StateReader {
 public:
  StateReader(RepairPlan& plan, const fs::path& instance)
      : plan_(plan), journal_(plan.to ? read_run_journal(instance) : RunJournal()), reached_(!plan.to), instance_(instance) {
    plan_.states.clear();
    plan_.unit_counts.clear();
  }

  void read() {
    for (const fs::path& file : profile_states(instance_)) {
      if (readable_ >= 2 && reached_) break;
      add(read_profile_state(file));
    }
    if (!reached_) plan_.reverted.clear();
  }

 private:
  void add(ProfileState state) {
    reached_ = reached_ || state.time == *plan_.to;
    plan_.unit_counts.push_back(state.units ? state.units->size() : 0);
    if (state.is_readable()) compare(state);
    plan_.states.push_back(std::move(state));
  }

  void compare(ProfileState& state) {
    ++readable_;
    InstalledUnits units = installed_in(state);
    if (newer_) add_change(change_between(units, *newer_));
    newer_ = reached_ ? std::nullopt : std::optional(std::move(units));
    newer_time_ = state.time;
    if (!reached_ && readable_ > 1) state.units.reset();
  }

  void add_change(UnitChange change) {
    if (change.is_empty()) return;
    const RecordedRun* const run = run_that_made(newer_time_, change, journal_);
    plan_.reverted.push_back({newer_time_, run == nullptr ? std::nullopt : std::optional(*run), std::move(change)});
  }

  RepairPlan& plan_;
  const RunJournal journal_;
  bool reached_;
  const fs::path& instance_;
  std::size_t readable_ = 0;
  std::optional<InstalledUnits> newer_;  // of the last state that could be read, if it is to be moved
  std::string newer_time_;
};

}  // namespace

std::string repair_command(const std::string& executable, const std::string& to) {
  const std::string word = eclipse_shell::is_plain(executable) ? executable : eclipse_shell::quoted_for_shell(executable);
  return "eclipse-int repair " + printable(word) + (to.empty() ? "" : " --to " + to);
}

std::vector<ProfileState> states_to_rename(const std::vector<ProfileState>& states, const std::optional<std::string>& to) {
  const auto kept = std::find_if(states.begin(), states.end(),
                                 [&](const ProfileState& state) { return to ? state.time == *to : !state.is_damaged; });
  if (to && kept == states.end()) throw RepairError(no_state_of(*to));
  if (kept != states.end() && !kept->is_readable()) throw RepairError(printable(kept->file.string()) + " " + kept->error);
  if (!states.empty() && kept == states.end()) {
    throw RepairError("no state of the p2 profile in " + printable(states.front().file.parent_path().string()) +
                      " can be read");
  }
  return {states.begin(), kept};
}

std::string why_not_newest(const fs::path& instance, const ProfileState& target) {
  // Of a newest state that is damaged, the list of what Eclipse starts tells what it had.
  ProfileState listed;
  listed.units.emplace();
  for (const Unit& bundle : listed_bundles(instance)) listed.units->push_back({bundle.id, bundle.version, {}});
  std::string reason = why_not_revertible(listed, target);
  if (!reason.empty()) return reason;
  const auto states = newest_states(instance);
  const auto newest = std::find_if(states.begin(), states.end(), std::mem_fn(&ProfileState::is_readable));
  return newest == states.end() ? "" : why_not_revertible(*newest, target);
}

std::optional<ConfigurationBackup> copy_to_restore(const fs::path& instance, const ConfigurationDamage& damage) {
  auto kept = configuration_backup(instance);
  if (!kept) return std::nullopt;
  const fs::path file = damage.file.lexically_relative(instance);
  if (std::find(kept->files.begin(), kept->files.end(), file) == kept->files.end()) return std::nullopt;
  const ProfileState state = state_of_time(instance, kept->time);
  if (!why_not_newest(instance, state).empty()) return std::nullopt;
  const auto of_copy = damage_of_copy(kept->directory, instance, state);
  if (!damage.surplus.empty()) {
    const std::set<Unit> listed = listed_bundles(kept->directory);
    const bool is_listed =
        std::any_of(damage.surplus.begin(), damage.surplus.end(), [&](const Unit& bundle) { return listed.contains(bundle); });
    // Going further back for it would revert what is sound.
    if (is_listed || kept->time != newest_time(instance)) return std::nullopt;
  }
  const bool is_better = !of_copy || (of_copy->is_startable && !damage.is_startable);
  return is_better ? std::move(kept) : std::nullopt;
}

RepairPlan plan_repair(const fs::path& instance, const std::optional<std::string>& to) {
  RepairPlan plan{to, {}, {}, {}, {}, {}};
  StateReader(plan, instance).read();
  // A director starts from this one when those that are damaged are renamed.
  const auto first =
      std::find_if_not(plan.states.begin(), plan.states.end(), [](const ProfileState& state) { return state.is_damaged; });
  if (first != plan.states.end()) plan.configuration = known_configuration_damage(instance, *first);
  auto kept = plan.configuration ? copy_to_restore(instance, *plan.configuration) : configuration_backup(instance);
  if (plan.configuration && kept && !to) {
    plan.to = kept->time;
    StateReader(plan, instance).read();
  }
  // What a person has changed since then stays, unless it is damaged or the state that it goes with is renamed.
  const bool is_newest = !plan.states.empty() && plan.states.front().time == plan.to;
  if (kept && plan.to == kept->time && (plan.configuration || !is_newest)) plan.to_restore = std::move(kept);
  return plan;
}

std::string too_much_reverted(const RepairPlan& plan) {
  std::set<std::string> runs;
  bool are_known = true;
  for (const RevertedState& state : plan.reverted) {
    if (state.run) runs.insert(state.run->before);
    are_known = are_known && state.run;
  }
  if (are_known && runs.size() <= 1) return "";
  return "this would revert the instance to the state " + *plan.to + ", and undo " +
         (are_known ? counted(runs.size(), "run") : "changes that were made outside eclipse-int") + "; use --to " + *plan.to +
         " to accept that";
}

fs::path rename_aside(const ProfileState& state) try { return renamed_to_damaged(state.file); } catch (const FileError& error) {
  throw RepairError(error.what());
}

}  // namespace eclipse_instance
