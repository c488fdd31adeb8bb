#include "standalone_host/session_run.h"

#include <algorithm>
#include <utility>

#include "base/printable.h"

using namespace eclipse_base;
using namespace eclipse_shell;

namespace eclipse_host {

namespace {

template <typename Notify>
void notify_all(const RunObservers& observers, const Notify& notify_one) {
  for (const RunObserver& observer : observers) notify_one(observer);
}

CommandProgress progress_of(CommandRecord& running, const RunObservers& observers) {
  CommandProgress progress;
  progress.on_output = [&](std::string_view piece) {
    notify_all(observers, [&](const RunObserver& observer) { observer.command_progress.on_output(piece); });
  };
  progress.on_error_output = [&](std::string_view piece) {
    notify_all(observers, [&](const RunObserver& observer) { observer.command_progress.on_error_output(piece); });
  };
  progress.on_left_out = [&](std::string_view piece) {
    notify_all(observers, [&](const RunObserver& observer) { observer.command_progress.on_left_out(piece); });
  };
  progress.on_wait = [&](double seconds) {
    running.result.seconds = seconds;
    notify_all(observers, [&](const RunObserver& observer) { observer.command_progress.on_wait(seconds); });
  };
  progress.on_held_outputs = [&] {
    notify_all(observers, [](const RunObserver& observer) { observer.command_progress.on_held_outputs(); });
  };
  return progress;
}

/// Runs the command that was recorded last, by `scripted` if that is set.
void run_last_command(RunRecord& record, const RunObservers& observers,
                      const std::function<CommandResult(const std::string&)>& scripted) {
  CommandRecord& running = record.commands.back();
  notify_all(observers, [&](const RunObserver& observer) { observer.on_command(running.command); });
  if (scripted) {
    running.result = scripted(running.command);
  } else {
    run_in_shell(running.command, running.result, progress_of(running, observers));
  }
  running.has_ended = true;
  notify_all(observers, [&](const RunObserver& observer) { observer.on_command_end(running); });
}

/// One run under way: the session is active and its seams are the run's until this object ends.
class Run {
 public:
  Run(const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers)
      : plugin_(plugin),
        session_(session),
        record_(record),
        observers_(observers),
        scripted_(session.run_command),
        active_(session) {
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
    record_.actions.push_back({action, std::nullopt});
    notify([&](const RunObserver& observer) { observer.on_action(action); });
    first_command_ = record_.commands.size();
    record_.actions.back().result = plugin_.call(action, session_);
    if (starts_director(action) && has_succeeded_once()) record_executable();
  }

  void refuse(std::string reason) { record_.refusal = std::move(reason); }

 private:
  template <typename Notify>
  void notify(const Notify& notify_one) {
    notify_all(observers_, notify_one);
  }

  void log(const std::string& line) {
    record_.log.push_back(line);
    notify([&](const RunObserver& observer) { observer.on_log(line); });
    logged_(line);
  }

  CommandResult run(const std::string& command) {
    const bool is_retry = record_.commands.size() > first_command_;
    record_.commands.push_back({record_.actions.back().name, command, {}, is_retry, false});
    run_last_command(record_, observers_, scripted_);
    return record_.commands.back().result;
  }

  bool has_succeeded_once() const {
    const auto first = record_.commands.begin() + static_cast<std::ptrdiff_t>(first_command_);
    return std::any_of(first, record_.commands.end(),
                       [](const CommandRecord& command) { return command.result.exit_code == 0; });
  }

  /// Keeps the executable that the run used, so that the next run knows the instance. An instance into which nothing was
  /// installed is not known: the next run must still install the components that are installed already.
  void record_executable() {
    const bool user = session_.chooses_users_own();
    session_.variables[cached_executable] = user ? session_.variable("USER_DEFINED_ECLIPSE_PATH")
                                                 : session_.variable("ECLIPSE_PATH") + "/" + session_.variable("ECLIPSE_BIN");
  }

  const Plugin& plugin_;
  Session& session_;
  RunRecord& record_;
  const RunObservers& observers_;
  std::function<CommandResult(const std::string&)> scripted_;
  std::function<void(const std::string&)> logged_;
  ActiveSession active_;
  std::size_t first_command_ = 0;  ///< of the action that is running
};

/// Why an installer would not accept the instance that the user named; empty when it would.
std::string refusal_of_user_eclipse(const Session& session) {
  const std::string executable = session.variable("USER_DEFINED_ECLIPSE_PATH");
  if (executable.empty()) return "no Eclipse is given: set USER_DEFINED_ECLIPSE_PATH to the full path of its executable";
  if (session.variable("USER_DEFINED_ECLIPSE_PATH_CORRECT") != "yes") {
    return "USER_DEFINED_ECLIPSE_PATH is " + in_quotes(executable) +
           ", which is not the Eclipse executable: give the full path of an existing file named " +
           in_quotes(session.variable("ECLIPSE_BIN")) + " (ECLIPSE_BIN)";
  }
  if (session.variable("ECLIPSE_VERSION_IS_SUPPORTED") == "no") {
    return "the version of " + in_quotes(executable) + ", " + printable(session.variable("ECLIPSE_VERSION")) +
           ", is below the minimum " + printable(session.expand("${ECLIPSE_MIN_SUPPORTED_VERSION}")) +
           " (versions are compared as text, byte by byte)";
  }
  return "";
}

}  // namespace

bool RunRecord::failed() const {
  const auto nonzero = [](const ActionRecord& action) { return action.result != 0; };
  // Everything at once may fail without harm: it is the retries that settle what did.
  const auto failed_retry = [](const CommandRecord& command) { return command.is_retry && command.result.exit_code != 0; };
  return !refusal.empty() || !contradiction.empty() || std::any_of(actions.begin(), actions.end(), nonzero) ||
         std::any_of(commands.begin(), commands.end(), failed_retry);
}

const CommandRecord* RunRecord::unfinished_command() const {
  return commands.empty() || commands.back().has_ended ? nullptr : &commands.back();
}

void RunRecord::drop_unfinished_output() {
  if (unfinished_command() != nullptr) commands.back().result = {};
}

void RunRecord::drop_outputs() {
  constexpr std::size_t longest_kept = 65'536;
  for (CommandRecord& command : commands) {
    command.result.output = std::string();
    command.result.error_output = std::string();
  }
  std::erase_if(log, [](const std::string& line) { return line.size() > longest_kept; });
}

void run_session(const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers) {
  const bool removal = session.is_removal();
  const bool users_own = session.chooses_users_own();
  Run run(plugin, session, record, observers);
  run.call("eclipse_integration_required");
  run.call("find_eclipse_ide");
  if (users_own) {
    // The result of an earlier run does not hold for this instance, and a check without a minimum would leave it as it is.
    session.variables.erase("ECLIPSE_VERSION_IS_SUPPORTED");
    run.call("verify_eclipse_version");
    const std::string refusal = removal ? "" : refusal_of_user_eclipse(session);
    if (!refusal.empty()) return run.refuse(refusal);
  }
  run.call("define_eclipse_path");
  run.call(removal ? "perform_unintegration" : "perform_integration");
}

const CommandRecord& run_command(const std::string& action, const std::string& command, RunRecord& record,
                                 const RunObservers& observers) {
  record.commands.push_back({action, command, {}, false, false});
  run_last_command(record, observers, nullptr);
  return record.commands.back();
}

void call_actions(const Plugin& plugin, Session& session, const std::vector<std::string>& actions, RunRecord& record,
                  const RunObservers& observers) {
  Run run(plugin, session, record, observers);
  for (const std::string& action : actions) run.call(action);
}

}  // namespace eclipse_host
