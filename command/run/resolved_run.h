// A run that asks the director first, and does nothing unless all resolves.
#ifndef ECLIPSE_INT_RUN_RESOLVED_RUN_H
#define ECLIPSE_INT_RUN_RESOLVED_RUN_H

#include <optional>
#include <string>

#include "base/json_text.h"
#include "plan/plan.h"
#include "resolve/resolution.h"
#include "run/run_function.h"

namespace eclipse_run {

class ResolvedRun {
 public:
  /// What is done when all resolves, and its additions to the report.
  ResolvedRun(RunFunction run, ReportAdditions additions);

  /// Both refer to this object.
  ///   resolution: as plan prints it, only when the session has a command
  RunFunction function();
  ReportAdditions additions() const;

 private:
  void run(const eclipse_host::Plugin& plugin, eclipse_host::Session& session, eclipse_host::RunRecord& record,
           const eclipse_host::RunObservers& observers);
  /// Why the session is not run; empty when it is.
  std::string refusal_after_asking(const eclipse_plan::Plan& plan);
  std::string text() const;
  void add_to(eclipse_base::Json& json) const;

  RunFunction run_;
  ReportAdditions additions_;
  std::optional<eclipse_resolve::Resolution> resolution_;
  bool was_run_ = true;
};

}  // namespace eclipse_run

#endif
