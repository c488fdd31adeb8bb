#include "run/session_command.h"

#include <algorithm>
#include <filesystem>
#include <new>
#include <system_error>

#include "base/file.h"
#include "base/printable.h"
#include "dry_run/chosen_executable.h"
#include "dry_run/existing_descriptors.h"
#include "run/instance_safety.h"
#include "run/output_checks.h"
#include "run/run_recording.h"
#include "run/session_source.h"
#include "run/session_variables.h"
#include "run/usage_error.h"
#include "standalone_host/session_file.h"
#include "standalone_host/variables_file.h"
#include "terminal/exit_status.h"
#include "terminal/standard_streams.h"

using namespace eclipse_base;
using namespace eclipse_host;
using namespace eclipse_report;
using namespace eclipse_terminal;

namespace eclipse_run {

namespace {

bool is_missing(const std::string& file) {
  std::error_code error;
  return std::filesystem::status(file, error).type() == std::filesystem::file_type::not_found;
}

/// False, after a message, when a file could not be written.
bool is_written(const std::function<void()>& write) {
  try {
    write();
    return true;
  } catch (const FileError& error) {
    print_message(error.what());
    return false;
  }
}

}  // namespace

SessionCommand::SessionCommand(const SessionOptions& options)
    : options_(options), document_(session_document(options.session, options)) {
  read_session(*document_, session_);
  SessionVariables(options.settings, variables_file()).add_to(session_);
}

Plugin SessionCommand::load_plugin() const {
  Plugin plugin = eclipse_run::load_plugin(options_);
  try {
    eclipse_dry_run::check_descriptor_sizes(plugin, session_);
  } catch (const PluginError&) {
    // A library that has the actions and nothing else can be run, but not be asked which files are descriptors.
  }
  return plugin;
}

void SessionCommand::warn_of_unreadable_descriptors(const Plugin& plugin) const try {
  for (const auto& [path, error] : eclipse_dry_run::unreadable_descriptors(plugin, session_)) {
    print_message("warning: " + printable(path) + ": " + error +
                  "; the plug-in ignores the error and uses the part that it can read");
  }
} catch (const PluginError&) {
}

std::string SessionCommand::chosen_executable(const Plugin& plugin) const try {
  return eclipse_dry_run::chosen_executable(plugin, session_);
} catch (const PluginError&) {
  return "";
}

/// Without memory, nothing more can be said.
void SessionCommand::look_at_profile(const std::string& executable) try {
  damage_ = eclipse_instance::instance_damage(executable);
} catch (const std::bad_alloc&) {
}

/// The first of several runs has nothing to read yet.
std::optional<std::string> SessionCommand::variables_file() const {
  const auto& file = options_.variables;
  const bool will_be_written = file && options_.write_variables && is_same_file(*file, *options_.write_variables);
  return will_be_written && is_missing(*file) ? std::nullopt : file;
}

/// The variables are written also when the run failed or was aborted, as an installer does.
bool SessionCommand::write_files(const std::optional<LogFile>& log) const {
  const bool log_written = is_written([&] {
    if (log) log->check();
  });
  const bool variables_written = is_written([&] {
    if (options_.write_variables) write_variables_file(*options_.write_variables, session_.variables);
  });
  return log_written && variables_written;
}

void SessionCommand::report_interruption(RunReport& report, const Interrupted& interrupted, const ReportAdditions& additions) {
  if (options_.json) {
    print_document([&](bool) { print_interrupted_run(facts(), interrupted, additions.add_to_when_ended); });
  } else {
    report.interrupt(interrupted.name(), record_.unfinished_command() != nullptr);
    report.add(additions.text_when_ended());
  }
}

/// A run is aborted only when the host itself fails, such as for lack of memory.
int SessionCommand::abort(const std::string& reason, const ReportAdditions& additions, const std::optional<LogFile>& log) {
  record_.drop_unfinished_output();
  write_files(log);
  print_message("the run was aborted: " + printable(reason, {.longest = no_limit}));
  if (options_.json) {
    print_document([&](bool) { print_aborted_run(facts(), reason, additions.add_to_when_ended); });
  } else {
    write_to_output(additions.text_when_ended());
  }
  print_damage(damage_);
  return exit_failure;
}

/// Prints a document, without the outputs of the commands when they do not fit into memory: it has several copies of each.
/// It waits for a reader until two more signals come.
void SessionCommand::print_document(const std::function<void(bool is_whole)>& print) {
  const Interruption while_it_is_printed;
  try {
    return print(true);
  } catch (const std::bad_alloc&) {
    record_.drop_outputs();
  }
  print_message("the JSON document does not fit into memory, so it is printed without the output of the commands");
  print(false);
}

int SessionCommand::end(RunReport& report, const ReportAdditions& additions, const std::optional<LogFile>& log) {
  const bool files_written = write_files(log);
  const int status = additions.exit_status(record_.failed() || damage_ ? exit_failure
                                           : files_written             ? exit_success
                                                                       : exit_trouble);
  if (!options_.json) {
    InstanceFinding finding = additions.finding();
    finding.is_damaged = damage_.has_value();
    report.end(record_, session_, finding);
    report.add(additions.text());
    return status;
  }
  int status_of_document = status;
  print_document([&](bool is_whole) {
    if (!is_whole && status == 0) status_of_document = 2;
    print_run(facts(), status_of_document, additions.add_to);
  });
  return status_of_document;
}

int SessionCommand::perform(const RunFunction& run, Directors directors, const ReportAdditions& additions) {
  const Plugin plugin = load_plugin();
  check_outputs(options_, plugin, session_);
  const std::string executable = directors == Directors::none ? "" : chosen_executable(plugin);
  const auto lock = lock_instance(executable, options_.wait);
  prepare_for_directors(executable);
  warn_of_unreadable_descriptors(plugin);
  RunRecording recording(executable, options_, session_, record_);
  std::optional<LogFile> log;
  if (options_.log) log.emplace(*options_.log);

  RunReport report(failures_);
  RunObservers observers = {failures_.observer(), recording.observer()};
  observers.push_back(options_.json ? messages_about_silence() : report.observer());
  if (log) observers.push_back(log->observer());
  observers.push_back(Interruption::observer());
  if (!options_.json) report.begin(options_.session, session_);
  // Also while the report is written: the run is done, and a late signal must not lose its results.
  const Interruption interruption;
  try {
    run(plugin, session_, record_, observers);
  } catch (const Interrupted& interrupted) {
    look_at_profile(executable);
    write_files(log);
    report_interruption(report, interrupted, additions);
    print_damage(damage_);
    return interrupted.exit_status();
  } catch (const std::bad_alloc&) {
    return abort(out_of_memory, additions, log);
  } catch (const std::exception& error) {
    look_at_profile(executable);
    return abort(error.what(), additions, log);
  }
  look_at_profile(executable);
  if (record_.reverted_to.empty()) record_.contradiction = recording.contradiction();
  const int status = end(report, additions, log);
  print_damage(damage_);
  return status;
}

}  // namespace eclipse_run
