// The actions that run the p2 director.
#include <set>
#include <string>
#include <vector>

#include "eclipse_int/eclipse_int.h"

namespace {

// Logs for itself when there is none.
std::string internal_executable(session_t* session) {
  const std::vector<Component*> components = get_ide_components(session);
  const std::string name = env_get_string(session, "ECLIPSE_BIN");
  return find_eclipse_executable(name, components);
}

std::string run_logged(const std::string& command, int& exit_code) {
  print_log("eclipse_int: running command: %s", command.c_str());
  const std::string output = get_command_output(command, &exit_code, true, "");
  print_log("eclipse_int: out: %s", output.c_str());
  print_log("eclipse_int: exit code: %d", exit_code);
  return output;
}

// False when there is no executable; ECLIPSE_PATH is left alone then.
bool publish_instance(session_t* session, const std::string& eclipse_executable) {
  if (!file_exists(eclipse_executable, false)) {
    print_log("eclipse_int: eclipse is not installed and there is not need to perform any integration action");
    return false;
  }
  const std::string directory = get_dirname(eclipse_executable);
  env_set_string(session, std::string("ECLIPSE_PATH"), directory);
  print_log("eclipse_int: eclipse install subdir: %s", directory.c_str());
  return true;
}

bool ide_is_being_installed(session_t* session) {
  const std::vector<Component*> components = get_ide_components(session);
  for (Component* component : components) {
    if (component->installCondition()) {
      return true;
    }
  }
  return false;
}

bool instance_is_new(session_t* session, const std::string& mode, const std::string& choice) {
  if (mode == "uninstall") {
    return false;
  }
  if (choice == "internal") {
    return ide_is_being_installed(session);
  }
  if (choice == "user") {
    const std::string recorded = env_get_string(session, "CASHED_ECLIPSE_PATH");
    const std::string named = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
    return !named.empty() && named != recorded;
  }
  return false;
}

// The exit code is that of the command before until the next one stores its own.
void integrate_one_by_one(session_t* session, const std::string& install_command, const std::vector<std::string>& features,
                          const std::string& separator, int& exit_code) {
  print_log("eclipse_int: failed to integrate all plug-ins at once, integrating individually");
  std::string summary = env_get_string(session, "QN_SCRIPTS_COMPLETE_DESC");
  summary += separator;
  summary += env_get_string(session, "eclipse_integration_failed_title");
  summary += separator;
  for (const std::string& feature : features) {
    const std::string command = install_command + feature + " 2>&1";
    const std::string output = run_logged(command, exit_code);
    if (exit_code != 0) {
      summary += separator;
      summary += replaceAllSubstrings(output, "\n", separator);
    }
  }
  env_set_string(session, "QN_SCRIPTS_COMPLETE_DESC", summary.c_str());
  env_set_string(session, "QN_SCRIPTS_FAILED", "yes");
}

}  // namespace

int perform_integration(session_t* session) {
  print_log("eclipse_int: perform_integration entered");
  const std::string choice = env_get_string(session, "ECLIPSE_INTEGRATION_CHOICE");
  if (choice == "user") {
    const std::string executable = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
    if (executable.empty()) {
      return 0;
    }
    return integrate_into_instance(session, executable);
  }
  if (choice == "internal") {
    const std::string executable = internal_executable(session);
    if (executable.empty()) {
      return 0;
    }
    return integrate_into_instance(session, executable);
  }
  print_log("eclipse_int: nothing to integrate");
  return 0;
}

int integrate_into_instance(session_t* session, std::string eclipse_executable) {
  const std::string separator = is_gui_mode(session) ? "<p>" : "\n";
  print_log("eclipse_int: integrate_into_instance entered");
  if (!publish_instance(session, eclipse_executable)) {
    return 0;
  }
  const std::string executable_path = path(eclipse_executable);
  const std::vector<Component*> components = session->tsd.components();
  const std::string mode = env_get_string(session, "KORU_MODE");
  const std::string choice = env_get_string(session, "ECLIPSE_INTEGRATION_CHOICE");
  const bool is_new = instance_is_new(session, mode, choice);
  const std::vector<plugin_config> plugins = populate_plugin_list(Integrate, components, !is_new);

  std::set<std::string> repositories;
  std::set<std::string> extras;
  std::vector<std::string> features;
  populate_lists(plugins, repositories, extras, features);

  int exit_code = 0;
  if (features.empty() || repositories.empty()) {
    print_log("eclipse_int: feature or repo list is empty, skip integration");
    return 0;
  }
  const std::string install_command = executable_path + " -nosplash -application org.eclipse.equinox.p2.director -repository " +
                                      join(repositories, ",") + " -i ";
  const std::string command = install_command + join(features, ",") + " 2>&1";
  run_logged(command, exit_code);
  if (exit_code == 0) {
    return 0;
  }
  integrate_one_by_one(session, install_command, features, separator, exit_code);
  return exit_code;
}

int perform_unintegration(session_t* session) {
  print_log("eclipse_int: perform_unintegration entered");
  const std::string choice = env_get_string(session, "ECLIPSE_INTEGRATION_CHOICE");
  if (choice == "user") {
    const std::string executable = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
    if (executable.empty()) {
      return 0;
    }
    return unintegrate_from_instance(session, executable);
  }
  if (choice == "internal") {
    const std::string executable = internal_executable(session);
    if (executable.empty()) {
      return 0;
    }
    return unintegrate_from_instance(session, executable);
  }
  print_log("eclipse_int: nothing to unintegrate");
  return 0;
}

int unintegrate_from_instance(session_t* session, std::string eclipse_executable) {
  print_log("eclipse_int: unintegrate_from_instance entered");
  if (!publish_instance(session, eclipse_executable)) {
    return 0;
  }
  const std::string executable_path = path(eclipse_executable);
  const std::vector<Component*> components = session->tsd.components();
  const std::vector<plugin_config> plugins = populate_plugin_list(Unintegrate, components, true);

  std::set<std::string> repositories;
  std::set<std::string> extras;
  std::vector<std::string> features;
  populate_lists(plugins, repositories, extras, features);

  std::string command = executable_path + " -nosplash -application org.eclipse.equinox.p2.director -u ";
  int exit_code = 0;
  if (features.empty()) {
    print_log("eclipse_int: feature list is empty");
    return 0;
  }
  command += join(features, ",");
  command += " 2>&1";
  run_logged(command, exit_code);
  if (exit_code == 0) {
    return 0;
  }
  print_log("eclipse_int: failed to unintegrate all plug-ins at once, unintegrating individually");
  for (const std::string& feature : features) {
    // A retry begins with the whole command that failed, its redirection included.
    std::string retry = command;
    retry += feature;
    retry += " 2>&1";
    run_logged(retry, exit_code);
  }
  return exit_code;
}
