#include "cli/resolved_run.h"
#include "cli/session_command.h"
#include "cli/session_variables.h"
#include "cli/subcommands.h"
#include "cli/verified_run.h"

namespace eclipse_cli {

int run(const SessionOptions& options, const RunOptions& run) {
  SessionCommand command(options);
  check_mode(command.session());
  VerifiedRun verified;
  const RunFunction function = run.verifies ? verified.function() : eclipse_host::run_session;
  const ReportAdditions additions = run.verifies ? verified.additions() : ReportAdditions();
  if (!run.resolves) return command.perform(function, Directors::started, additions);
  ResolvedRun resolved(function, additions);
  return command.perform(resolved.function(), Directors::started, resolved.additions());
}

}  // namespace eclipse_cli
