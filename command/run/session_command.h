// What every subcommand on a session does around the run itself: reading, checking, reporting, keeping the variables.
#ifndef ECLIPSE_INT_RUN_SESSION_COMMAND_H
#define ECLIPSE_INT_RUN_SESSION_COMMAND_H

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/json_document.h"
#include "report/run_json.h"
#include "report/run_report.h"
#include "run/run_function.h"
#include "run/session_options.h"
#include "terminal/interruption.h"
#include "terminal/log_file.h"

namespace eclipse_run {

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

  /// The executable of the instance that the session works on; empty when it chooses none, or when the library cannot say.
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
  bool write_files(const std::optional<eclipse_terminal::LogFile>& log) const;
  void print_document(const std::function<void(bool is_whole)>& print);
  eclipse_report::RunFacts facts() const { return {record_, failures_, session_.variables, damage_}; }
  int end(eclipse_report::RunReport& report, const ReportAdditions& additions,
          const std::optional<eclipse_terminal::LogFile>& log);
  void report_interruption(eclipse_report::RunReport& report, const eclipse_terminal::Interrupted& interrupted,
                           const ReportAdditions& additions);
  int abort(const std::string& reason, const ReportAdditions& additions, const std::optional<eclipse_terminal::LogFile>& log);

  const SessionOptions& options_;
  std::shared_ptr<const eclipse_base::JsonDocument> document_;
  eclipse_host::Session session_;
  eclipse_host::RunRecord record_;
  eclipse_report::CommandFailures failures_;
  std::optional<eclipse_instance::InstanceDamage> damage_;
};

}  // namespace eclipse_run

#endif
