// What keeps an Eclipse instance safe from directors that work on it at the same time.
#ifndef ECLIPSE_INT_CLI_INSTANCE_SAFETY_H
#define ECLIPSE_INT_CLI_INSTANCE_SAFETY_H

#include <memory>
#include <string>

#include "p2/instance_lock.h"

namespace eclipse_cli {

/// Locks the instance of an executable; without one there is nothing to lock. Waits so many seconds for a director that is at
/// work on it, and says for whom. Warns about an instance that cannot be locked. Throws eclipse_p2::InstanceInUse, with the
/// fix.
std::unique_ptr<eclipse_p2::InstanceLock> lock_instance(const std::string& executable, double seconds);

}  // namespace eclipse_cli

#endif
