// Why a run has no command.
#ifndef ECLIPSE_INT_PLAN_REASONS_H
#define ECLIPSE_INT_PLAN_REASONS_H

#include <string>
#include <vector>

#include "dry_run/dry_run.h"
#include "plan/plan.h"
#include "standalone_host/session.h"

namespace eclipse_plan {

/// The reasons, each as one line, in the order in which the plug-in meets them. For a run that is not refused.
std::vector<std::string> reasons_for_no_command(const Plan& plan, const eclipse_dry_run::DryRun& run,
                                                const eclipse_host::Session& session);

}  // namespace eclipse_plan

#endif
