#include "plan/make_plan.h"

#include <iostream>

#include "cli/instance_safety.h"
#include "cli/plan_json.h"
#include "cli/plan_text.h"
#include "cli/session_command.h"
#include "cli/session_variables.h"
#include "cli/subcommands.h"
#include "p2/profile_repair.h"

namespace eclipse_cli {

using eclipse_plan::Plan;
using eclipse_plan::Retries;

int plan(const SessionOptions& options, bool all_retries) {
  const SessionCommand command(options);
  check_mode(command.session());
  const Plan plan =
      eclipse_plan::make_plan(command.load_plugin(), command.session(), all_retries ? Retries::all : Retries::distinct);
  const auto damage = plan.command ? eclipse_p2::profile_damage_at_rest(plan.executable) : std::nullopt;
  if (options.json) {
    print_plan(plan, damage);
  } else {
    std::cout << plan_text(plan, options.session);
  }
  print_damage(damage);
  const bool command_is_sound = !plan.command || plan.command->runs_as_intended();
  return plan.refusal.empty() && command_is_sound && !damage ? 0 : 1;
}

}  // namespace eclipse_cli
