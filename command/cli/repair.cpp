#include <iostream>
#include <memory>
#include <optional>

#include "cli/shared_options.h"
#include "cli/subcommands.h"
#include "p2/instance_paths.h"
#include "report/repair_report.h"
#include "run/repair.h"

using eclipse_report::Repair;

namespace eclipse_cli {

namespace {

constexpr const char* repair_examples =
    "  eclipse-int repair /opt/eclipse/eclipse --dry-run\n"
    "      Show which states of the p2 profile are damaged, and which files a repair would rename or restore.\n"
    "  eclipse-int repair /opt/eclipse/eclipse\n"
    "      Rename the damaged newest states, restore the configuration, and check whether the director starts.\n"
    "  eclipse-int repair /opt/eclipse --to 1731234567890\n"
    "      Revert to the state that was written at this time.\n"
    "\n"
    "p2 keeps each state of the profile, which records what is installed, in a separate file, and starts from\n"
    "the newest one. A director that is stopped while it writes this file leaves it damaged, and then every\n"
    "director fails. This command renames such a file to TIME.profile.gz.damaged. It deletes nothing.\n"
    "\n"
    "A director can also damage the files that Eclipse starts from (config.ini, bundles.info and others) and artifacts.xml.\n"
    "Each run keeps a copy of them; this command restores the copy and renames the states that are newer. If more than one\n"
    "run made these states, or they were made outside eclipse-int, it only lists them; use --to to accept that.\n";

constexpr const char* repair_exit_status =
    "Exit status:\n"
    "  0  the director starts, and the newest state of the profile is not damaged\n"
    "  1  the director does not start, or the profile is still damaged; with --dry-run: there is something to repair\n"
    "  2  an error in the arguments, the p2 profile of the Eclipse instance is not known, or another director is at\n"
    "     work on it\n"
    "  128 + N  signal N ended the command\n";

struct RepairOptions {
  std::string eclipse;
  std::optional<std::string> to;
  bool dry_run = false;
  bool json = false;
  double wait = 0;
};

int repair_command(const RepairOptions& options) {
  Repair repair;
  repair.executable = eclipse_p2::existing_executable(options.eclipse);
  repair.is_dry_run = options.dry_run;
  const int status = eclipse_run::perform_repair(repair, options.to, options.wait);
  if (options.json) {
    eclipse_report::print_repair(repair, status);
  } else {
    std::cout << repair_text(repair);
  }
  return status;
}

}  // namespace

Subcommand add_repair(const Parser& program) {
  const Parser parser =
      program.add_subcommand("repair", "Repair a damaged Eclipse instance: its p2 profile and the files it starts from");
  const auto options = std::make_shared<RepairOptions>();
  add_eclipse_argument(parser, options->eclipse);
  parser
      .add_option("--to", options->to,
                  "Go back to the state of this time, even if newer states are not damaged\n"
                  "[default: the newest state that is not damaged]")
      .type_name("TIME");
  parser.add_flag("--dry-run", options->dry_run,
                  "Show which files would be renamed or restored; change nothing and start no director");
  add_wait_option(parser, options->wait);
  add_json_option(parser, options->json, "what was found and done");
  parser.set_help("eclipse-int repair ECLIPSE [OPTIONS]", repair_examples, repair_exit_status);
  return {parser, [options] { return repair_command(*options); }};
}

}  // namespace eclipse_cli
