#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>

#include "base/file.h"
#include "cli/instance_argument.h"
#include "cli/instance_safety.h"
#include "cli/interruption.h"
#include "cli/repair_report.h"
#include "cli/subcommands.h"
#include "p2/installed_units.h"
#include "p2/profile_repair.h"

namespace fs = std::filesystem;

using eclipse_p2::ProfileState;
using eclipse_p2::RepairPlan;

namespace eclipse_cli {

namespace {

constexpr const char* examples =
    "  eclipse-int repair /opt/eclipse/eclipse --dry-run\n"
    "      Show which states of the p2 profile are damaged, and what would be moved aside.\n"
    "  eclipse-int repair /opt/eclipse/eclipse\n"
    "      Move the damaged newest states aside, and check whether the director answers.\n"
    "  eclipse-int repair /opt/eclipse --to 1731234567890\n"
    "      Go back to the state that was written at this time.\n"
    "\n"
    "p2 keeps each state of the profile, which records what is installed, in a separate file, and starts from\n"
    "the newest one. A director that is stopped while it writes this file leaves it damaged, and then every\n"
    "director fails. This command renames such a file to TIME.profile.gz.damaged. It deletes nothing.\n"
    "\n"
    "The same happens to config.ini and bundles.info, with which Eclipse starts. Each run keeps a copy of them;\n"
    "this command brings it back, and moves the states aside that are newer than the copy.\n";

constexpr const char* exit_status =
    "Exit status:\n"
    "  0  the director answers, and the newest state of the profile is not damaged\n"
    "  1  it does not answer, or the profile is still damaged; with --dry-run: there is something to repair\n"
    "  2  an error in the arguments, or another director is at work on the Eclipse instance\n"
    "  128 + N  signal N ended the command\n";

struct RepairOptions {
  std::string eclipse;
  std::optional<std::string> to;
  bool dry_run = false;
  bool json = false;
  double wait = 0;
};

/// The bundles of the states to be moved that stay listed. A state that is damaged has none.
std::vector<eclipse_p2::Unit> bundles_left(const RepairPlan& plan, const std::vector<ProfileState>& left,
                                           const fs::path& instance) {
  if (plan.states.size() == left.size() || plan.to_bring_back || left.empty()) return {};
  return eclipse_p2::bundles_left(instance, plan.states.front(), left.front());
}

/// Throws RepairError and FileError.
void repair_files(Repair& repair, const fs::path& instance, const std::optional<std::string>& to) {
  const RepairPlan plan = eclipse_p2::plan_repair(instance, to);
  repair.states = plan.states;
  repair.configuration = plan.configuration;
  const auto to_move = eclipse_p2::states_to_move(plan.states, plan.to);
  const std::vector<ProfileState> left(plan.states.begin() + static_cast<std::ptrdiff_t>(to_move.size()), plan.states.end());
  repair.lost = eclipse_p2::lost_units(instance, left);
  repair.bundles_left = bundles_left(plan, left, instance);
  if (plan.configuration && !plan.configuration->is_startable && !plan.to_bring_back) {
    throw eclipse_p2::RepairError(eclipse_p2::fix_of(*plan.configuration, repair.executable));
  }
  for (const ProfileState& state : to_move) {
    repair.moves.push_back({state.file, repair.is_dry_run ? fs::path() : eclipse_p2::move_aside(state)});
  }
  if (plan.to_bring_back) {
    const auto bring_back = repair.is_dry_run ? eclipse_p2::differing_files : eclipse_p2::bring_back;
    repair.brought_back = bring_back(*plan.to_bring_back, instance);
  }
}

/// Throws InstanceError and Interrupted.
void ask(Repair& repair) {
  repair.roots = eclipse_p2::installed_units(repair.executable, Interruption::observer().command_progress).roots;
  Interruption::check();
}

int exit_status_of(const Repair& repair) {
  const bool changes_files = !repair.moves.empty() || !repair.brought_back.empty();
  const bool is_damaged =
      repair.lost || repair.damage || (repair.configuration && !changes_files) || !repair.bundles_left.empty();
  return repair.error.empty() && !is_damaged && !(repair.is_dry_run && changes_files) ? 0 : 1;
}

/// Returns the exit status.
int perform_repair(Repair& repair, const RepairOptions& options) {
  const auto lock = lock_instance(repair.executable, options.wait);
  const fs::path instance = eclipse_p2::instance_directory(repair.executable);
  const Interruption interruption;
  try {
    repair_files(repair, instance, options.to);
    if (!repair.is_dry_run) ask(repair);
    if (!repair.is_dry_run && !repair.lost) repair.damage = eclipse_p2::instance_damage(repair.executable);
  } catch (const eclipse_p2::RepairError& error) {
    repair.error = error.what();
  } catch (const eclipse_base::FileError& error) {
    repair.error = error.what();
  } catch (const eclipse_p2::InstanceError& error) {
    repair.error = error.what();
  } catch (const Interrupted& interrupted) {
    repair.error = "interrupted by " + interrupted.name() + " before the director had answered";
    return interrupted.exit_status();
  }
  return exit_status_of(repair);
}

int perform(const RepairOptions& options) {
  Repair repair;
  repair.executable = executable_of(options.eclipse);
  repair.is_dry_run = options.dry_run;
  const int status = perform_repair(repair, options);
  if (options.json) {
    print_repair(repair, status);
  } else {
    std::cout << repair_text(repair);
  }
  return status;
}

}  // namespace

Subcommand add_repair(const Parser& program) {
  const Parser parser =
      program.add_subcommand("repair", "Move damaged states of the p2 profile aside, so that the instance works again");
  const auto options = std::make_shared<RepairOptions>();
  add_eclipse_argument(parser, options->eclipse);
  parser
      .add_option("--to", options->to,
                  "Go back to the state of this time, even if newer states are not damaged\n"
                  "[default: the newest state that is not damaged]")
      .type_name("TIME");
  parser.add_flag("--dry-run", options->dry_run, "Show what would be moved aside; move nothing and start no director");
  add_wait_option(parser, options->wait);
  parser.add_flag("--json", options->json, "Print one JSON document with what was found and done, and nothing else");
  parser.set_help("eclipse-int repair ECLIPSE [OPTIONS]", examples, exit_status);
  return {parser, [options] { return perform(*options); }};
}

}  // namespace eclipse_cli
