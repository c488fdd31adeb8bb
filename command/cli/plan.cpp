#include <iostream>

#include "cli/configuration_options.h"
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

}  // namespace eclipse_cli
