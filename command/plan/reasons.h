// Why a run comes to no command.
#ifndef ECLIPSE_INT_PLAN_REASONS_H
#define ECLIPSE_INT_PLAN_REASONS_H

#include <cstddef>
#include <string>
#include <vector>

#include "dry_run/dry_run.h"
#include "plan/plan.h"
#include "standalone_host/session.h"

namespace eclipse_plan {

/// "1 file", "2 files".
std::string counted(std::size_t count, const std::string& noun);

/// Each on a line of its own, in the order in which the plug-in came upon them. For a run that is not refused.
std::vector<std::string> reasons_for_no_command(const Plan& plan, const eclipse_dry_run::RecordedRun& run,
                                                const eclipse_host::Session& session);

}  // namespace eclipse_plan

#endif
