// A run that asks the Eclipse instance before and after which units are installed.
#ifndef ECLIPSE_INT_RUN_VERIFIED_RUN_H
#define ECLIPSE_INT_RUN_VERIFIED_RUN_H

#include <optional>
#include <string>
#include <vector>

#include "base/json_text.h"
#include "plan/offer.h"
#include "plan/plan.h"
#include "run/run_function.h"
#include "verify/verification.h"

namespace eclipse_run {

class VerifiedRun {
 public:
  /// Runs a whole session and keeps the findings. It refers to this object.
  RunFunction function();

  /// The findings, once the session was run. It refers to this object.
  ///   verification: {planned: whether the session has a command, reasons: [text], why it has none, only when it has none,
  ///     notRemovable: [unit], staying: [unit], before: [root], after: as verify prints it, installed: [root], removed: [root],
  ///     nowByName: [root], noLongerByName: [root], errors: [text]}
  ReportAdditions additions() const;

 private:
  void run(const eclipse_host::Plugin& plugin, eclipse_host::Session& session, eclipse_host::RunRecord& record,
           const eclipse_host::RunObservers& observers);
  void ask_before();
  void warn_of_removal() const;
  void ask_after();

  /// So the run did nothing, but was not refused.
  bool is_instance_missing() const { return plan_.refusal.empty() && plan_.is_instance_missing; }
  eclipse_report::InstanceFinding finding() const;
  std::string text() const;
  std::string changes() const;
  void add_to(eclipse_base::Json& json) const;
  int exit_status(int status_of_run) const;

  eclipse_plan::Plan plan_;
  eclipse_plan::Offer offer_;
  std::optional<eclipse_verify::Verification> before_;
  std::optional<eclipse_verify::Verification> after_;
  std::vector<std::string> errors_;
};

}  // namespace eclipse_run

#endif
