#include <iostream>
#include <memory>
#include <string>

#include "base/printable.h"
#include "cli/shared_options.h"
#include "cli/subcommands.h"
#include "p2/instance_error.h"
#include "plan/make_plan.h"
#include "report/verification_json.h"
#include "report/verification_text.h"
#include "run/instance_answer.h"
#include "run/instance_safety.h"
#include "run/session_command.h"
#include "run/session_variables.h"
#include "standalone_host/session_run.h"
#include "terminal/exit_status.h"
#include "terminal/interruption.h"
#include "terminal/standard_streams.h"

using namespace eclipse_base;
using namespace eclipse_report;
using namespace eclipse_run;
using namespace eclipse_terminal;

namespace eclipse_cli {

namespace {

using eclipse_plan::Plan;

/// A run without a command leaves the instance as it is. The reason may be an error.
int without_command(const Plan& plan, bool json) {
  if (!plan.refusal.empty()) throw eclipse_p2::InstanceError(eclipse_host::would_be_refused + (": " + printable(plan.refusal)));
  if (plan.is_instance_missing) throw eclipse_p2::InstanceError(no_instance + reasons_text(plan, "  "));
  if (json) {
    print_nothing_to_verify(plan);
  } else {
    std::cout << "Same: the session changes nothing; the log ends with: " << printable(plan.last_log_line) << "\n";
    for (const std::string& reason : plan.reasons) std::cout << "  " << printable(reason) << "\n";
  }
  return exit_success;
}

int report_error(const Plan& plan, const InstanceAnswer& answer, bool json) {
  if (json && answer.damage) print_unverifiable(plan.executable, answer.error, *answer.damage);
  print_message(answer.error);
  return exit_trouble;
}

int report_verification(const InstanceAnswer& answer, bool json) {
  if (json) {
    print_verification(*answer.verification, answer.damage);
  } else {
    std::cout << verification_text(*answer.verification);
  }
  return answer.verification->is_same() && !answer.damage ? exit_success : exit_failure;
}

int report(const Plan& plan, const InstanceAnswer& answer, bool json) {
  if (answer.interrupted) {
    print_message(answer.interrupted->text());
    return answer.interrupted->exit_status();
  }
  return answer.error.empty() ? report_verification(answer, json) : report_error(plan, answer, json);
}

int verify(const SessionOptions& options, bool asks_director) {
  const SessionCommand command(options);
  check_mode(command.session());
  const eclipse_host::Plugin plugin = command.load_plugin();
  command.warn_of_unreadable_descriptors(plugin);
  const Plan plan = eclipse_plan::make_plan(plugin, command.session(), eclipse_plan::Retries::distinct);
  if (!eclipse_verify::is_verifiable(plan)) return without_command(plan, options.json);
  const InstanceAnswer answer = instance_answer(plan, asks_director, options.wait);
  print_damage(answer.damage);
  return report(plan, answer, options.json);
}

}  // namespace

Subcommand add_verify(const Parser& program) {
  const Parser parser =
      program.add_subcommand("verify",
                             "Check whether the Eclipse instance has what a session installs, or no longer has what it\n"
                             "removes");
  const auto options = std::make_shared<SessionOptions>();
  const auto asks_director = std::make_shared<bool>(false);
  add_session_file(parser, *options);
  add_wait_option(parser, options->wait);
  parser.add_flag("--director", *asks_director,
                  "Ask the director what is installed [default: read the p2 profile, and ask only if it cannot\nbe read]");
  add_reading_options(parser, *options, "the findings");
  parser.set_help("eclipse-int verify SESSION [OPTIONS]",
                  "  eclipse-int verify install.json\n"
                  "      Check whether everything that \"eclipse-int run install.json\" installs is installed.\n"
                  "  eclipse-int verify uninstall.json --json\n"
                  "      Check whether everything that \"eclipse-int run uninstall.json\" removes is gone, and print JSON.\n"
                  "\n"
                  "Use the session and the variables as they were before the run: the variables that a run writes\n"
                  "may mark the instance as known, and then only the selected components count.\n",
                  "Exit status:\n"
                  "  0  the instance is in the state that the session describes\n"
                  "  1  the instance is in another state, as the output shows, or it is damaged\n"
                  "  2  an error in the session or the arguments, or the instance cannot be queried, for example because\n"
                  "     another director is at work on it\n"
                  "  128 + N  signal N interrupted the query\n");
  return {parser, [options, asks_director] { return verify(*options, *asks_director); }};
}

}  // namespace eclipse_cli
