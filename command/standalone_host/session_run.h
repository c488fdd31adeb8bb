// What an installer does with a session: which actions it calls, in which order, and what it records for the next run.
#ifndef ECLIPSE_INT_STANDALONE_HOST_SESSION_RUN_H
#define ECLIPSE_INT_STANDALONE_HOST_SESSION_RUN_H

#include <array>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_host {

/// What KORU_MODE may be for a whole session.
inline constexpr std::array<std::string_view, 3> modes = {"install", "modify", "uninstall"};

struct ActionRecord {
  std::string name;
  int result;
};

struct CommandRecord {
  std::string action;  ///< the action that ran it
  std::string command;
  eclipse_shell::CommandResult result;
  bool is_retry = false;  ///< the action had run a command before: the one for everything at once, which failed
};

/// All that happened in a run, in order.
struct RunRecord {
  std::vector<ActionRecord> actions;
  std::vector<CommandRecord> commands;
  std::vector<std::string> log;
  std::map<std::string, std::string> variables_before;
  std::map<std::string, std::string> variables_after;
  /// Why the run stopped before the instance was changed; empty when it did not.
  std::string refusal;

  /// True when the integration failed: the run was refused, an action's result is not 0, or a retry's command failed.
  bool failed() const;
};

/// Told of what happens while it happens. Each may be left as it is.
struct RunObserver {
  std::function<void(const std::string& action)> on_action = [](const std::string&) {};
  std::function<void(const std::string& line)> on_log = [](const std::string&) {};
  std::function<void(const std::string& command)> on_command = [](const std::string&) {};
  eclipse_shell::CommandProgress command_progress;
  std::function<void(const CommandRecord& record)> on_command_end = [](const CommandRecord&) {};
};

/// Performs a whole session: decides whether integration is needed, checks an Eclipse that the user named, settles its
/// directory, and then installs (modes "install" and "modify") or removes (mode "uninstall") the features.
///
/// In install and modify the run is refused, before anything is changed, when the user's Eclipse is not correct or its version
/// not supported, as an installer would not let the user go on.
///
/// `session` must not be active yet; its seams are used by the run and are not kept. KORU_MODE must be one of the three modes.
RunRecord run_session(const Plugin& plugin, Session& session, const RunObserver& observer = {});

/// Calls just these actions in this order, each one of action_names.
RunRecord call_actions(const Plugin& plugin, Session& session, const std::vector<std::string>& actions,
                       const RunObserver& observer = {});

}  // namespace eclipse_host

#endif
