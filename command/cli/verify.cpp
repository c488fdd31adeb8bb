#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/interruption.h"
#include "cli/json_result.h"
#include "cli/one_line.h"
#include "cli/session_command.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "cli/verification_account.h"
#include "plan/plan.h"

namespace eclipse_cli {

namespace {

using eclipse_plan::Plan;
using eclipse_verify::Verification;

constexpr const char* examples =
    "  eclipse-int verify install.json\n"
    "      See whether all that \"eclipse-int run install.json\" should have installed is there.\n"
    "  eclipse-int verify uninstall.json --json\n"
    "      See whether all that it should have removed is gone, for a program.\n"
    "\n"
    "Give it the session and the variables as they were before the run: those that a run has written may\n"
    "say that the instance is known, and then only the components that are selected count.\n";

constexpr const char* exit_status =
    "Exit status:\n"
    "  0  the instance is as the session should have left it\n"
    "  1  it differs, and each difference is named\n"
    "  2  the session or the arguments are at fault, or the instance cannot be asked\n"
    "  128 and the number of a signal: the signal ended the question\n";

/// A run that does not get to its command leaves the instance as it is. Why it does not may be a fault.
int without_command(const Plan& plan, bool json) {
  if (!plan.refusal.empty()) throw eclipse_p2::InstanceError("the run would be refused: " + plan.refusal);
  if (plan.lacks_instance) throw eclipse_p2::InstanceError(no_instance + reasons_of(plan, "  "));
  if (json) {
    print_json(
        std::cout,
        {{"same", true}, {"units", nlohmann::ordered_json::array()}, {"reason", plan.last_words}, {"reasons", plan.reasons}});
  } else {
    std::cout << "Same: the session changes nothing; the log ends with: " << on_one_line(plan.last_words) << "\n";
    for (const std::string& reason : plan.reasons) std::cout << "  " << on_one_line(reason) << "\n";
  }
  return 0;
}

/// Throws Interrupted.
Verification verify_unless_interrupted(const Plan& plan) {
  const Interruption interruption;
  return eclipse_verify::verify(plan, Interruption::checking({}).command_progress);
}

int perform_to_the_end(const SessionOptions& options) {
  const SessionCommand command(options);
  command.check_mode();
  const Plan plan = eclipse_plan::make_plan(command.load_plugin(), command.session(), eclipse_plan::Retries::telling);
  if (!plan.command) return without_command(plan, options.json);
  const Verification verification = verify_unless_interrupted(plan);
  if (options.json) {
    print_json(std::cout, verification_json(verification));
  } else {
    std::cout << account_of(verification);
  }
  return verification.differences().empty() ? 0 : 1;
}

int perform(const SessionOptions& options) {
  try {
    return perform_to_the_end(options);
  } catch (const Interrupted& interrupted) {
    print_message("interrupted by " + interrupted.name() + "; the director that was asked has been ended");
    return interrupted.exit_status();
  }
}

}  // namespace

Subcommand add_verify(CLI::App& program) {
  CLI::App* const parser = program.add_subcommand(
      "verify",
      "Ask the Eclipse whether what a session should have installed is there, or what it should\nhave removed is gone");
  const auto options = std::make_shared<SessionOptions>();
  parser->add_option("SESSION.json", options->session, "The session file")->required()->option_text(" ");
  add_reading_options(*parser, *options, "what was found");
  set_help(*parser, "eclipse-int verify SESSION.json [OPTIONS]", examples, exit_status);
  return {parser, [options] { return perform(*options); }};
}

}  // namespace eclipse_cli
