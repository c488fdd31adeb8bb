#include <iostream>

#include "base/printable.h"
#include "base/text.h"
#include "cli/instance_safety.h"
#include "cli/interruption.h"
#include "cli/session_command.h"
#include "cli/session_variables.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "cli/verification_json.h"
#include "cli/verification_text.h"
#include "plan/make_plan.h"

using namespace eclipse_base;

namespace eclipse_cli {

namespace {

using eclipse_plan::Plan;
using eclipse_verify::Verification;

/// A run without a command leaves the instance as it is. The reason may be an error.
int without_command(const Plan& plan, bool json) {
  if (!plan.refusal.empty()) throw eclipse_p2::InstanceError("the run would be refused: " + plan.refusal);
  if (plan.is_instance_missing) throw eclipse_p2::InstanceError(no_instance + reasons_text(plan, "  "));
  if (json) {
    print_nothing_to_verify(plan);
  } else {
    std::cout << "Same: the session changes nothing; the log ends with: " << printable(plan.last_log_line) << "\n";
    for (const std::string& reason : plan.reasons) std::cout << "  " << printable(reason) << "\n";
  }
  return 0;
}

/// A director that only answers may write the profile, too, when the instance was moved. Throws Interrupted and InstanceInUse.
Verification verify_unless_interrupted(const Plan& plan, double seconds_to_wait) {
  const auto lock = lock_instance(plan.executable, seconds_to_wait);
  const Interruption interruption;
  Verification verification = eclipse_verify::verify(plan, Interruption::observer().command_progress);
  Interruption::check();
  return verification;
}

int verify_instance(const SessionOptions& options) {
  const SessionCommand command(options);
  check_mode(command.session());
  const eclipse_host::Plugin plugin = command.load_plugin();
  command.warn_of_unreadable_descriptors(plugin);
  const Plan plan = eclipse_plan::make_plan(plugin, command.session(), eclipse_plan::Retries::distinct);
  if (!plan.command) return without_command(plan, options.json);
  const Verification verification = verify_unless_interrupted(plan, options.wait);
  if (options.json) {
    print_verification(verification);
  } else {
    std::cout << verification_text(verification);
  }
  return verification.differences().empty() ? 0 : 1;
}

}  // namespace

int verify(const SessionOptions& options) {
  try {
    return verify_instance(options);
  } catch (const Interrupted& interrupted) {
    print_message("interrupted by " + interrupted.name());
    return interrupted.exit_status();
  }
}

}  // namespace eclipse_cli
