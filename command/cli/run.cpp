#include <cstdlib>
#include <memory>
#include <string>

#include "cli/shared_options.h"
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

struct RunOptions {
  bool resolves = false;  ///< asks the director first, and runs only what it would do
  bool verifies = false;  ///< asks the instance before and after
  eclipse_update::UpdateOptions update;
  bool all_or_nothing = false;  ///< goes back unless everything was done
};

/// By check-host, whose library checks the host of the first action that is called: that must not be the host of a plan, which
/// runs no commands.
bool is_checked() { return std::getenv(host_kit::environment::progress) != nullptr; }

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

constexpr const char* run_examples =
    "  eclipse-int run install.json\n"
    "      Install the features of the components that install.json selects.\n"
    "  eclipse-int run tools --eclipse /opt/ide\n"
    "      Install the features of the component in the directory tools into an Eclipse instance.\n"
    "  eclipse-int run install.json --set ECLIPSE_INTEGRATION_CHOICE=user \\\n"
    "      --set USER_DEFINED_ECLIPSE_PATH=/opt/eclipse/eclipse\n"
    "      Install them into your own Eclipse instance.\n"
    "  eclipse-int run modify.json --variables state.json --write-variables state.json\n"
    "      Pass the variables from one run to the next, as an installer does.\n"
    "  eclipse-int run uninstall.json --verify\n"
    "      Also check that the features are gone from the instance.\n"
    "  eclipse-int run modify.json --update\n"
    "      Replace the features that the instance has in an older version.\n"
    "  eclipse-int run install.json --all-or-nothing\n"
    "      Install all features, or leave the instance as it was.\n"
    "  eclipse-int run uninstall.json --json --log uninstall.log > result.json\n"
    "      Write the result for another program, and the log to a file.\n";

constexpr const char* exit_status_with_options =
    "With --resolve also:\n"
    "  1  the director would not install or remove all features, so nothing was run\n"
    "With --all-or-nothing also:\n"
    "  1  not all features were installed or removed, and the instance is back in the state before the run, or a\n"
    "     message says why not\n"
    "With --verify also:\n"
    "  1  the run succeeded, but the instance is not in the state that the session describes\n"
    "  2  the run succeeded, but the instance cannot be queried, or does not exist, so the run did nothing\n";

}  // namespace

Subcommand add_run(const Parser& program) {
  const Parser parser =
      program.add_subcommand("run",
                             "Run a whole session as an installer does: determine whether integration is needed,\n"
                             "check the Eclipse instance, then install or remove the features");
  const auto options = std::make_shared<SessionOptions>();
  const auto how = std::make_shared<RunOptions>();
  add_session_file(parser, *options);
  parser.add_flag("--resolve", how->resolves,
                  "Ask the director first whether it would install or remove all features, as\n"
                  "\"plan --resolve\" does, and run nothing if it would not. Not with --update");
  // The command of the update changes nothing unless all of it resolves.
  add_update_options(parser, how->update).excludes("--resolve");
  parser.add_flag(
      "--all-or-nothing", how->all_or_nothing,
      "If the run does not install (or remove) all features, bring the instance back to the state\nbefore the run; also after "
      "a signal, or if the director is killed");
  parser.add_flag("--verify", how->verifies,
                  "Ask the Eclipse instance before and after the run which units are installed,\nand report differences from "
                  "the state that the session describes");
  add_running_options(parser, *options);
  parser.set_help("eclipse-int run SESSION [OPTIONS]", run_examples,
                  std::string(exit_status_of_runs) + exit_status_with_options);
  return {parser, [options, how] { return run(*options, *how); }};
}

}  // namespace eclipse_cli
