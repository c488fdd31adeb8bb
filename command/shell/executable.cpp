#include "shell/executable.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

#include "shell/exit_code.h"

namespace eclipse_shell {

namespace {

std::string cannot_start(int code) { return ", so the shell cannot start it (exit code " + std::to_string(code) + ")"; }

}  // namespace

std::optional<ExecutableError> executable_error(const std::string& executable) {
  const std::string quoted = "\"" + executable + "\"";
  if (executable.find('/') == executable.npos) {
    return ExecutableError{quoted + " has no slash, so the shell searches PATH for it instead of the current directory",
                           "give its full path"};
  }
  std::error_code error;
  if (!std::filesystem::exists(executable, error)) {
    return ExecutableError{quoted + " does not exist" + cannot_start(exit_code::not_found),
                           "give the path of an existing executable"};
  }
  if (std::filesystem::is_directory(executable, error)) {
    return ExecutableError{quoted + " is a directory" + cannot_start(exit_code::not_started),
                           "give the path of the executable in it"};
  }
  if (access(executable.c_str(), X_OK) != 0) {
    return ExecutableError{quoted + " is not executable" + cannot_start(exit_code::not_started),
                           "make it executable with chmod +x"};
  }
  return std::nullopt;
}

}  // namespace eclipse_shell
