#include "dry_run/chosen_executable.h"

#include <filesystem>
#include <system_error>

#include "dry_run/plugin_functions.h"
#include "standalone_host/session_copy.h"

namespace eclipse_dry_run {

std::string chosen_executable(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session) {
  const std::string choice = session.variable("ECLIPSE_INTEGRATION_CHOICE");
  std::string executable;
  if (choice == "user") executable = session.variable("USER_DEFINED_ECLIPSE_PATH");
  if (choice == "internal") {
    const auto found = PluginFunctions(plugin).executables(*eclipse_host::copy_of(session));
    if (!found.empty()) executable = found.back();
  }
  std::error_code error;
  return std::filesystem::exists(executable, error) ? executable : "";
}

}  // namespace eclipse_dry_run
