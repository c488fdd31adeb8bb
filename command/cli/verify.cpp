#include <iostream>

#include "base/printable.h"
#include "base/text.h"
#include "cli/interruption.h"
#include "cli/session_command.h"
#include "cli/session_variables.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "cli/verification_json.h"
#include "cli/verification_text.h"
#include "plan/make_plan.h"
#include "plan/offer.h"

using namespace eclipse_base;

namespace eclipse_cli {

namespace {

using eclipse_plan::Plan;
using eclipse_verify::Source;
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

/// Throws Interrupted.
Verification verify_unless_interrupted(const Plan& plan, Source source) {
  const Interruption interruption;
  eclipse_p2::Repositories repositories;
  const auto offer = eclipse_plan::offered_to(plan, repositories);
  return eclipse_verify::verify(plan, offer, source, Interruption::observer().command_progress);
}

int verify_instance(const SessionOptions& options, Source source) {
  const SessionCommand command(options);
  check_mode(command.session());
  const eclipse_host::Plugin plugin = command.load_plugin();
  command.warn_of_unreadable_descriptors(plugin);
  const Plan plan = eclipse_plan::make_plan(plugin, command.session(), eclipse_plan::Retries::distinct);
  if (!plan.command) return without_command(plan, options.json);
  const Verification verification = verify_unless_interrupted(plan, source);
  if (options.json) {
    print_verification(verification);
  } else {
    std::cout << verification_text(verification);
  }
  return verification.differences().empty() ? 0 : 1;
}

}  // namespace

int verify(const SessionOptions& options, bool asks_director) {
  try {
    return verify_instance(options, asks_director ? Source::director : Source::profile);
  } catch (const Interrupted& interrupted) {
    print_message("interrupted by " + interrupted.name() + "; the running director was stopped");
    return interrupted.exit_status();
  }
}

}  // namespace eclipse_cli
