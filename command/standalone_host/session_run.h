// What an installer does with a session: which actions it calls, in which order, and what it records for the next run.
#ifndef ECLIPSE_INT_STANDALONE_HOST_SESSION_RUN_H
#define ECLIPSE_INT_STANDALONE_HOST_SESSION_RUN_H

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_host {

struct ActionRecord {
  std::string name;
  std::optional<int> result;  ///< none until the action returns
};

struct CommandRecord {
  std::string action;  ///< the action that ran it, or what the host ran it for
  std::string command;
  eclipse_shell::CommandResult result;  ///< until the command ends, only the output so far
  bool is_retry = false;                ///< the action had run a command before: the one for all features, which failed
  bool has_ended = true;
};

/// What to say of a run that would end with a refusal.
inline constexpr const char* would_be_refused = "the run would be refused";

/// What happened in a run, in order. It is filled in during the run, so that it is complete up to the point where an exception
/// ends the run: then the last action has no result, and the last command may not have ended.
struct RunRecord {
  std::map<std::string, std::string> variables_before;
  std::vector<ActionRecord> actions;
  std::vector<CommandRecord> commands;
  std::vector<std::string> log;
  /// Why the run stopped before the plug-in changed the instance; empty when it did not.
  std::string refusal;
  /// Why a success that a director reports is not believed; empty when it is.
  std::string contradiction;
  /// The time of the state of the profile to which the instance was brought back after the run; empty when it was not.
  std::string reverted_to;

  /// True when the integration failed: the run was refused, an action's result is not 0, a retry's command failed, or a success
  /// is not believed.
  bool failed() const;

  /// The command that has not ended, if there is one.
  const CommandRecord* unfinished_command() const;

  /// Frees the output of the command that has not ended, for when memory runs out.
  void drop_unfinished_output();

  /// Frees the outputs of all commands, and the log lines that hold long ones.
  void drop_outputs();
};

/// Callbacks for the events of a run. Each may be left as it is.
struct RunObserver {
  std::function<void(const std::string& action)> on_action = [](const std::string&) {};
  std::function<void(const std::string& line)> on_log = [](const std::string&) {};
  std::function<void(const std::string& command)> on_command = [](const std::string&) {};
  eclipse_shell::CommandProgress command_progress;
  std::function<void(const CommandRecord& record)> on_command_end = [](const CommandRecord&) {};
};

/// Notified in this order, each after the record has the event. What one of them throws ends the run.
using RunObservers = std::vector<RunObserver>;

/// Performs a whole session: decides whether integration is needed, checks an instance that the user named, sets its directory,
/// and then installs (modes "install" and "modify") or removes (mode "uninstall") the features.
///
/// In install and modify the run is refused, before anything is changed, when the user's instance is not correct or its version
/// not supported, as an installer would not let the user go on.
///
/// `session` must not be active yet; its seams are used by the run and are not kept. KORU_MODE must be one of the three modes.
/// `record` must not have actions yet.
void run_session(const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers = {});

/// Runs a command of the host's own, with its output into the record, and notifies the observers as for one of the plug-in.
/// `action` stands in the record for the action. Returns the record of the command.
const CommandRecord& run_command(const std::string& action, const std::string& command, RunRecord& record,
                                 const RunObservers& observers);

/// Calls just these actions in this order, each one of action_names. The other arguments are those of run_session().
void call_actions(const Plugin& plugin, Session& session, const std::vector<std::string>& actions, RunRecord& record,
                  const RunObservers& observers = {});

}  // namespace eclipse_host

#endif
