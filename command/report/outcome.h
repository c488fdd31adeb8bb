// The outcome of a run, as text.
#ifndef ECLIPSE_INT_REPORT_OUTCOME_H
#define ECLIPSE_INT_REPORT_OUTCOME_H

#include <functional>
#include <optional>
#include <string>

#include "report/command_failures.h"
#include "standalone_host/session_run.h"

namespace eclipse_report {

/// What the instance has after a run.
struct InstanceFinding {
  bool differs = false;     ///< it is not in the state that the session describes
  bool is_damaged = false;  ///< it cannot be used as it is
  /// Whether a feature is installed; nothing when that is not known.
  std::function<std::optional<bool>(const std::string& feature)> has = [](const std::string&) { return std::nullopt; };
};

/// Why features failed, which features the director reports as installed or removed and which not, why nothing was done, which
/// variables the run changed, and the failure summary that the installer would show, without the output of the commands; in it
/// "<p>" separates the lines when the session is graphical. A director that reports success has not always done what it was
/// asked for: a feature counts as installed or removed only when the finding, which is printed after this text, says so, too.
std::string outcome_text(const eclipse_host::RunRecord& record, const CommandFailures& failures,
                         const eclipse_host::Session& session, const InstanceFinding& finding = {});

}  // namespace eclipse_report

#endif
