// The report of a run on standard output, as text.
#ifndef ECLIPSE_INT_REPORT_RUN_REPORT_H
#define ECLIPSE_INT_REPORT_RUN_REPORT_H

#include <string>
#include <string_view>

#include "base/printable.h"
#include "report/command_failures.h"
#include "report/outcome.h"
#include "standalone_host/session_run.h"

namespace eclipse_report {

/// Prints a run as it goes. On a terminal, a line with the elapsed time shows that a silent director is still at work.
class RunReport {
 public:
  /// `failures` must be notified of each event before this report.
  explicit RunReport(const CommandFailures& failures);

  /// Prints the session that is run.
  void begin(const std::string& file, const eclipse_host::Session& session);

  /// Prints each event. It refers to this object.
  eclipse_host::RunObserver observer();

  /// Prints that a signal ended the run. This and what follows is given up when a signal has come and nobody reads it.
  void interrupt(const std::string& signal, bool director_was_running);

  /// Prints the outcome.
  void end(const eclipse_host::RunRecord& record, const eclipse_host::Session& session, const InstanceFinding& finding);

  /// Prints a text after the report.
  void add(const std::string& text);

 private:
  void print(const std::string& text);
  void write(const std::string& text);
  void print_output(std::string_view output);
  void print_waiting(double seconds);
  void print_end_of_command(const eclipse_shell::CommandResult& result);
  std::string without_waiting();

  void print_held_output();

  bool is_terminal_;
  const CommandFailures& failures_;
  bool director_runs_ = false;
  eclipse_base::PrintablePieces output_;
  eclipse_base::PrintablePieces error_output_;
  std::string line_;       ///< of the output, as far as it has come, or the beginning of a long one
  bool is_held_ = false;   ///< what follows in the output is why the director failed
  bool is_shown_ = false;  ///< that is shown nevertheless
  std::string held_;       ///< that
  bool run_has_ended_ = false;
  bool in_line_ = false;           ///< the director's last piece of output did not end its line
  std::size_t waiting_width_ = 0;  ///< of the line with the elapsed time, 0 when it does not show
};

/// For a run without a report on standard output: messages on standard error where a person would wonder.
eclipse_host::RunObserver messages_about_silence();

}  // namespace eclipse_report

#endif
