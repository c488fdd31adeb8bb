#include <algorithm>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <set>

#include "base/printable.h"
#include "cli/instance_argument.h"
#include "cli/instance_safety.h"
#include "cli/interruption.h"
#include "cli/output_checks.h"
#include "cli/run_recording.h"
#include "cli/session_command.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "cli/undo_report.h"
#include "cli/usage_error.h"
#include "p2/installed_units.h"
#include "shell/own_command.h"
#include "standalone_host/variables_file.h"

namespace fs = std::filesystem;
using namespace eclipse_p2;

namespace eclipse_cli {

namespace {

constexpr const char* examples =
    "  eclipse-int undo install.json --dry-run\n"
    "      Show what taking back the last run on the instance of this session would change.\n"
    "  eclipse-int undo install.json --variables state.json --write-variables state.json\n"
    "      Take it back; CASHED_ECLIPSE_PATH in the variables follows.\n"
    "  eclipse-int undo --eclipse /opt/eclipse --to 1731234567890\n"
    "      Go back to a state that \"eclipse-int history /opt/eclipse\" lists.\n"
    "\n"
    "Once more takes back the run before; runs that changed nothing are passed over. If somebody else has changed the\n"
    "instance since then, this says what else would go, and does nothing without --force.\n";

constexpr const char* exit_status =
    "Exit status:\n"
    "  0  the instance has the units of the older state, or with --dry-run would get them\n"
    "  1  nothing was changed, since there is nothing to take back, somebody else has changed the instance, its\n"
    "     profile is damaged, or the director failed\n"
    "  2  an error in the arguments or the session, another director is at work on the instance, or the variables\n"
    "     could not be written\n"
    "  128 + N  signal N stopped the director\n";

struct UndoOptions {
  SessionOptions session;
  std::optional<std::string> to;
  bool dry_run = false;
  bool force = false;
};

/// Throws FileError, PluginError and UsageError.
std::string executable_for(const SessionOptions& options) {
  if (options.session.empty()) {
    if (!options.eclipse) throw UsageError("SESSION: missing; give a session file, or --eclipse with the Eclipse instance");
    return executable_of(*options.eclipse);
  }
  const SessionCommand command(options);
  const auto plugin = command.load_plugin();
  check_outputs(options, plugin, command.session());
  const std::string executable = command.chosen_executable(plugin);
  if (executable.empty()) {
    throw UsageError(eclipse_base::printable(options.session) +
                     ": the session chooses no Eclipse instance; use --eclipse with one");
  }
  return executable_of(executable);
}

void check_variables(const SessionOptions& options) {
  if (!options.write_variables) return;
  if (!options.variables) throw UsageError("--write-variables: needs --variables with the file of the last run");
  eclipse_host::check_variables_file(*options.write_variables, eclipse_host::read_variables_file(*options.variables));
}

bool has_same_units(const ProfileState& one, const ProfileState& other) {
  return one.error.empty() && other.error.empty() && change_between(installed_in(one), installed_in(other)).is_empty();
}

WayBack way_from(const ProfileState& newest, const fs::path& instance, const RunJournal& journal,
                 const std::optional<std::string>& to) {
  const std::vector<std::string> times = state_times(instance);
  if (to) return way_back_to(times, journal, *to);
  return way_back(times, journal, [&](const std::string& time) {
    const ProfileState state = state_of_time(instance, time);
    return newest.error.empty() && state.error.empty() && change_between(installed_in(newest), installed_in(state)).is_empty();
  });
}

/// What other people changed is what counts, not the states that p2 writes without a change.
std::vector<Undo::OtherState> changes_of_others(const fs::path& instance, const WayBack& way) {
  const std::vector<fs::path> files = profile_states(instance);
  const std::set<std::string> times(way.states_of_others.begin(), way.states_of_others.end());
  std::vector<Undo::OtherState> others;
  ProfileState older;
  for (std::size_t at = 0; at + 1 < files.size(); ++at) {
    const std::string time = time_of_state(files[at]);
    if (!times.contains(time)) continue;
    const ProfileState state = older.time == time ? older : read_profile_state(files[at]);
    older = read_profile_state(files[at + 1]);
    const UnitChange change = change_between(installed_in(older), installed_in(state));
    if (!change.is_empty()) others.push_back({time, change});
  }
  return others;
}

/// What the host knew as the executable of an earlier run when the state was the newest one.
void find_cached(Undo& undo) {
  const RecordedRun* const oldest = undo.way.runs.empty() ? nullptr : undo.way.runs.back();
  const RecordedRun* const left = undo.journal.run_that_left(undo.way.target);
  undo.knows_cached = (oldest != nullptr && oldest->before == undo.way.target) || left != nullptr;
  if (undo.knows_cached) undo.cached = left != nullptr ? left->cached_after : oldest->cached_before;
}

/// Finds out what would be done, and why it would not.
void look_at(Undo& undo, const std::optional<std::string>& to) {
  const fs::path instance = instance_directory(undo.executable);
  undo.journal = read_run_journal(instance);
  undo.newest = newest_time(instance);
  if (undo.newest.empty()) throw InstanceError(eclipse_base::in_quotes(undo.executable) + " " + why_no_profile(instance));
  const ProfileState newest = state_of_time(instance, undo.newest);
  undo.way = way_from(newest, instance, undo.journal, to);
  undo.error = undo.way.error;
  if (!undo.error.empty()) return;
  const ProfileState target = state_of_time(instance, undo.way.target);
  undo.error = why_not_revertible(newest, target);
  if (!undo.error.empty()) return;
  undo.change = change_between(installed_in(newest), installed_in(target));
  undo.others = changes_of_others(instance, undo.way);
  find_cached(undo);
  if (!undo.way.runs.empty()) undo.variables_of_run = undo.way.runs.front()->variables_file;
  if (!undo.others.empty() && !undo.is_forced) {
    undo.error = "something that no known run has made would be taken back as well; --force does this";
  }
}

/// Throws Interrupted.
void go_back(Undo& undo) {
  if (undo.change->is_empty()) return;
  const Interruption interruption;
  undo.reversion =
      revert(undo.executable, undo.way.target, undo.journal.repositories(), Interruption::observer().command_progress);
  undo.error = undo.reversion->error;
}

/// Also when a director that was stopped, or that failed, had gone back before.
void record(const Undo& undo) {
  const fs::path instance = instance_directory(undo.executable);
  const std::string after = newest_time(instance);
  if (!is_before(undo.newest, after)) return;
  if (!has_same_units(state_of_time(instance, after), state_of_time(instance, undo.way.target))) return;
  const RecordedRun* const last = undo.journal.run_that_left(undo.newest);
  const auto before = last != nullptr ? last->cached_after : std::nullopt;
  record_with_warning(instance, {eclipse_shell::own_command(),
                                 undo.newest,
                                 after,
                                 undo.way.target,
                                 {},
                                 before,
                                 undo.knows_cached ? undo.cached : before,
                                 ""});
}

/// Throws FileError.
void let_variables_follow(Undo& undo, const SessionOptions& options) {
  if (!options.write_variables || !undo.error.empty() || !undo.knows_cached) return;
  eclipse_host::Variables variables = eclipse_host::read_variables_file(*options.variables);
  variables.erase(cached_executable);
  if (undo.cached) variables[cached_executable] = *undo.cached;
  undo.variables_written = *options.write_variables;
  if (!undo.is_dry_run) eclipse_host::write_variables_file(*options.write_variables, variables);
}

/// Returns the exit status.
int perform_undo(Undo& undo, const UndoOptions& options) {
  look_at(undo, options.to);
  if (!options.session.json) std::cout << found_text(undo) << std::flush;
  undo.damage = undo.is_dry_run ? instance_damage_at_rest(undo.executable) : instance_damage(undo.executable);
  if (!undo.error.empty() || (undo.damage && undo.damage->is_fatal)) return 1;
  if (!undo.is_dry_run && !undo.damage) keep_configuration_of(undo.executable);
  try {
    if (!undo.is_dry_run) go_back(undo);
  } catch (const Interrupted& interrupted) {
    undo.error = interrupted.name() + " stopped the director";
    record(undo);
    undo.damage = instance_damage(undo.executable);
    return interrupted.exit_status();
  }
  record(undo);
  try {
    let_variables_follow(undo, options.session);
  } catch (const eclipse_base::FileError& error) {
    print_message(error.what());
    return 2;
  }
  if (!undo.error.empty()) undo.damage = instance_damage(undo.executable);
  return undo.error.empty() ? 0 : 1;
}

int perform(const UndoOptions& options) {
  check_variables(options.session);
  Undo undo;
  undo.executable = executable_for(options.session);
  check_variables_output(options.session, undo.executable);
  undo.is_dry_run = options.dry_run;
  undo.is_forced = options.force;
  const auto lock = lock_instance(options.dry_run ? "" : undo.executable, options.session.wait);
  const int status = perform_undo(undo, options);
  if (options.session.json) {
    print_undo(undo, status);
  } else {
    std::cout << undone_text(undo);
  }
  print_damage(undo.damage);
  return status;
}

void add_options(const Parser& parser, UndoOptions& options) {
  parser.add_option("SESSION", options.session.session, "The session file, or a directory of components, which needs --eclipse")
      .option_text(" ");
  parser
      .add_option("--eclipse", options.session.eclipse,
                  "The Eclipse instance, its executable or its directory, in place of a session file or with\na directory of "
                  "components")
      .type_name("PATH");
  parser
      .add_option("--to", options.to,
                  "Go back to the state of this time [default: the one before the last run that was not\n"
                  "taken back already]")
      .type_name("TIME");
  parser.add_flag("--dry-run", options.dry_run, "Show what would change; change nothing and start no director");
  parser.add_flag("--force", options.force, "Also take back what somebody else has changed since then");
  add_input_options(parser, options.session, "Read session variables from FILE; the session file overrides them");
  parser
      .add_option("--write-variables", options.session.write_variables,
                  "Write the variables of --variables to FILE, with CASHED_ECLIPSE_PATH as it was in the\nolder state")
      .type_name("FILE");
  add_wait_option(parser, options.session.wait);
  parser.add_flag("--json", options.session.json,
                  "Machine-readable output: print one JSON document with what was found and done,\nand nothing else");
}

}  // namespace

Subcommand add_undo(const Parser& program) {
  const Parser parser = program.add_subcommand("undo", "Go back to the state of the Eclipse instance before the last run");
  const auto options = std::make_shared<UndoOptions>();
  add_options(parser, *options);
  parser.set_help("eclipse-int undo [SESSION] [OPTIONS]", examples, exit_status);
  return {parser, [options] { return perform(*options); }};
}

}  // namespace eclipse_cli
