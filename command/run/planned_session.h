// What a run of a session would do, with all that is known before.
#ifndef ECLIPSE_INT_RUN_PLANNED_SESSION_H
#define ECLIPSE_INT_RUN_PLANNED_SESSION_H

#include "lint/lint.h"
#include "report/plan_report.h"
#include "run/session_options.h"
#include "update/update_options.h"

namespace eclipse_run {

struct PlanOptions {
  bool all_retries = false;  ///< all that are similar
  bool resolves = false;     ///< asks the director
  eclipse_update::UpdateOptions update;
  eclipse_lint::ConfigurationChoice configuration;
};

/// Plans the session, looks at its instance and its repositories, lints it and, if that is wanted, asks the director. Throws
/// UsageError, FileError, PluginError, InstanceError and Interrupted.
eclipse_report::PlanReport planned_session(const SessionOptions& options, const PlanOptions& plan_options);

}  // namespace eclipse_run

#endif
