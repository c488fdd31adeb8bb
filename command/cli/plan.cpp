#include "plan/plan.h"

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "cli/json_result.h"
#include "cli/plan_account.h"
#include "cli/plan_json.h"
#include "cli/session_command.h"
#include "cli/subcommands.h"

namespace eclipse_cli {

namespace {

using eclipse_plan::Plan;
using eclipse_plan::Retries;

constexpr const char* examples =
    "  eclipse-int plan install.json\n"
    "      Show what \"eclipse-int run install.json\" would do.\n"
    "  eclipse-int plan modify.json --variables state.json\n"
    "      The same, with the variables that an earlier run has written.\n"
    "  eclipse-int plan uninstall.json --json --retries > plan.json\n"
    "      Leave the plan to a program.\n";

constexpr const char* exit_status =
    "Exit status:\n"
    "  0  the run would do what the plan says, or has nothing to do\n"
    "  1  the run would be refused, or its command would not reach the director as it is meant\n"
    "  2  the session or the arguments are at fault\n";

int perform(const SessionOptions& options, bool all_retries) {
  const SessionCommand command(options);
  command.check_mode();
  const Plan plan =
      eclipse_plan::make_plan(command.load_plugin(), command.session(), all_retries ? Retries::all : Retries::telling);
  if (options.json) {
    print_json(std::cout, plan_json(plan));
  } else {
    std::cout << account_of(plan, options.session);
  }
  const bool reaches_the_director = !plan.command || plan.command->is_sound();
  return plan.refusal.empty() && reaches_the_director ? 0 : 1;
}

}  // namespace

Subcommand add_plan(CLI::App& program) {
  CLI::App* const parser = program.add_subcommand(
      "plan", "Show what a run of a session would do: components, features, commands; change nothing and run nothing");
  const auto options = std::make_shared<SessionOptions>();
  const auto all_retries = std::make_shared<bool>(false);
  parser->add_option("SESSION.json", options->session, "The session file")->required()->option_text(" ");
  parser->add_flag("--retries", *all_retries,
                   "Show the command of each retry, one for each feature;\notherwise those that are alike are only counted");
  add_reading_options(*parser, *options, "the whole plan");
  set_help(*parser, "eclipse-int plan SESSION.json [OPTIONS]", examples, exit_status);
  return {parser, [options, all_retries] { return perform(*options, *all_retries); }};
}

}  // namespace eclipse_cli
