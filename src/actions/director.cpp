#include "actions/director.h"

#include "eclipse_int/eclipse_int.h"

namespace eclipse_int {

std::optional<std::string> chosen_executable(session_t* session) {
  const std::string choice = env_get_string(session, "ECLIPSE_INTEGRATION_CHOICE");
  if (choice == "user") return env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
  if (choice == "internal") {
    const std::vector<Component*> components = get_ide_components(session);
    return find_eclipse_executable(env_get_string(session, "ECLIPSE_BIN"), components);
  }
  return std::nullopt;
}

std::optional<std::string> enter_instance(session_t* session, const std::string& executable) {
  if (!file_exists(executable, false)) {
    print_log("eclipse_int: eclipse is not installed and there is not need to perform any integration action");
    return std::nullopt;
  }
  const std::string directory = get_dirname(executable);
  env_set_string(session, std::string("ECLIPSE_PATH"), directory);
  print_log("eclipse_int: eclipse install subdir: %s", directory.c_str());
  return path(executable);
}

std::string run_director(const std::string& command, int& exit_code) {
  print_log("eclipse_int: running command: %s", command.c_str());
  std::string output = get_command_output(command, &exit_code, true, "");
  print_log("eclipse_int: out: %s", output.c_str());
  print_log("eclipse_int: exit code: %d", exit_code);
  return output;
}

}  // namespace eclipse_int
