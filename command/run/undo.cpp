#include "run/undo.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <set>
#include <vector>

#include "base/file.h"
#include "base/printable.h"
#include "instance/damage.h"
#include "instance/lock.h"
#include "instance/profile_history.h"
#include "instance/reversion.h"
#include "p2/installed_units.h"
#include "p2/instance_paths.h"
#include "p2/repository_url.h"
#include "run/instance_safety.h"
#include "run/output_checks.h"
#include "run/run_recording.h"
#include "run/session_command.h"
#include "run/session_source.h"
#include "run/usage_error.h"
#include "shell/own_command.h"
#include "standalone_host/session.h"
#include "standalone_host/variables_file.h"
#include "terminal/exit_status.h"
#include "terminal/interruption.h"

namespace fs = std::filesystem;
using namespace eclipse_p2;
using namespace eclipse_instance;
using namespace eclipse_report;
using namespace eclipse_terminal;

namespace eclipse_run {

namespace {

/// Throws FileError, PluginError and UsageError.
std::string executable_for(const SessionOptions& options) {
  if (options.session.empty()) {
    if (!options.eclipse) throw UsageError("SESSION: missing; give a session file, or --eclipse with the Eclipse instance");
    return eclipse_p2::existing_executable(*options.eclipse);
  }
  const SessionCommand command(options);
  const auto plugin = command.load_plugin();
  check_outputs(options, plugin, command.session());
  const std::string executable = command.chosen_executable(plugin);
  if (executable.empty()) {
    throw UsageError(eclipse_base::printable(options.session) +
                     ": the session chooses no Eclipse instance; use --eclipse with one");
  }
  return eclipse_p2::existing_executable(executable);
}

void check_variables(const SessionOptions& options) {
  if (!options.write_variables) return;
  if (!options.variables) throw UsageError("--write-variables: needs --variables with the file of the last run");
  eclipse_host::check_variables_file(*options.write_variables, eclipse_host::read_variables_file(*options.variables));
}

/// `times` are those of all states, newest first.
WayBack way_from(const ProfileState& newest, const fs::path& instance, const std::vector<std::string>& times,
                 const RunJournal& journal, const std::optional<std::string>& to) {
  if (to) return way_back_to(times, journal, *to);
  return way_back(times, journal,
                  [&](const std::string& time) { return has_same_units(newest, state_of_time(instance, time)); });
}

UnitChange change_of_states(const fs::path& instance, const std::string& before, const std::string& after) {
  return change_between(installed_in(state_of_time(instance, before)), installed_in(state_of_time(instance, after)));
}

/// What other people changed is what counts, not the states that p2 writes without a change. They may have worked on the
/// instance during a run, too.
std::vector<Undo::OutsideChange> outside_changes(const fs::path& instance, const std::vector<std::string>& times,
                                                 const WayBack& way) {
  std::vector<Undo::OutsideChange> changes;
  for (const std::string& time : way.states_of_others) {
    const auto older = std::find(times.begin(), times.end(), time) + 1;  // there is one, since the target is older
    changes.push_back({time, change_of_states(instance, *older, time)});
  }
  for (const RecordedRun* const run : way.runs) {
    changes.push_back({run->after, run->not_asked_for(change_of_states(instance, run->before, run->after))});
  }
  std::erase_if(changes, [](const Undo::OutsideChange& outside) { return outside.change.is_empty(); });
  return changes;
}

/// What the host knew as the executable of an earlier run when the state was the newest one.
void find_cached(Undo& undo) {
  const RecordedRun* const oldest = undo.way.runs.empty() ? nullptr : undo.way.runs.back();
  const RecordedRun* const left = undo.journal.run_that_left(undo.way.target);
  undo.knows_cached = (oldest != nullptr && oldest->before == undo.way.target) || left != nullptr;
  if (undo.knows_cached) undo.cached = left != nullptr ? left->cached_after : oldest->cached_before;
}

/// Throws UsageError.
std::string url_of(const std::string& repository) {
  if (repository.find(":/") != repository.npos) return repository;
  std::error_code error;
  const fs::file_status status = fs::status(repository, error);
  if (!fs::exists(status)) throw UsageError("--repository: " + eclipse_base::in_quotes(repository) + " does not exist");
  return escaped_url(fs::absolute(repository), !fs::is_directory(status));
}

/// The named ones first.
std::vector<std::string> repositories_for(const Undo& undo, const std::vector<std::string>& named) {
  std::vector<std::string> urls(named.size());
  std::transform(named.begin(), named.end(), urls.begin(), url_of);
  for (std::string& url : undo.journal.repositories()) urls.push_back(std::move(url));
  return urls;
}

/// Finds out what would be done, and why it would not.
void look_at(Undo& undo, const UndoOptions& options) {
  const fs::path instance = instance_directory(undo.executable);
  undo.journal = read_run_journal(instance);
  const std::vector<std::string> times = state_times(instance);
  if (times.empty()) throw no_profile(undo.executable);
  undo.newest = times.front();
  const ProfileState newest = state_of_time(instance, undo.newest);
  undo.way = way_from(newest, instance, times, undo.journal, options.to);
  undo.error = undo.way.error;
  if (!undo.error.empty()) return;
  const ProfileState target = state_of_time(instance, undo.way.target);
  undo.error = why_not_revertible(newest, target);
  if (!undo.error.empty()) return;
  undo.change = change_between(installed_in(newest), installed_in(target));
  undo.outside_changes = outside_changes(instance, times, undo.way);
  find_cached(undo);
  if (!undo.way.runs.empty()) undo.variables_of_run = undo.way.runs.front()->variables_file;
  if (!undo.outside_changes.empty() && !undo.is_forced) {
    undo.error = "this would also undo the changes above, which were made outside eclipse-int; use --force to undo them, too";
  }
  if (undo.change->is_empty()) return;
  undo.missing = missing_artifacts(instance, newest, target, repositories_for(undo, options.repositories));
  if (undo.error.empty() && undo.missing.is_certain()) {
    undo.error =
        "the director would fail, since no known repository has what is missing; use --repository with one that has it";
  }
}

/// Throws Interrupted.
void go_back(Undo& undo, const std::vector<std::string>& repositories) {
  if (undo.change->is_empty()) return;
  const Interruption interruption;
  undo.reversion =
      revert(undo.executable, undo.way.target, repositories_for(undo, repositories), Interruption::observer().command_progress);
  undo.error = undo.reversion->error;
}

std::set<std::string> ids_of(const UnitChange& change) {
  std::set<std::string> ids;
  for (const auto* const units : {&change.installed, &change.removed, &change.now_by_name, &change.no_longer_by_name}) {
    for (const Unit& unit : *units) ids.insert(unit.id);
  }
  return ids;
}

/// As a run of its own, without its end.
RecordedRun recorded(const Undo& undo) {
  const RecordedRun* const last = undo.journal.run_that_left(undo.newest);
  RecordedRun run{eclipse_shell::own_command(), undo.newest, "", undo.way.target, {}};
  run.cached_before = last != nullptr ? last->cached_after : std::nullopt;
  run.cached_after = undo.knows_cached ? undo.cached : run.cached_before;
  run.units = ids_of(*undo.change);
  return run;
}

/// So that one that is killed leaves a trace.
void record_start(const Undo& undo) try {
  record_beginning(instance_directory(undo.executable), recorded(undo));
} catch (const eclipse_base::FileError&) {
}

/// Also when a director that was stopped, or that failed, had gone back before.
void record_end(const Undo& undo) {
  const fs::path instance = instance_directory(undo.executable);
  RecordedRun run = recorded(undo);
  run.after = newest_time(instance);
  const bool went_back = is_before(undo.newest, run.after) &&
                         has_same_units(state_of_time(instance, run.after), state_of_time(instance, undo.way.target));
  went_back ? record_with_warning(instance, run) : forget_beginning(instance);
}

/// Lets the variables follow that the host keeps. Why they could not be written; empty when they could.
std::string write_variables(Undo& undo, const SessionOptions& options) try {
  if (!options.write_variables || !undo.knows_cached) return "";
  eclipse_host::Variables variables = eclipse_host::read_variables_file(*options.variables);
  variables.erase(eclipse_host::cached_executable);
  if (undo.cached) variables[eclipse_host::cached_executable] = *undo.cached;
  if (!undo.is_dry_run) eclipse_host::write_variables_file(*options.write_variables, variables);
  undo.variables_written = *options.write_variables;
  return "";
} catch (const eclipse_base::FileError& error) {
  return error.what();
}

/// Returns the exit status.
int undo_last_run(Undo& undo, const UndoOptions& options) {
  look_at(undo, options);
  if (!options.session.json) std::cout << found_text(undo) << std::flush;
  ProfileStates states;
  undo.damage = undo.is_dry_run ? instance_damage_at_rest(undo.executable, states) : instance_damage(undo.executable, states);
  if (undo.error.empty() && undo.damage && undo.damage->is_fatal)
    undo.error = "the Eclipse instance is damaged; " + undo.damage->fix;
  if (undo.is_dry_run && is_in_use(instance_directory(undo.executable))) {
    undo.error = "another director is at work on the instance, and may change it; try again when it has ended";
  }
  if (!undo.error.empty()) return exit_failure;
  if (undo.is_dry_run) return exit_success;
  if (!undo.damage) back_up_configuration_of(undo.executable);
  record_start(undo);
  try {
    go_back(undo, options.repositories);
  } catch (const Interrupted& interrupted) {
    undo.error = interrupted.name() + " stopped the director";
    record_end(undo);
    undo.damage = instance_damage(undo.executable);
    return interrupted.exit_status();
  }
  record_end(undo);
  if (!undo.error.empty()) undo.damage = instance_damage(undo.executable);
  return undo.error.empty() ? exit_success : exit_failure;
}

}  // namespace

UndoResult perform_undo(const UndoOptions& options) {
  check_variables(options.session);
  UndoResult result;
  Undo& undo = result.undo;
  undo.executable = executable_for(options.session);
  check_variables_output(options.session, undo.executable);
  undo.is_dry_run = options.dry_run;
  undo.is_forced = options.force;
  const auto lock = lock_instance(options.dry_run ? "" : undo.executable, options.session.wait);
  result.exit_status = undo_last_run(undo, options);
  if (result.exit_status == exit_success) result.variables_error = write_variables(undo, options.session);
  if (!result.variables_error.empty()) result.exit_status = exit_trouble;
  return result;
}

}  // namespace eclipse_run
