#include "standalone_host/session_run.h"

#include <algorithm>
#include <utility>

using namespace eclipse_shell;

namespace eclipse_host {

namespace {

bool is_perform_action(const std::string& action) { return action.starts_with("perform_"); }

/// One run under way: the session is active and its seams are the run's until this object ends.
class Run {
 public:
  Run(const Plugin& plugin, Session& session, const RunObserver& observer)
      : plugin_(plugin), session_(session), observer_(observer), scripted_(session.run_command), active_(session) {
    record_.variables_before = session.variables;
    logged_ = std::exchange(session.on_log, [this](const std::string& line) { log(line); });
    session.run_command = [this](const std::string& command) { return run(command); };
  }
  ~Run() {
    session_.on_log = logged_;
    session_.run_command = scripted_;
  }
  Run(const Run&) = delete;
  Run& operator=(const Run&) = delete;

  void call(const std::string& action) {
    observer_.on_action(action);
    action_ = action;
    commands_before_action_ = record_.commands.size();
    record_.actions.push_back({action, plugin_.call(action, session_)});
    if (is_perform_action(action) && record_.commands.size() > commands_before_action_) record_executable();
  }

  void refuse(std::string reason) { record_.refusal = std::move(reason); }

  RunRecord finish() {
    record_.variables_after = session_.variables;
    return std::move(record_);
  }

 private:
  void log(const std::string& line) {
    record_.log.push_back(line);
    observer_.on_log(line);
    logged_(line);
  }

  CommandResult run(const std::string& command) {
    observer_.on_command(command);
    CommandResult result = scripted_ ? scripted_(command) : run_in_shell(command, observer_.command_progress);
    record_.commands.push_back({action_, command, result, record_.commands.size() > commands_before_action_});
    observer_.on_command_end(record_.commands.back());
    return result;
  }

  /// Keeps the executable that the run used, so that the next run knows the instance.
  void record_executable() {
    const bool user = session_.variable("ECLIPSE_INTEGRATION_CHOICE") == "user";
    session_.variables["CASHED_ECLIPSE_PATH"] =
        user ? session_.variable("USER_DEFINED_ECLIPSE_PATH")
             : session_.variable("ECLIPSE_PATH") + "/" + session_.variable("ECLIPSE_BIN");
  }

  const Plugin& plugin_;
  Session& session_;
  const RunObserver& observer_;
  std::function<CommandResult(const std::string&)> scripted_;
  std::function<void(const std::string&)> logged_;
  ActiveSession active_;
  std::string action_;
  std::size_t commands_before_action_ = 0;
  RunRecord record_;
};

/// Why an installer would not accept the Eclipse that the user named; empty when it would.
std::string refusal_of_user_eclipse(const Session& session) {
  const std::string executable = session.variable("USER_DEFINED_ECLIPSE_PATH");
  if (executable.empty()) return "no Eclipse is named: set USER_DEFINED_ECLIPSE_PATH to the full path of its executable";
  if (session.variable("USER_DEFINED_ECLIPSE_PATH_CORRECT") != "yes") {
    return "USER_DEFINED_ECLIPSE_PATH is \"" + executable +
           "\", which is not the Eclipse executable: name an existing file called \"" + session.variable("ECLIPSE_BIN") +
           "\" (that is ECLIPSE_BIN) by its full path";
  }
  if (session.variable("ECLIPSE_VERSION_IS_SUPPORTED") == "no") {
    return "the version of \"" + executable + "\", " + session.variable("ECLIPSE_VERSION") + ", comes before the minimum " +
           session.expand("${ECLIPSE_MIN_SUPPORTED_VERSION}") + " (they are compared as texts, byte by byte)";
  }
  return "";
}

}  // namespace

bool RunRecord::failed() const {
  const auto nonzero = [](const ActionRecord& action) { return action.result != 0; };
  // Everything at once may fail without harm: it is the retries that settle what did.
  const auto failed_retry = [](const CommandRecord& command) { return command.is_retry && command.result.exit_code != 0; };
  return !refusal.empty() || std::any_of(actions.begin(), actions.end(), nonzero) ||
         std::any_of(commands.begin(), commands.end(), failed_retry);
}

RunRecord run_session(const Plugin& plugin, Session& session, const RunObserver& observer) {
  const bool removal = session.variable("KORU_MODE") == "uninstall";
  const bool users_own = session.variable("ECLIPSE_INTEGRATION_CHOICE") == "user";
  Run run(plugin, session, observer);
  run.call("eclipse_integration_required");
  run.call("find_eclipse_ide");
  if (users_own) {
    // A verdict of an earlier run says nothing about this instance, and a check without a minimum would leave it as it is.
    session.variables.erase("ECLIPSE_VERSION_IS_SUPPORTED");
    run.call("verify_eclipse_version");
    const std::string refusal = removal ? "" : refusal_of_user_eclipse(session);
    if (!refusal.empty()) {
      run.refuse(refusal);
      return run.finish();
    }
  }
  run.call("define_eclipse_path");
  run.call(removal ? "perform_unintegration" : "perform_integration");
  return run.finish();
}

RunRecord call_actions(const Plugin& plugin, Session& session, const std::vector<std::string>& actions,
                       const RunObserver& observer) {
  Run run(plugin, session, observer);
  for (const std::string& action : actions) run.call(action);
  return run.finish();
}

}  // namespace eclipse_host
