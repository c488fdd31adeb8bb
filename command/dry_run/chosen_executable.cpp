#include "dry_run/chosen_executable.h"

#include <filesystem>
#include <system_error>

#include "dry_run/command_pieces.h"
#include "dry_run/plugin_functions.h"
#include "p2/director_start.h"
#include "standalone_host/session_copy.h"

namespace eclipse_dry_run {

StartObstacle start_obstacle(const std::string& executable, const std::string& origin) {
  StartObstacle obstacle{eclipse_shell::cause_in(executable_piece(executable, origin)), std::nullopt};
  if (!obstacle.cause) obstacle.error = eclipse_p2::start_error(executable);
  return obstacle;
}

std::string path_in_commands(const std::string& executable) {
  eclipse_host::Session session;
  const eclipse_host::ActiveSession active(session);
  return ::path(executable);
}

std::string chosen_executable(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session) {
  std::string executable;
  if (session.chooses_users_own()) executable = session.variable("USER_DEFINED_ECLIPSE_PATH");
  if (session.chooses_internal()) {
    const auto found = PluginFunctions(plugin).executables(*eclipse_host::copy_of(session));
    if (!found.empty()) executable = found.back();
  }
  std::error_code error;
  return std::filesystem::exists(executable, error) ? path_in_commands(executable) : "";
}

}  // namespace eclipse_dry_run
