// Going back to a state of an instance that a director can use.
#ifndef ECLIPSE_INT_INSTANCE_REPAIR_H
#define ECLIPSE_INT_INSTANCE_REPAIR_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "instance/configuration_backup.h"
#include "instance/run_journal.h"
#include "p2/configuration_files.h"
#include "p2/profile.h"
#include "p2/unit_change.h"

namespace eclipse_instance {

/// The command line that repairs an instance, or that goes back to the state of this time.
std::string repair_command(const std::string& executable, const std::string& to = "");

/// The profile cannot be repaired. The message names the file or the time, and why; it is one printable line.
class RepairError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The states to be renamed, newest first, so that the newest one left is the first that can be read, or the one of time
/// `to`. Throws RepairError when there is no such state, or when it is unknown whether a newer one is damaged.
std::vector<eclipse_p2::ProfileState> states_to_rename(const std::vector<eclipse_p2::ProfileState>& states,
                                                       const std::optional<std::string>& to);

/// Why a repair must not make this state the newest one: it has no director, although the instance has one. Empty when it may.
std::string why_not_newest(const std::filesystem::path& instance, const eclipse_p2::ProfileState& target);

/// A state that can be read, that has other units than the one before it, and that a repair renames.
struct RevertedState {
  std::string time;
  std::optional<RecordedRun> run;  ///< that made it; nothing when that is not known
  eclipse_p2::UnitChange change;   ///< that it made
};

/// The copy that a repair restores: one whose state is there and may be the newest one, and that has a better file than the
/// damaged one.
std::optional<ConfigurationBackup> copy_to_restore(const std::filesystem::path& instance,
                                                   const eclipse_p2::ConfigurationDamage& damage);

/// What is known of an instance that may need a repair, and what its configuration needs.
struct RepairPlan {
  std::optional<std::string> to;  ///< the time of the state to revert to, for states_to_rename()
  /// Newest first, as newest_states() reads them, but without the units of those between the newest and the one to go back to.
  std::vector<eclipse_p2::ProfileState> states = {};
  std::vector<std::size_t> unit_counts = {};                     ///< of each of them
  std::optional<eclipse_p2::ConfigurationDamage> configuration;  ///< what is wrong with it
  std::optional<ConfigurationBackup> to_restore;                 ///< goes with the newest state that is left
  std::vector<RevertedState> reverted;                           ///< newest first
};

/// Of the instance in this directory, to the state of time `to` if that is given.
RepairPlan plan_repair(const std::filesystem::path& instance, const std::optional<std::string>& to = {});

/// Why a person has to ask for the repair by its time: it undoes changes that were made outside eclipse-int, or more than one
/// run. Empty when it does not.
std::string too_much_reverted(const RepairPlan& plan);

/// Gives a state's file a name that p2 passes over, and returns it: the name followed by ".damaged". Overwrites nothing. Throws
/// RepairError.
std::filesystem::path rename_aside(const eclipse_p2::ProfileState& state);

}  // namespace eclipse_instance

#endif
