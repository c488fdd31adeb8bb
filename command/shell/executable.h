// What a shell needs of an executable that it is to start.
#ifndef ECLIPSE_INT_SHELL_EXECUTABLE_H
#define ECLIPSE_INT_SHELL_EXECUTABLE_H

#include <optional>
#include <string>

namespace eclipse_shell {

/// Why a shell cannot start an executable.
struct ExecutableError {
  std::string message;  ///< names the executable
  std::string fix;

  /// "MESSAGE; FIX".
  std::string text() const { return message + "; " + fix; }
};

/// What keeps a shell from starting `executable` when it is the first word of a command; nothing when it can be started.
/// Whether the shell passes on that word unchanged is another question, which cause_in() answers.
std::optional<ExecutableError> executable_error(const std::string& executable);

}  // namespace eclipse_shell

#endif
