// A run that first replaces what the director would not replace, or is refused.
#ifndef ECLIPSE_INT_RUN_UPDATED_RUN_H
#define ECLIPSE_INT_RUN_UPDATED_RUN_H

#include <string>
#include <vector>

#include "base/json_text.h"
#include "plan/plan.h"
#include "run/run_function.h"
#include "update/update.h"

namespace eclipse_run {

class UpdatedRun {
 public:
  /// What is done when nothing has to be replaced any more, and its additions to the report.
  UpdatedRun(RunFunction run, ReportAdditions additions, const eclipse_update::UpdateOptions& update_options);

  /// Both refer to this object.
  ///   update: as update_json() gives it, only when there is something to replace
  RunFunction function();
  ReportAdditions additions() const;

 private:
  void run(const eclipse_host::Plugin& plugin, eclipse_host::Session& session, eclipse_host::RunRecord& record,
           const eclipse_host::RunObservers& observers);
  void find_replacements(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session);
  std::string refusal_after_update(eclipse_host::RunRecord& record, const eclipse_host::RunObservers& observers);
  std::string text() const;
  void add_to(eclipse_base::Json& json) const;

  RunFunction run_;
  ReportAdditions additions_;
  eclipse_update::UpdateOptions update_options_;
  eclipse_plan::Plan plan_;
  std::vector<eclipse_update::Replacement> replacements_;
  bool was_run_ = true;
  bool was_updated_ = false;
};

}  // namespace eclipse_run

#endif
