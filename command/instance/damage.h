// What is wrong with an Eclipse instance, so that a director fails, or buries what was installed.
#ifndef ECLIPSE_INT_INSTANCE_DAMAGE_H
#define ECLIPSE_INT_INSTANCE_DAMAGE_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "p2/configuration_files.h"
#include "p2/profile.h"

namespace eclipse_instance {

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
std::optional<LostUnits> lost_units(const std::filesystem::path& instance, const std::vector<eclipse_p2::ProfileState>& states);

/// What is wrong with the configuration of the instance in this directory, given a state of its profile: also a file that is
/// missing of which a copy was kept, and what a repair has left.
std::optional<eclipse_p2::ConfigurationDamage> known_configuration_damage(const std::filesystem::path& instance,
                                                                          const eclipse_p2::ProfileState& state);

/// What to do about bundles that are listed, but that the newest state lacks, after the states that have them are back.
inline constexpr const char* return_of_states = "rename the .damaged states back, and ";
inline constexpr const char* removal_of_surplus = "use \"eclipse-int undo --to\", which lets the director remove them";

/// What is wrong with a newest state, with its file; one printable line.
std::string text_of_newest_state(const std::filesystem::path& state, const std::string& error);

struct InstanceDamage {
  std::filesystem::path file;  ///< the newest state, or a file of the configuration
  std::string message;         ///< which file, what is wrong with it and what follows from it; one printable line
  std::string fix;             ///< with the command that repairs it; one printable line
  bool is_fatal = false;       ///< no director may start: it would fail, or do more harm
};

/// What is wrong with the instance that an executable belongs to; nothing when a director can use it, when it has no profile,
/// or when that cannot be read here. What a director is just writing looks damaged, so the caller must have the lock of the
/// instance.
std::optional<InstanceDamage> instance_damage(const std::string& executable, eclipse_p2::ProfileStates& states);
/// The same, with states that are read anew.
std::optional<InstanceDamage> instance_damage(const std::string& executable);

/// What a caller without the lock sees.
struct DamageSeen {
  std::optional<InstanceDamage> damage;  ///< nothing, too, while another process has the lock
  std::string at_work;                   ///< if it has, and the instance seems damaged: who_uses(); otherwise empty
};
DamageSeen damage_seen(const std::string& executable, eclipse_p2::ProfileStates& states);

/// Its damage.
std::optional<InstanceDamage> instance_damage_at_rest(const std::string& executable, eclipse_p2::ProfileStates& states);

/// How to repair it, with the command if there is one; one printable line.
std::string fix_of(const eclipse_p2::ConfigurationDamage& damage, const std::string& executable);

}  // namespace eclipse_instance

#endif
