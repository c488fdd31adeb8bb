// What every subcommand on a session does around the run itself: reading, checking, reporting, keeping the variables.
#ifndef ECLIPSE_INT_CLI_SESSION_COMMAND_H
#define ECLIPSE_INT_CLI_SESSION_COMMAND_H

#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "base/json_document.h"
#include "cli/interruption.h"
#include "cli/log_file.h"
#include "cli/run_json.h"
#include "cli/run_report.h"
#include "cli/session_options.h"
#include "standalone_host/session_run.h"

namespace eclipse_cli {

/// How a subcommand runs a session, such as eclipse_host::run_session().
using RunFunction = std::function<void(const eclipse_host::Plugin& plugin, eclipse_host::Session& session,
                                       eclipse_host::RunRecord& record, const eclipse_host::RunObservers& observers)>;

/// What a subcommand adds to the report of a run.
struct ReportAdditions {
  std::function<InstanceFinding()> finding = [] { return InstanceFinding(); };
  std::function<std::string()> text = [] { return ""; };  ///< after the report
  std::function<void(nlohmann::ordered_json& json)> add_to = [](nlohmann::ordered_json&) {};
  std::function<int(int status)> exit_status = [](int status) { return status; };  ///< instead of the run's own
  /// The same for a run that a signal or an error in the host has ended.
  std::function<std::string()> text_when_ended = [] { return ""; };
  std::function<void(nlohmann::ordered_json& json)> add_to_when_ended = [](nlohmann::ordered_json&) {};
};

/// Whether a run may start directors.
enum class Directors { none, started };

class SessionCommand {
 public:
  /// Reads the session and the variables. Throws FileError.
  explicit SessionCommand(const SessionOptions& options);

  const eclipse_host::Session& session() const { return session_; }

  /// The document that the session was read from. Not null.
  const std::shared_ptr<const eclipse_base::JsonDocument>& document() const { return document_; }

  /// Loads the plug-in that the options ask for. Throws PluginError, and FileError when a descriptor file is too large for it.
  eclipse_host::Plugin load_plugin() const;

  /// The executable of the Eclipse that the session works on; empty when it chooses none, or when the library cannot say.
  std::string chosen_executable(const eclipse_host::Plugin& plugin) const;

  /// Warns of descriptor files that cannot be read completely, since the plug-in ignores that. Throws PluginError.
  void warn_of_unreadable_descriptors(const eclipse_host::Plugin& plugin) const;

  /// Runs the session, reports it on standard output and writes what the options ask for. Returns the exit status. If the run
  /// may start directors, the instance is locked until it ends; after a failure or an interruption its profile is looked at.
  /// Throws FileError, PluginError, UsageError and InstanceInUse before anything is run or written. A signal that asks this
  /// program to end ends the run, as Interruption says, and what is known by then is reported; one that comes when the run is
  /// done changes nothing.
  int perform(const RunFunction& run, Directors directors, const ReportAdditions& additions = {});

 private:
  void look_at_profile(const std::string& executable);
  std::optional<std::string> variables_file() const;
  bool write_files(const std::optional<LogFile>& log) const;
  void print_document(const std::function<void(bool is_whole)>& print);
  RunFacts facts() const { return {record_, failures_, session_.variables, damage_}; }
  int end(RunReport& report, const ReportAdditions& additions, const std::optional<LogFile>& log);
  void report_interruption(RunReport& report, const Interrupted& interrupted, const ReportAdditions& additions);
  int abort(const std::string& reason, const ReportAdditions& additions, const std::optional<LogFile>& log);

  const SessionOptions& options_;
  std::shared_ptr<const eclipse_base::JsonDocument> document_;
  eclipse_host::Session session_;
  eclipse_host::RunRecord record_;
  CommandFailures failures_;
  std::optional<eclipse_p2::InstanceDamage> damage_;
};

}  // namespace eclipse_cli

#endif
