// Why commands of a run failed.
#ifndef ECLIPSE_INT_REPORT_COMMAND_FAILURES_H
#define ECLIPSE_INT_REPORT_COMMAND_FAILURES_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "p2/director_command.h"
#include "p2/director_failure.h"
#include "standalone_host/session_run.h"

namespace eclipse_report {

/// Explains each command that fails, when it ends.
class CommandFailures {
 public:
  /// It refers to this object. Observers after it find the failure of a command when it ends.
  eclipse_host::RunObserver observer();

  /// Of a command of the run, by its number from 0. Null when it succeeded or has not ended.
  const eclipse_p2::Failure* of(std::size_t command) const;

  /// Of the command that ended last.
  const eclipse_p2::Failure* last() const { return failures_.empty() ? nullptr : of(failures_.size() - 1); }

  /// Whether the command before the last one failed for the same reason.
  bool last_is_repeated() const;

 private:
  std::optional<eclipse_p2::InstanceLogs> logs_;  ///< before the command that is running
  std::vector<std::optional<eclipse_p2::Failure>> failures_;
};

/// Whether two failures have the same layer, meaning and causes. Each may have a log of its own.
bool is_same_reason(const eclipse_p2::Failure& one, const eclipse_p2::Failure& other);

/// Commands that failed for the same reason.
struct FailureReason {
  const eclipse_p2::Failure* failure;  ///< of the first of them
  int exit_code;
  std::vector<std::string> features;  ///< those that no command of the run installed or removed
};

/// Why features were not installed or not removed: each reason once, in the order in which they came up. The failure of the
/// command for all features is left out when the retries succeeded, or failed for reasons of their own.
std::vector<FailureReason> failure_reasons(const std::vector<eclipse_host::CommandRecord>& commands,
                                           const CommandFailures& failures);

}  // namespace eclipse_report

#endif
