#include "cli/run_recording.h"

#include <algorithm>
#include <exception>

#include "base/file.h"
#include "base/text.h"
#include "cli/standard_streams.h"
#include "p2/director_command.h"
#include "p2/profile.h"
#include "p2/profile_history.h"
#include "shell/own_command.h"

using eclipse_host::CommandRecord;
using eclipse_host::RunRecord;
using eclipse_host::Session;

namespace eclipse_cli {

namespace {

std::optional<std::string> cached_in(const Session& session) {
  const auto found = session.variables.find(cached_executable);
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

}  // namespace

std::string newest_time(const std::filesystem::path& instance) {
  const auto times = eclipse_p2::state_times(instance);
  return times.empty() ? "" : times.front();
}

void record_with_warning(const std::filesystem::path& instance, const eclipse_p2::RecordedRun& run) {
  try {
    eclipse_p2::record_run(instance, run);
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
  run_.before = newest_time(instance_);
  run_.cached_before = cached_in(session);
  if (options.write_variables) run_.variables_file = eclipse_base::absolute_path(*options.write_variables).string();
  begin();
}

/// So that a run that is killed leaves a trace. Whether the journal can be written matters only once the run has made a state.
void RunRecording::begin() const try {
  if (!run_.before.empty()) eclipse_p2::record_beginning(instance_, run_);
} catch (const eclipse_base::FileError&) {
}

/// A run that has no memory left is not recorded.
RunRecording::~RunRecording() try {
  if (run_.before.empty()) return;
  run_.after = newest_time(instance_);
  if (!eclipse_p2::is_before(run_.before, run_.after)) {
    eclipse_p2::forget_beginning(instance_);
    return;
  }
  run_.went_back_to = record_.went_back_to;
  run_.repositories = repositories_of(record_);
  run_.cached_after = cached_in(session_);
  record_with_warning(instance_, run_);
} catch (const std::exception&) {
}

}  // namespace eclipse_cli
