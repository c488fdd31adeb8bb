// Taking the last run on an Eclipse instance back.
#ifndef ECLIPSE_INT_RUN_UNDO_H
#define ECLIPSE_INT_RUN_UNDO_H

#include <optional>
#include <string>
#include <vector>

#include "report/undo_report.h"
#include "run/session_options.h"

namespace eclipse_run {

struct UndoOptions {
  SessionOptions session;                 ///< a session file need not be given if the instance is
  std::optional<std::string> to;          ///< the time of a state; nothing for the one before the last run
  std::vector<std::string> repositories;  ///< paths or URLs
  bool dry_run = false;
  bool force = false;
};

/// What was found and done.
struct UndoResult {
  eclipse_report::Undo undo;
  std::string variables_error;  ///< why the variables could not be written; empty when they could
  int exit_status = 0;
};

/// Reverts the instance to the older state, unless that undoes what nobody asked for, and lets the variables follow.
/// Without --json, prints what it found before it does anything. Throws FileError, PluginError, UsageError, InstanceError and
/// InstanceInUse before anything is changed.
UndoResult perform_undo(const UndoOptions& options);

}  // namespace eclipse_run

#endif
