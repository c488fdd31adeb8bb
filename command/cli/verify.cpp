#include <iostream>
#include <string>

#include "base/printable.h"
#include "cli/subcommands.h"
#include "p2/instance_error.h"
#include "plan/make_plan.h"
#include "report/verification_json.h"
#include "report/verification_text.h"
#include "run/asked_instance.h"
#include "run/instance_safety.h"
#include "run/session_command.h"
#include "run/session_variables.h"
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
  if (!plan.refusal.empty()) throw eclipse_p2::InstanceError("the run would be refused: " + printable(plan.refusal));
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

}  // namespace

int verify(const SessionOptions& options, bool asks_director) {
  const SessionCommand command(options);
  check_mode(command.session());
  const eclipse_host::Plugin plugin = command.load_plugin();
  command.warn_of_unreadable_descriptors(plugin);
  const Plan plan = eclipse_plan::make_plan(plugin, command.session(), eclipse_plan::Retries::distinct);
  if (!eclipse_verify::is_verifiable(plan)) return without_command(plan, options.json);
  const InstanceAnswer answer = asked_instance(plan, asks_director, options.wait);
  const int status = report(plan, answer, options.json);
  print_damage(answer.damage);
  return status;
}

}  // namespace eclipse_cli
