#include <memory>

#include "cli/session_command.h"
#include "cli/subcommands.h"
#include "cli/verified_run.h"

namespace eclipse_cli {

namespace {

constexpr const char* examples =
    "  eclipse-int run install.json\n"
    "      Install the features of the components that install.json selects.\n"
    "  eclipse-int run install.json --set ECLIPSE_INTEGRATION_CHOICE=user \\\n"
    "      --set USER_DEFINED_ECLIPSE_PATH=/opt/eclipse/eclipse\n"
    "      The same, into an Eclipse of your own.\n"
    "  eclipse-int run modify.json --variables state.json --write-variables state.json\n"
    "      Carry the variables from one run to the next, as an installer does.\n"
    "  eclipse-int run uninstall.json --verify\n"
    "      See also whether the features are really gone, and if not, why.\n"
    "  eclipse-int run uninstall.json --json --log uninstall.log > result.json\n"
    "      Leave the account to a program.\n";

constexpr const char* exit_status =
    "With --verify also:\n"
    "  1  it was run, and the Eclipse is not as the session should have left it\n"
    "  2  it was run and is done, but the Eclipse cannot be asked, or is not there, so that nothing was done\n";

int perform(const SessionOptions& options, bool verifies) {
  SessionCommand command(options);
  command.check_mode();
  if (!verifies) return command.perform(eclipse_host::run_session);
  VerifiedRun run;
  return command.perform(run.performance(), run.supplement());
}

}  // namespace

Subcommand add_run(CLI::App& program) {
  CLI::App* const parser =
      program.add_subcommand("run",
                             "Perform a whole session, as an installer does: find out whether integration is needed,\n"
                             "check and settle the Eclipse, then install or remove the features");
  const auto options = std::make_shared<SessionOptions>();
  parser->add_option("SESSION.json", options->session, "The session file")->required()->option_text(" ");
  const auto verifies = std::make_shared<bool>(false);
  parser->add_flag("--verify", *verifies,
                   "Ask the Eclipse before and after what it has installed, report what differs\nfrom what the session "
                   "should bring about, and explain each command that failed");
  add_session_options(*parser, *options);
  set_help(*parser, "eclipse-int run SESSION.json [OPTIONS]", examples, exit_status_of_runs + std::string(exit_status));
  return {parser, [options, verifies] { return perform(*options, *verifies); }};
}

}  // namespace eclipse_cli
