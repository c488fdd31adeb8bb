// What every subcommand on a session does around the run itself: reading, checking, reporting, keeping the variables.
#ifndef ECLIPSE_INT_CLI_SESSION_COMMAND_H
#define ECLIPSE_INT_CLI_SESSION_COMMAND_H

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "cli/account.h"
#include "cli/interruption.h"
#include "cli/log_file.h"
#include "cli/run_so_far.h"
#include "cli/session_options.h"
#include "standalone_host/session_run.h"

namespace eclipse_cli {

/// How a subcommand goes through a session.
using Performance = std::function<eclipse_host::RunRecord(const eclipse_host::Plugin& plugin, eclipse_host::Session& session,
                                                          const eclipse_host::RunObserver& observer)>;

/// What a subcommand adds to the account of a run.
struct Supplement {
  std::function<InstanceFinding()> finding;  ///< for the account
  std::function<std::string()> text;         ///< behind it
  std::function<void(nlohmann::ordered_json& result)> add_to;
  std::function<int(int status)> exit_status;  ///< in the place of the run's own
};

class SessionCommand {
 public:
  /// Reads the session and the variables. Throws FileError.
  explicit SessionCommand(const SessionOptions& options);

  const eclipse_host::Session& session() const { return session_; }

  /// The session file has one of the modes; --set may have replaced it. Throws CLI::ValidationError when that is none.
  void check_mode() const;

  /// Loads the plug-in that the options ask for. Throws PluginError.
  eclipse_host::Plugin load_plugin() const;

  /// Performs the session, gives account of it on standard output and writes what the options ask for. Returns the exit status.
  /// Throws FileError, PluginError and CLI::ValidationError before anything is run. A signal that asks this program to end ends
  /// the run, and account is given of what is known by then; one that comes when the run is done changes nothing.
  int perform(const Performance& performance, const std::optional<Supplement>& supplement = std::nullopt);

 private:
  void read_variables();
  void note_mode_of_variables(const std::string& mode) const;
  void check_outputs(const eclipse_host::Plugin& plugin) const;
  void check_log_beside_json() const;
  bool write_files(const std::optional<LogFile>& log) const;
  void tell_end(Account& account, const eclipse_host::RunRecord& record, const std::optional<Supplement>& supplement,
                int status) const;
  void tell_interruption(Account& account, const RunSoFar& so_far, const Interrupted& interrupted) const;
  void tell_break(const RunSoFar& so_far, const std::string& reason) const;
  int end(Account& account, const eclipse_host::RunRecord& record, const std::optional<Supplement>& supplement,
          const std::optional<LogFile>& log) const;

  const SessionOptions& options_;
  eclipse_host::Session session_;
};

}  // namespace eclipse_cli

#endif
