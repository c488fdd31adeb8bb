#include "cli/subcommands.h"
#include "run/all_or_nothing.h"
#include "run/resolved_run.h"
#include "run/session_command.h"
#include "run/session_variables.h"
#include "run/updated_run.h"
#include "run/verified_run.h"

using namespace eclipse_run;

namespace eclipse_cli {

int run(const SessionOptions& options, const RunOptions& run) {
  SessionCommand command(options);
  check_mode(command.session());
  VerifiedRun verified;
  RunFunction function = run.verifies ? verified.function() : eclipse_host::run_session;
  ReportAdditions additions = run.verifies ? verified.additions() : ReportAdditions();
  ResolvedRun resolved(function, additions);
  if (run.resolves) {
    function = resolved.function();
    additions = resolved.additions();
  }
  UpdatedRun updated(function, additions, run.update);
  function = updated.function();
  additions = updated.additions();
  AllOrNothing whole(function, additions);
  if (run.all_or_nothing) {
    function = whole.function();
    additions = whole.additions();
  }
  return command.perform(function, Directors::started, additions);
}

}  // namespace eclipse_cli
