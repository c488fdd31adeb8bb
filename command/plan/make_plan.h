// Making the plan of a session.
#ifndef ECLIPSE_INT_PLAN_MAKE_PLAN_H
#define ECLIPSE_INT_PLAN_MAKE_PLAN_H

#include "plan/plan.h"
#include "standalone_host/plugin.h"
#include "standalone_host/session.h"
#include "standalone_host/session_run.h"

namespace eclipse_plan {

/// Which retries a plan contains: those that differ for the shell (see Plan::retries), or all of them.
enum class Retries { distinct, all };

/// Finds out what eclipse_host::run_session() would do. Changes nothing and runs nothing; the session stays as it is. The
/// observers are notified of the dry runs that this takes; what one of them throws comes out.
Plan make_plan(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session, Retries retries,
               const eclipse_host::RunObservers& observers = {});

}  // namespace eclipse_plan

#endif
