// Asking the director of an instance what it would do.
#ifndef ECLIPSE_INT_RUN_ASKED_RESOLUTION_H
#define ECLIPSE_INT_RUN_ASKED_RESOLUTION_H

#include "p2/director_command.h"
#include "plan/plan.h"
#include "resolve/resolution.h"

namespace eclipse_run {

/// Asks it, with a line on a terminal that says so. Throws InstanceError, and Interrupted if an Interruption lives.
eclipse_resolve::Resolution asked_resolution(const eclipse_plan::Plan& plan, const eclipse_p2::UnitReplacement& update = {});

}  // namespace eclipse_run

#endif
