// Recording a run in the instance on which it worked.
#ifndef ECLIPSE_INT_RUN_RUN_RECORDING_H
#define ECLIPSE_INT_RUN_RUN_RECORDING_H

#include <filesystem>
#include <string>

#include "instance/run_journal.h"
#include "run/session_options.h"
#include "standalone_host/session.h"
#include "standalone_host/session_run.h"

namespace eclipse_run {

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

  /// Records what each command is about to do, so that it is known of a run that is killed, too. It refers to this object.
  eclipse_host::RunObserver observer();

  /// As contradiction_of() says, once the run has ended.
  std::string contradiction() const;

 private:
  void begin() const;
  void end();

  std::filesystem::path instance_;  ///< a link to it may be changed during the run
  const eclipse_host::Session& session_;
  const eclipse_host::RunRecord& record_;
  eclipse_instance::RecordedRun run_;
};

/// Why the success that a director reports in a run is not believed; empty when it is. A director leaves a new state of the
/// profile even if there was nothing to do, so the newest one cannot be the one of before.
std::string contradiction_of(const eclipse_host::RunRecord& record, const std::filesystem::path& instance,
                             const std::string& newest_before);

/// Records a run on the instance in this directory. If that is impossible, prints a warning.
void record_with_warning(const std::filesystem::path& instance, const eclipse_instance::RecordedRun& run);

}  // namespace eclipse_run

#endif
