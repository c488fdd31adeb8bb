#include "plan/make_plan.h"

#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/interruption.h"
#include "cli/plan_json.h"
#include "cli/plan_text.h"
#include "cli/resolution_json.h"
#include "cli/resolution_text.h"
#include "cli/run_json.h"
#include "cli/session_command.h"
#include "cli/session_variables.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"

namespace eclipse_cli {

namespace {

using eclipse_plan::Plan;
using eclipse_plan::Retries;
using eclipse_resolve::Resolution;

/// Throws Interrupted.
Resolution resolve_unless_interrupted(const Plan& plan) {
  const Interruption interruption;
  return resolve_with_progress(plan);
}

void print(const Plan& plan, const std::optional<Resolution>& resolution, const SessionOptions& options) {
  if (!options.json) {
    std::cout << plan_text(plan, options.session);
    if (resolution) std::cout << "\nResolution (the director was asked, and changed nothing)\n" << resolution_text(*resolution);
    return;
  }
  nlohmann::ordered_json json = plan_json(plan);
  if (resolution) json["resolution"] = resolution_json(*resolution);
  print_json(json);
}

int plan_session(const SessionOptions& options, const PlanOptions& wanted) {
  const SessionCommand command(options);
  check_mode(command.session());
  const Plan plan =
      eclipse_plan::make_plan(command.load_plugin(), command.session(), wanted.all_retries ? Retries::all : Retries::distinct);
  std::optional<Resolution> resolution;
  if (wanted.resolves) resolution = resolve_unless_interrupted(plan);
  print(plan, resolution, options);
  const bool command_is_sound = !plan.command || plan.command->runs_as_intended();
  const bool resolves = !resolution || !resolution->fails();
  return plan.refusal.empty() && command_is_sound && resolves ? 0 : 1;
}

}  // namespace

int plan(const SessionOptions& options, const PlanOptions& wanted) {
  try {
    return plan_session(options, wanted);
  } catch (const Interrupted& interrupted) {
    print_message("interrupted by " + interrupted.name() + "; the running director was stopped");
    return interrupted.exit_status();
  }
}

}  // namespace eclipse_cli
