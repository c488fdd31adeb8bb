// Recording a run in the instance on which it worked.
#ifndef ECLIPSE_INT_CLI_RUN_RECORDING_H
#define ECLIPSE_INT_CLI_RUN_RECORDING_H

#include <filesystem>
#include <string>

#include "cli/session_options.h"
#include "p2/run_journal.h"
#include "standalone_host/session.h"
#include "standalone_host/session_run.h"

namespace eclipse_cli {

/// The variable with the executable of an earlier run.
inline constexpr const char* cached_executable = "CASHED_ECLIPSE_PATH";

/// Looks at the profile when it is made, and when it is destroyed records the run that lies between, if the run made a state.
/// All that it is given must outlive it.
class RunRecording {
 public:
  /// Without an executable, nothing is recorded.
  RunRecording(const std::string& executable, const SessionOptions& options, const eclipse_host::Session& session,
               const eclipse_host::RunRecord& record);
  ~RunRecording();
  RunRecording(const RunRecording&) = delete;
  RunRecording& operator=(const RunRecording&) = delete;

 private:
  void begin() const;

  std::filesystem::path instance_;  ///< a link to it may be changed during the run
  const eclipse_host::Session& session_;
  const eclipse_host::RunRecord& record_;
  eclipse_p2::RecordedRun run_;
};

/// Records a run on the instance in this directory. If that is impossible, prints a warning.
void record_with_warning(const std::filesystem::path& instance, const eclipse_p2::RecordedRun& run);

/// The time of the newest state of the profile of the instance in this directory; empty when there is none.
std::string newest_time(const std::filesystem::path& instance);

}  // namespace eclipse_cli

#endif
