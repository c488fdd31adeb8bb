#include <iostream>
#include <memory>

#include "cli/configuration_options.h"
#include "cli/shared_options.h"
#include "cli/subcommands.h"
#include "report/plan_report.h"
#include "run/instance_safety.h"
#include "run/planned_session.h"
#include "terminal/exit_status.h"
#include "terminal/interruption.h"
#include "terminal/standard_streams.h"

using namespace eclipse_report;
using namespace eclipse_run;
using namespace eclipse_terminal;

namespace eclipse_cli {

namespace {

struct PlanOptions {
  bool is_verbose = false;   ///< shows all of the plan
  bool all_retries = false;  ///< shows all that are similar
  bool resolves = false;     ///< asks the director
  eclipse_update::UpdateOptions update;
  ConfigurationOptions configuration;
};

int plan(const SessionOptions& options, const PlanOptions& wanted) try {
  const PlanReport report = planned_session(options, {.all_retries = wanted.all_retries,
                                                      .resolves = wanted.resolves,
                                                      .update = wanted.update,
                                                      .configuration = configuration_choice(wanted.configuration)});
  if (options.json) {
    print_plan(report);
  } else {
    std::cout << plan_report_text(report, options.session, wanted.is_verbose || wanted.all_retries);
  }
  print_damage(report.damage);
  return report.is_failure() ? exit_failure : exit_success;
} catch (const Interrupted& interrupted) {
  print_message(interrupted.text());
  return interrupted.exit_status();
}

constexpr const char* plan_examples =
    "  eclipse-int plan install.json\n"
    "      Show what \"eclipse-int run install.json\" would do.\n"
    "  eclipse-int plan modify.json --variables state.json\n"
    "      Do the same with the variables that an earlier run wrote.\n"
    "  eclipse-int plan modify.json --update\n"
    "      Show which features an update replaces, and the command; with --resolve also whether the director\n"
    "      would do it.\n"
    "  eclipse-int plan install.json --resolve\n"
    "      Also ask the director whether all requirements can be met.\n"
    "  eclipse-int plan uninstall.json --json --retries > plan.json\n"
    "      Write the plan for another program, with all retries.\n";

constexpr const char* plan_exit_status =
    "Exit status:\n"
    "  0  the run would do what the plan shows, or has nothing to do\n"
    "  1  the run would be refused, a feature will fail, lint reports an error, or the Eclipse instance is damaged;\n"
    "     with --resolve also: the director would not install or remove all features\n"
    "  2  an error in the session or the arguments; with --resolve also: the director cannot be asked,\n"
    "     for example because another director is at work on the Eclipse instance\n"
    "  128 + N  signal N interrupted the director\n";

}  // namespace

Subcommand add_plan(const Parser& program) {
  const Parser parser = program.add_subcommand(
      "plan",
      "Show what a run of a session would do, feature by feature, without changing or running anything:\n"
      "+ to be installed, = already there, ~ there in another version, - to be removed, ! will fail");
  const auto options = std::make_shared<SessionOptions>();
  const auto how = std::make_shared<PlanOptions>();
  add_session_file(parser, *options);
  parser.add_flag("--resolve", how->resolves,
                  "Ask the director of the Eclipse instance whether it would install or remove all features,\n"
                  "and if not, which ones fail and why. It works on a copy of the profile, changes nothing,\n"
                  "and takes a few seconds for each query");
  add_update_options(parser, how->update);
  parser.add_flag("--retries", how->all_retries,
                  "Show the command of every retry, one for each feature; implies --verbose\n"
                  "[default: similar retries are only counted]");
  parser.add_flag("--verbose", how->is_verbose,
                  "Show the whole plan: actions, components, install order, commands and retries\n"
                  "[default: a line for each feature and repository, and anything unusual]");
  add_configuration_options(parser, how->configuration);
  add_reading_options(parser, *options, "the whole plan");
  parser.set_help("eclipse-int plan SESSION [OPTIONS]", plan_examples, plan_exit_status);
  return {parser, [options, how] { return plan(*options, *how); }};
}

}  // namespace eclipse_cli
