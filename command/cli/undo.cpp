#include <iostream>
#include <memory>

#include "base/printable.h"
#include "cli/shared_options.h"
#include "cli/subcommands.h"
#include "report/undo_report.h"
#include "run/instance_safety.h"
#include "run/undo.h"
#include "terminal/standard_streams.h"

using namespace eclipse_report;
using namespace eclipse_run;
using namespace eclipse_terminal;

namespace eclipse_cli {

namespace {

constexpr const char* undo_examples =
    "  eclipse-int undo install.json --dry-run\n"
    "      Show what undoing the last run on the instance of this session would change.\n"
    "  eclipse-int undo install.json --variables state.json --write-variables state.json\n"
    "      Undo it, and set CASHED_ECLIPSE_PATH in the variables to its earlier value.\n"
    "  eclipse-int undo --eclipse /opt/eclipse --to 1731234567890\n"
    "      Revert to a state that \"eclipse-int history /opt/eclipse\" lists.\n"
    "\n"
    "Run it again to undo the run before that; it skips runs that changed nothing. If the instance was changed outside\n"
    "eclipse-int since then, it only lists these changes; use --force to undo them, too.\n";

constexpr const char* undo_exit_status =
    "Exit status:\n"
    "  0  the instance has the units of the older state, or with --dry-run would get them\n"
    "  1  nothing was changed: there is no run to undo, the instance was changed outside eclipse-int or is damaged,\n"
    "     or no repository has what the older state needs; or the director failed\n"
    "  2  an error in the arguments or the session, another director is at work on the instance, or the variables\n"
    "     could not be written\n"
    "  128 + N  signal N stopped the director\n";

int undo_command(const UndoOptions& options) {
  const UndoResult result = perform_undo(options);
  if (options.session.json) {
    print_undo(result.undo, result.exit_status);
  } else {
    std::cout << undone_text(result.undo) << std::flush;
  }
  if (!result.variables_error.empty()) print_message(result.variables_error);
  print_damage(result.undo.damage);
  return result.exit_status;
}

void add_options(const Parser& parser, UndoOptions& options) {
  parser.add_option("SESSION", options.session.session, "The session file, or a directory of components, which needs --eclipse")
      .option_text(" ");
  parser
      .add_option("--eclipse", options.session.eclipse,
                  "The Eclipse instance, its executable or its directory, in place of a session file or with\na directory of "
                  "components")
      .type_name("PATH");
  parser
      .add_option("--to", options.to,
                  "Go back to the state of this time [default: the state before the last run that has\n"
                  "not been undone]")
      .type_name("TIME");
  parser
      .add_option("--repository", options.repositories,
                  "A repository from which to fetch what the older state needs and Eclipse no longer has, a path\n"
                  "or a URL, besides those from which the recorded runs installed; may be repeated")
      .type_name("REPOSITORY")
      .one_value_each();
  parser.add_flag("--dry-run", options.dry_run, "Show what would change; change nothing and start no director");
  parser.add_flag("--force", options.force, "Also undo what was changed outside eclipse-int since then");
  add_input_options(parser, options.session);
  parser
      .add_option("--write-variables", options.session.write_variables,
                  "Write the variables of --variables to FILE, with CASHED_ECLIPSE_PATH as it was in the\nolder state")
      .type_name("FILE");
  add_wait_option(parser, options.session.wait);
  add_json_option(parser, options.session.json, "what was found and done");
}

}  // namespace

Subcommand add_undo(const Parser& program) {
  const Parser parser = program.add_subcommand("undo", "Go back to the state of the Eclipse instance before the last run");
  const auto options = std::make_shared<UndoOptions>();
  add_options(parser, *options);
  parser.set_help("eclipse-int undo [SESSION] [OPTIONS]", undo_examples, undo_exit_status);
  return {parser, [options] { return undo_command(*options); }};
}

}  // namespace eclipse_cli
