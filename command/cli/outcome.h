// What a run came to, in sentences for the person whose Eclipse it was about.
#ifndef ECLIPSE_INT_CLI_OUTCOME_H
#define ECLIPSE_INT_CLI_OUTCOME_H

#include <functional>
#include <optional>
#include <string>

#include "standalone_host/session_run.h"

namespace eclipse_cli {

/// What the instance was found to have after a run.
struct InstanceFinding {
  bool differs = false;  ///< it is not as the session should have left it
  /// Whether a feature is installed; nothing when that is not known.
  std::function<std::optional<bool>(const std::string& feature)> has = [](const std::string&) { return std::nullopt; };
};

/// Which features went in or out and which did not, why nothing was done, which variables the run changed, and the failure
/// summary that the installer would show, which has HTML marks when it is `graphical`. A director that succeeds has not always
/// done what it was asked for: what it did is told only as far as the finding, an account of which follows, agrees.
std::string outcome_of(const eclipse_host::RunRecord& record, bool graphical, const InstanceFinding& finding = {});

}  // namespace eclipse_cli

#endif
