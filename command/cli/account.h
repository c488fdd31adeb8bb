// The account of a run for a person who watches it.
#ifndef ECLIPSE_INT_CLI_ACCOUNT_H
#define ECLIPSE_INT_CLI_ACCOUNT_H

#include <ostream>
#include <string>
#include <string_view>

#include "cli/outcome.h"
#include "standalone_host/session_run.h"

namespace eclipse_cli {

/// Tells a run as it goes. On a terminal, a line with the elapsed time shows that a silent director is still at work.
class Account {
 public:
  Account(std::ostream& out, bool is_terminal) : out_(out), is_terminal_(is_terminal) {}

  /// What is going to be performed.
  void begin(const std::string& file, const eclipse_host::Session& session);

  /// What tells of each event. It refers to this object.
  eclipse_host::RunObserver observer();

  /// That a signal ended it.
  void interrupt(const std::string& signal, bool director_was_running);

  /// What it all came to.
  void end(const eclipse_host::RunRecord& record, bool graphical, const InstanceFinding& finding);

 private:
  void tell(const std::string& text);
  void tell_output(std::string_view piece);
  void tell_waiting(double seconds);
  void tell_end_of_command(const eclipse_shell::CommandResult& result);
  std::string without_waiting();

  std::ostream& out_;
  bool is_terminal_;
  bool in_line_ = false;           ///< the director's last piece of output did not end its line
  std::size_t waiting_width_ = 0;  ///< of the line with the elapsed time, 0 when it does not show
};

}  // namespace eclipse_cli

#endif
