#include "shell/executable.h"

#include <unistd.h>

#include <filesystem>
#include <system_error>

namespace eclipse_shell {

std::optional<ExecutableError> executable_error(const std::string& executable) {
  const std::string quoted = "\"" + executable + "\"";
  if (executable.find('/') == executable.npos) {
    return ExecutableError{quoted + " has no slash, so the shell searches PATH for it instead of the current directory",
                           "give its full path"};
  }
  std::error_code error;
  if (!std::filesystem::exists(executable, error)) {
    return ExecutableError{quoted + " does not exist, so the shell cannot start it (exit status 127)",
                           "give the path of an existing executable"};
  }
  if (std::filesystem::is_directory(executable, error)) {
    return ExecutableError{quoted + " is a directory, so the shell cannot start it (exit status 126)",
                           "give the path of the executable in it"};
  }
  if (access(executable.c_str(), X_OK) != 0) {
    return ExecutableError{quoted + " is not executable, so the shell cannot start it (exit status 126)",
                           "make it executable with chmod +x"};
  }
  return std::nullopt;
}

}  // namespace eclipse_shell
