// Repairing an Eclipse instance.
#ifndef ECLIPSE_INT_RUN_REPAIR_H
#define ECLIPSE_INT_RUN_REPAIR_H

#include <optional>
#include <string>

#include "report/repair_report.h"

namespace eclipse_run {

/// Moves damaged states of its profile aside, or all that are newer than the one of time `to`, brings its configuration back if
/// that is damaged, and asks its director whether it answers; in a dry run, only finds out what it would do. `repair` has the
/// executable and whether it is a dry run, and gets all that was found and done, also when something fails. Returns the exit
/// status. Throws InstanceError when there is no profile that is known, and InstanceInUse.
int perform_repair(eclipse_report::Repair& repair, const std::optional<std::string>& to, double seconds_to_wait);

}  // namespace eclipse_run

#endif
