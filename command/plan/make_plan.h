// Making the plan of a session.
#ifndef ECLIPSE_INT_PLAN_MAKE_PLAN_H
#define ECLIPSE_INT_PLAN_MAKE_PLAN_H

#include "plan/plan.h"
#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_plan {

/// Which retries a plan contains: those that differ for the shell (see Plan::retries), or all of them.
enum class Retries { distinct, all };

/// Finds out what eclipse_host::run_session() would do. Changes nothing and runs nothing; the session stays as it is.
Plan make_plan(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session, Retries retries);

}  // namespace eclipse_plan

#endif
