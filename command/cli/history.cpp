#include <iostream>
#include <memory>

#include "base/printable.h"
#include "cli/shared_options.h"
#include "cli/subcommands.h"
#include "p2/installed_units.h"
#include "p2/instance_paths.h"
#include "report/history_report.h"
#include "run/instance_safety.h"
#include "terminal/exit_status.h"

using namespace eclipse_report;
using namespace eclipse_run;
using namespace eclipse_terminal;

namespace eclipse_cli {

namespace {

constexpr const char* history_examples =
    "  eclipse-int history /opt/eclipse\n"
    "      Show the states of the p2 profile and their changes, newest first.\n"
    "  eclipse-int history /opt/eclipse/eclipse --json\n"
    "      Print the same as a JSON document.\n"
    "\n"
    "p2 keeps each state of the profile, which records what is installed. \"eclipse-int undo\" goes back to one.\n"
    "+ marks a unit that was installed, - one that was removed, ~ one that changed its version. A state without a\n"
    "command was not made by a recorded run of eclipse-int.\n";

constexpr const char* history_exit_status =
    "Exit status:\n"
    "  0  the states are listed\n"
    "  1  the Eclipse instance is damaged; the states are listed nevertheless\n"
    "  2  an error in the arguments, or the instance has no profile of its own\n";

int history_command(const std::string& eclipse, bool json) {
  History history;
  history.executable = eclipse_p2::existing_executable(eclipse);
  const auto instance = eclipse_p2::instance_directory(history.executable);
  history.journal = eclipse_instance::read_run_journal(instance);
  history.states = eclipse_instance::profile_history(instance, history.journal);
  if (history.states.empty()) throw eclipse_p2::no_profile(history.executable);
  eclipse_p2::ProfileStates states;
  history.damage = damage_at_rest(history.executable, states);
  if (json) {
    print_history(history);
  } else {
    std::cout << history_text(history);
  }
  print_damage(history.damage);
  return history.damage ? exit_failure : exit_success;
}

}  // namespace

Subcommand add_history(const Parser& program) {
  const Parser parser = program.add_subcommand("history", "List the states of the p2 profile, and what each changed");
  const auto eclipse = std::make_shared<std::string>();
  const auto json = std::make_shared<bool>(false);
  add_eclipse_argument(parser, *eclipse);
  add_json_option(parser, *json, "the states");
  parser.set_help("eclipse-int history ECLIPSE [OPTIONS]", history_examples, history_exit_status);
  return {parser, [eclipse, json] { return history_command(*eclipse, *json); }};
}

}  // namespace eclipse_cli
