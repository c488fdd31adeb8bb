#include "run/repair.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <vector>

#include "base/file.h"
#include "instance/damage.h"
#include "instance/repair.h"
#include "p2/installed_units.h"
#include "p2/instance_error.h"
#include "p2/instance_paths.h"
#include "run/instance_safety.h"
#include "terminal/exit_status.h"
#include "terminal/interruption.h"

using namespace eclipse_report;
using namespace eclipse_terminal;

namespace fs = std::filesystem;

using eclipse_instance::RepairPlan;
using eclipse_p2::ProfileState;

namespace eclipse_run {

namespace {

bool changes_files(const Repair& repair) { return !repair.renamed.empty() || !repair.restored.empty(); }

/// The bundles of the states to be renamed that stay listed. A state that is damaged has none.
std::vector<eclipse_p2::Unit> orphaned_bundles(const RepairPlan& plan, const std::vector<ProfileState>& left,
                                               const fs::path& instance) {
  if (plan.states.size() == left.size() || plan.to_restore || left.empty()) return {};
  return eclipse_p2::orphaned_bundles(instance, plan.states.front(), left.front());
}

/// Throws RepairError and FileError.
void repair_files(Repair& repair, const fs::path& instance, const std::optional<std::string>& to) {
  const RepairPlan plan = eclipse_instance::plan_repair(instance, to);
  repair.states = plan.states;
  repair.unit_counts = plan.unit_counts;
  repair.configuration = plan.configuration;
  repair.reverted = plan.reverted;
  const auto to_rename = eclipse_instance::states_to_rename(plan.states, plan.to);
  const std::vector<ProfileState> left(plan.states.begin() + static_cast<std::ptrdiff_t>(to_rename.size()), plan.states.end());
  repair.lost = eclipse_instance::lost_units(instance, left);
  repair.orphaned_bundles = orphaned_bundles(plan, left, instance);
  if (plan.configuration && !plan.configuration->is_startable && !plan.to_restore) {
    const std::string where = plan.to ? "the configuration would stay damaged in the state " + *plan.to + "; " : std::string();
    throw eclipse_instance::RepairError(where + eclipse_instance::fix_of(*plan.configuration, repair.executable));
  }
  const std::string too_much = to ? "" : eclipse_instance::too_much_reverted(plan);
  if (!too_much.empty()) throw eclipse_instance::RepairError(too_much);
  const std::string no_director =
      to_rename.empty() || left.empty() ? "" : eclipse_instance::why_not_newest(instance, left.front());
  if (!no_director.empty()) {
    throw eclipse_instance::RepairError(no_director +
                                        "; choose a newer one with --to, or restore the p2 profile from a backup");
  }
  // A repair that is stopped between the two leaves bundles unlisted, and the next one goes on. The other way round, bundles
  // would stay listed.
  if (plan.to_restore) {
    const auto restore = repair.is_dry_run ? eclipse_instance::differing_files : eclipse_instance::restore;
    repair.restored = restore(*plan.to_restore, instance);
  }
  const auto rename = [&](const ProfileState& state) {
    repair.renamed.push_back({state.file, repair.is_dry_run ? fs::path() : eclipse_instance::rename_aside(state)});
  };
  std::for_each(to_rename.begin(), to_rename.end(), rename);
  for (const fs::path& file : eclipse_p2::misnamed_states(instance)) rename({file, "", "", false, {}});
}

/// What the repair has not repaired, with its fix, unless that was said already.
void look_for_damage(Repair& repair) {
  const bool would_change_files = repair.is_dry_run && changes_files(repair);
  if (repair.lost || !repair.orphaned_bundles.empty() || would_change_files) return;
  repair.damage = eclipse_instance::instance_damage(repair.executable);
}

/// Throws InstanceError and Interrupted.
void ask(Repair& repair) {
  check_space_for_director(repair.executable);
  repair.roots = eclipse_p2::installed_units(repair.executable, Interruption::observer().command_progress).roots;
  Interruption::check();
}

int exit_status_of(const Repair& repair) {
  const bool is_damaged =
      repair.lost || repair.damage || (repair.configuration && !changes_files(repair)) || !repair.orphaned_bundles.empty();
  return repair.error.empty() && !is_damaged && !(repair.is_dry_run && changes_files(repair)) ? exit_success : exit_failure;
}

}  // namespace

int perform_repair(Repair& repair, const std::optional<std::string>& to, double seconds_to_wait) {
  const auto lock = lock_instance(repair.executable, seconds_to_wait);
  const fs::path instance = eclipse_p2::instance_directory(repair.executable);
  if (eclipse_p2::profile_states(instance).empty()) throw eclipse_p2::no_profile(repair.executable);
  const Interruption interruption;
  try {
    repair_files(repair, instance, to);
    if (!repair.is_dry_run) ask(repair);
    look_for_damage(repair);
  } catch (const eclipse_instance::RepairError& error) {
    repair.error = error.what();
  } catch (const eclipse_base::FileError& error) {
    repair.error = error.what();
    look_for_damage(repair);
  } catch (const eclipse_p2::InstanceError& error) {
    repair.error = error.what();
    look_for_damage(repair);
  } catch (const Interrupted& interrupted) {
    repair.error = interrupted.text() + " before the director had answered";
    return interrupted.exit_status();
  }
  return exit_status_of(repair);
}

}  // namespace eclipse_run
