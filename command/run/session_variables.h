// The variables that the command line gives a session.
#ifndef ECLIPSE_INT_RUN_SESSION_VARIABLES_H
#define ECLIPSE_INT_RUN_SESSION_VARIABLES_H

#include <optional>
#include <string>
#include <vector>

#include "standalone_host/session.h"
#include "standalone_host/variables_file.h"

namespace eclipse_run {

/// The variables of --variables, which a session file overrides, and of --set, which override those of the session file.
class SessionVariables {
 public:
  /// Reads the file. `settings` are "NAME=VALUE", and the last one of a name counts. Throws FileError.
  SessionVariables(const std::vector<std::string>& settings, const std::optional<std::string>& file);

  /// Adds them to a session that holds what its file says. Prints a note when the file of --variables has a mode that differs
  /// from the session's, since that mode is not used.
  void add_to(eclipse_host::Session& session) const;

  /// Throws UsageError when --set gives a mode that is not one of the three.
  void check_mode() const;

 private:
  void set_in(eclipse_host::Session& session) const;

  std::optional<std::string> file_;
  eclipse_host::Variables of_file_;
  std::vector<std::string> settings_;
};

/// Throws UsageError when the mode of a session, which --set may have replaced, is not one of the three.
void check_mode(const eclipse_host::Session& session);

}  // namespace eclipse_run

#endif
