// What keeps an Eclipse instance safe from directors that work on it at the same time, or that were stopped.
#ifndef ECLIPSE_INT_CLI_INSTANCE_SAFETY_H
#define ECLIPSE_INT_CLI_INSTANCE_SAFETY_H

#include <memory>
#include <optional>
#include <string>

#include "p2/instance_lock.h"
#include "p2/profile_repair.h"

namespace eclipse_cli {

/// Locks the instance of an executable; without one there is nothing to lock. Waits at most this long for a director that is
/// at work on it, and says for whom. Warns about an instance that cannot be locked. Throws eclipse_p2::InstanceInUse, with the
/// fix.
std::unique_ptr<eclipse_p2::InstanceLock> lock_instance(const std::string& executable, double seconds);

/// Refuses an instance whose every director would fail, and keeps a copy of its configuration for a repair. Warns about what
/// else is wrong with it, and when no copy can be kept. The caller must have its lock. Throws eclipse_p2::InstanceError.
void prepare_for_directors(const std::string& executable);

/// Keeps that copy of an instance that is not damaged. Warns when it cannot be kept. The caller must have its lock.
void keep_configuration_of(const std::string& executable);

/// Prints what is wrong with the profile of an instance, if anything is, and the fix.
void print_damage(const std::optional<eclipse_p2::InstanceDamage>& damage);

}  // namespace eclipse_cli

#endif
