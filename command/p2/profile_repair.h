// An instance that was damaged, and going back to a state of its profile that a director can use.
#ifndef ECLIPSE_INT_P2_PROFILE_REPAIR_H
#define ECLIPSE_INT_P2_PROFILE_REPAIR_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "p2/configuration_files.h"
#include "p2/kept_configuration.h"
#include "p2/profile.h"

namespace eclipse_p2 {

/// What two directors at the same time leave: a newest state without most of the units that the instance still starts.
struct LostUnits {
  std::size_t units;    ///< in the newest state
  std::size_t before;   ///< in the readable state before it
  std::size_t bundles;  ///< that only the state before has, and that bundles.info still lists
  std::string time_before;

  /// What is wrong, in words that follow the name of the newest state.
  std::string text() const;
};

/// Of these states of the profile of the instance in this directory, newest first; nothing when no units were lost.
std::optional<LostUnits> lost_units(const std::filesystem::path& instance, const std::vector<ProfileState>& states);

struct InstanceDamage {
  std::filesystem::path file;  ///< the newest state, or a file of the configuration
  std::string message;         ///< which file, what is wrong with it and what follows from it; one printable line
  std::string fix;             ///< with the command that repairs it; one printable line
  bool is_fatal = false;       ///< every director fails; otherwise a director may bury what is wrong
};

/// What is wrong with the instance that an executable belongs to; nothing when a director can use it, when it has no profile,
/// or when that cannot be read here. What a director is just writing looks damaged, so the caller must have the lock of the
/// instance.
std::optional<InstanceDamage> instance_damage(const std::string& executable);

/// The same for a caller without the lock: nothing, too, while another process has it.
std::optional<InstanceDamage> instance_damage_at_rest(const std::string& executable);

/// How to repair it, with the command if there is one; one printable line.
std::string fix_of(const ConfigurationDamage& damage, const std::string& executable);

/// The command line that repairs an instance, or that goes back to the state of this time.
std::string repair_command(const std::string& executable, const std::string& to = "");

/// The profile cannot be repaired. The message names the file or the time, and why; it is one printable line.
class RepairError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// The states that a repair may need, newest first: as far as the second one that can be read, and as far as the one of time
/// `to`, if that is given.
std::vector<ProfileState> newest_states(const std::filesystem::path& instance, const std::optional<std::string>& to = {});

/// The states to be moved aside, newest first, so that the newest one left is the first that can be read, or the one of time
/// `to`. Throws RepairError when there is no such state, or when it is unknown whether a newer one is damaged.
std::vector<ProfileState> states_to_move(const std::vector<ProfileState>& states, const std::optional<std::string>& to);

/// What is known of an instance that may need a repair, and what its configuration needs.
struct RepairPlan {
  std::optional<std::string> to;                     ///< the time of the state to go back to, for states_to_move()
  std::vector<ProfileState> states;                  ///< newest first, as newest_states() reads them
  std::optional<ConfigurationDamage> configuration;  ///< what is wrong with it
  std::optional<KeptConfiguration> to_bring_back;    ///< goes with the newest state that is left
};

/// Of the instance in this directory, to the state of time `to` if that is given.
RepairPlan plan_repair(const std::filesystem::path& instance, const std::optional<std::string>& to = {});

/// Gives a state's file a name that p2 passes over, and returns it: the name followed by ".damaged". Overwrites nothing. Throws
/// RepairError.
std::filesystem::path move_aside(const ProfileState& state);

}  // namespace eclipse_p2

#endif
