// What an option such as --verify or --resolve puts around a run.
#ifndef ECLIPSE_INT_RUN_RUN_FUNCTION_H
#define ECLIPSE_INT_RUN_RUN_FUNCTION_H

#include <functional>
#include <string>

#include "base/json_text.h"
#include "report/outcome.h"
#include "standalone_host/session_run.h"

namespace eclipse_run {

/// How a subcommand runs a session, such as eclipse_host::run_session().
using RunFunction = std::function<void(const eclipse_host::Plugin& plugin, eclipse_host::Session& session,
                                       eclipse_host::RunRecord& record, const eclipse_host::RunObservers& observers)>;

/// What a subcommand adds to the report of a run.
struct ReportAdditions {
  std::function<eclipse_report::InstanceFinding()> finding = [] { return eclipse_report::InstanceFinding(); };
  std::function<std::string()> text = [] { return ""; };  ///< after the report
  std::function<void(eclipse_base::Json& json)> add_to = [](eclipse_base::Json&) {};
  std::function<int(int status)> exit_status = [](int status) { return status; };  ///< instead of the run's own
  /// The same for a run that a signal or an error in the host has ended.
  std::function<std::string()> text_when_ended = [] { return ""; };
  std::function<void(eclipse_base::Json& json)> add_to_when_ended = [](eclipse_base::Json&) {};
};

}  // namespace eclipse_run

#endif
