// A run that asks the Eclipse before and after what it has installed.
#ifndef ECLIPSE_INT_CLI_VERIFIED_RUN_H
#define ECLIPSE_INT_CLI_VERIFIED_RUN_H

#include <optional>
#include <string>
#include <vector>

#include "cli/session_command.h"
#include "p2/director_failure.h"
#include "plan/plan.h"
#include "verify/verification.h"

namespace eclipse_cli {

class VerifiedRun {
 public:
  /// Runs the session as a whole, and keeps what it finds out. It refers to this object.
  Performance performance();

  /// What was found out, once the session was run. It refers to this object.
  ///   verification: {planned: whether the session has a command, reasons: [text], why it has none, only when it has none,
  ///     notRemovable: [unit], staying: [unit], before: [root], after: as verify prints it, cameIn: [root], wentOut: [root],
  ///     nowByName: [root], noLongerByName: [root], faults: [text], failures: [{command, exitCode, layer, meaning, causes:
  ///     [text], log}]}
  Supplement supplement() const;

 private:
  struct ExplainedFailure {
    std::size_t command;  ///< its number in the run, from 1
    int exit_code;
    eclipse_p2::Failure failure;
  };

  eclipse_host::RunRecord run(const eclipse_host::Plugin& plugin, eclipse_host::Session& session,
                              const eclipse_host::RunObserver& observer);
  void ask_before();
  void warn_of_removal() const;
  eclipse_host::RunObserver explaining(const eclipse_host::RunObserver& observer);
  void ask_after();
  void explain_end(const eclipse_host::CommandRecord& record);

  /// So the run came to nothing, but was not refused.
  bool lacks_instance() const { return plan_.refusal.empty() && plan_.lacks_instance; }
  InstanceFinding finding() const;
  std::string text() const;
  std::string changes() const;
  std::string failures() const;
  void add_to(nlohmann::ordered_json& result) const;
  int exit_status(int status_of_run) const;

  eclipse_plan::Plan plan_;
  std::optional<eclipse_verify::Verification> before_;
  std::optional<eclipse_verify::Verification> after_;
  std::vector<std::string> faults_;
  std::optional<eclipse_p2::InstanceLogs> logs_;  ///< before the command that runs
  std::size_t commands_ = 0;
  std::vector<ExplainedFailure> failures_;
};

}  // namespace eclipse_cli

#endif
