// What keeps an Eclipse instance safe from directors that work on it at the same time, or that were stopped.
#ifndef ECLIPSE_INT_RUN_INSTANCE_SAFETY_H
#define ECLIPSE_INT_RUN_INSTANCE_SAFETY_H

#include <memory>
#include <optional>
#include <string>

#include "instance/damage.h"
#include "instance/lock.h"

namespace eclipse_run {

/// Locks the instance of an executable; without one there is nothing to lock. Waits at most as long as --wait says for a
/// director that is at work on it, and says for whom; a subcommand without that option does not wait. Warns about an instance
/// that cannot be locked. Throws eclipse_instance::InstanceInUse, with the fix, and FileError.
std::unique_ptr<eclipse_instance::InstanceLock> lock_instance(const std::string& executable,
                                                              std::optional<double> seconds = std::nullopt);

/// Refuses an instance on which no director may start, and keeps a copy of its configuration for a repair. Warns about what
/// else is wrong with it, and when no copy can be kept. The caller must have its lock. Throws eclipse_p2::InstanceError.
void prepare_for_directors(const std::string& executable);

/// Refuses a director where it would not find the space to write. Throws eclipse_p2::InstanceError.
void check_space_for_director(const std::string& executable);

/// Keeps that copy of an instance that is not damaged. Warns when it cannot be kept. Throws eclipse_p2::InstanceError when
/// there is no space for it, or for a director. The caller must have its lock.
void back_up_configuration_of(const std::string& executable);

/// What is wrong with an instance, for a subcommand that does not lock it. Warns when a director that is at work makes it seem
/// damaged.
std::optional<eclipse_instance::InstanceDamage> damage_at_rest(const std::string& executable,
                                                               eclipse_p2::ProfileStates& states);

/// Prints what is wrong with the profile of an instance, if anything is, and the fix.
void print_damage(const std::optional<eclipse_instance::InstanceDamage>& damage);

}  // namespace eclipse_run

#endif
