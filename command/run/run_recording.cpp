#include "run/run_recording.h"

#include <algorithm>
#include <exception>

#include "base/file.h"
#include "base/printable.h"
#include "base/text.h"
#include "instance/profile_history.h"
#include "p2/director_command.h"
#include "p2/instance_paths.h"
#include "p2/profile.h"
#include "shell/own_command.h"
#include "terminal/standard_streams.h"

using eclipse_host::CommandRecord;
using eclipse_host::RunRecord;
using eclipse_host::Session;

using namespace eclipse_terminal;

namespace eclipse_run {

namespace {

std::optional<std::string> cached_in(const Session& session) {
  const auto found = session.variables.find(eclipse_host::cached_executable);
  return found == session.variables.end() ? std::nullopt : std::optional(found->second);
}

/// Each once, in the order in which the commands name them.
std::vector<std::string> repositories_of(const RunRecord& record) {
  std::vector<std::string> all;
  for (const CommandRecord& command : record.commands) {
    const auto director = eclipse_p2::cut_director_command(command.command);
    if (!director || director->repositories.empty()) continue;
    for (const std::string& url : eclipse_base::split(director->repositories, ',')) {
      if (std::find(all.begin(), all.end(), url) == all.end()) all.push_back(url);
    }
  }
  return all;
}

bool a_director_succeeded(const RunRecord& record) {
  return std::any_of(record.commands.begin(), record.commands.end(), [](const CommandRecord& command) {
    return command.has_ended && command.result.exit_code == 0 && eclipse_p2::cut_director_command(command.command);
  });
}

}  // namespace

std::string contradiction_of(const RunRecord& record, const std::filesystem::path& instance, const std::string& newest_before) {
  if (newest_before.empty() || !a_director_succeeded(record)) return "";
  if (eclipse_instance::newest_time(instance) != newest_before) return "";
  return "the director reports success, but has written no new state of the p2 profile since " + newest_before +
         ": it worked on another profile, or the executable belongs to another Eclipse or drops its arguments";
}

void record_with_warning(const std::filesystem::path& instance, const eclipse_instance::RecordedRun& run) {
  try {
    const auto aside = eclipse_instance::set_unreadable_journal_aside(instance);
    if (!aside.empty()) {
      print_message("warning: the list of runs cannot be read and was renamed to " + eclipse_base::printable(aside.string()) +
                    "; \"undo\" cannot undo earlier runs");
    }
    eclipse_instance::record_run(instance, run);
  } catch (const eclipse_base::FileError& error) {
    print_message("warning: " + std::string(error.what()) + "; \"history\" and \"undo\" do not know this run");
  }
}

RunRecording::RunRecording(const std::string& executable, const SessionOptions& options, const Session& session,
                           const RunRecord& record)
    : session_(session), record_(record) {
  if (executable.empty()) return;
  instance_ = eclipse_p2::instance_directory(executable);
  run_.command = eclipse_shell::own_command();
  run_.before = eclipse_instance::newest_time(instance_);
  run_.units.emplace();
  run_.cached_before = cached_in(session);
  if (options.write_variables) run_.variables_file = eclipse_base::absolute_path(*options.write_variables).string();
}

std::string RunRecording::contradiction() const { return contradiction_of(record_, instance_, run_.before); }

/// A retry asks for nothing that the first command did not ask for.
eclipse_host::RunObserver RunRecording::observer() {
  eclipse_host::RunObserver observer;
  observer.on_command = [this](const std::string& command) {
    if (run_.before.empty() || record_.commands.empty() || record_.commands.back().is_retry) return;
    run_.units->merge(eclipse_p2::units_named_by(command));
    begin();
  };
  return observer;
}

/// So that a run that is killed leaves a trace. Whether the journal can be written matters only once the run has made a state.
void RunRecording::begin() const try {
  eclipse_instance::record_beginning(instance_, run_);
} catch (const eclipse_base::FileError&) {
}

/// A run that has no memory left is not recorded. A handler around the whole destructor would throw again.
RunRecording::~RunRecording() {
  try {
    end();
  } catch (const std::exception&) {
  }
}

void RunRecording::end() {
  if (run_.before.empty()) return;
  run_.after = eclipse_instance::newest_time(instance_);
  if (!eclipse_p2::is_before(run_.before, run_.after)) {
    eclipse_instance::forget_beginning(instance_);
    return;
  }
  run_.reverted_to = record_.reverted_to;
  run_.repositories = repositories_of(record_);
  run_.cached_after = cached_in(session_);
  record_with_warning(instance_, run_);
}

}  // namespace eclipse_run
