// Which Eclipse instance a session chooses.
#ifndef ECLIPSE_INT_DRY_RUN_CHOSEN_EXECUTABLE_H
#define ECLIPSE_INT_DRY_RUN_CHOSEN_EXECUTABLE_H

#include <optional>
#include <string>

#include "shell/executable.h"
#include "shell/shell_cause.h"
#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_dry_run {

/// The executable of the Eclipse instance that a run of the session works on, as its commands start it; empty when the session
/// chooses none, or one that does not exist. Throws PluginError.
std::string chosen_executable(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session);

/// The path of a chosen executable as the commands start it: normalized, which leads to another file when a link is before
/// "..".
std::string path_in_commands(const std::string& executable);

/// What keeps the commands from starting an executable.
struct StartObstacle {
  std::optional<eclipse_shell::ShellCause> cause;       ///< the shell makes something else of its path, and starts that
  std::optional<eclipse_shell::ExecutableError> error;  ///< otherwise
};

/// The origin says, for a person, where the path comes from.
StartObstacle start_obstacle(const std::string& executable, const std::string& origin);

}  // namespace eclipse_dry_run

#endif
