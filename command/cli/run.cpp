#include "cli/session_command.h"
#include "cli/session_variables.h"
#include "cli/subcommands.h"
#include "cli/verified_run.h"

namespace eclipse_cli {

int run(const SessionOptions& options, bool verifies) {
  SessionCommand command(options);
  check_mode(command.session());
  if (!verifies) return command.perform(eclipse_host::run_session, Directors::started);
  VerifiedRun run;
  return command.perform(run.function(), Directors::started, run.additions());
}

}  // namespace eclipse_cli
