#include <cstdlib>

#include "cli/subcommands.h"
#include "host_kit/environment.h"
#include "run/all_or_nothing.h"
#include "run/resolved_run.h"
#include "run/session_command.h"
#include "run/session_variables.h"
#include "run/updated_run.h"
#include "run/verified_run.h"

using namespace eclipse_run;

namespace eclipse_cli {

namespace {

/// By check-host, whose library checks the host of the first action that is called: that must not be the host of a plan, which
/// runs no commands.
bool is_checked() { return std::getenv(host_kit::environment::progress) != nullptr; }

}  // namespace

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
  if (run.update.update || !is_checked()) {
    function = updated.function();
    additions = updated.additions();
  }
  AllOrNothing whole(function, additions);
  if (run.all_or_nothing) {
    function = whole.function();
    additions = whole.additions();
  }
  return command.perform(function, Directors::started, additions);
}

}  // namespace eclipse_cli
