// Making the plan of a session.
#ifndef ECLIPSE_INT_PLAN_MAKE_PLAN_H
#define ECLIPSE_INT_PLAN_MAKE_PLAN_H

#include <cstddef>

#include "plan/plan.h"
#include "standalone_host/plugin.h"
#include "standalone_host/session.h"
#include "standalone_host/session_run.h"

namespace eclipse_plan {

/// Which retries a plan contains: those that differ for the shell (see Plan::retries), or all of them.
enum class Retries { distinct, all };

/// How many retries a plan contains at most, since each of them repeats the repositories, and in a removal all features: of
/// those that differ a person reads the first ones, and of all so many as fit into so many bytes, with what is known of each.
inline constexpr std::size_t most_distinct_retries = 50;
inline constexpr std::size_t largest_retries = std::size_t{2} << 20U;
inline constexpr std::size_t known_of_retry = 512;

/// Finds out what eclipse_host::run_session() would do. Changes nothing and runs nothing; the session stays as it is. The
/// observers are notified of the dry runs that this takes; what one of them throws comes out.
Plan make_plan(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session, Retries retries,
               const eclipse_host::RunObservers& observers = {});

}  // namespace eclipse_plan

#endif
