#include "eclipse_int/eclipse_int.h"

namespace {

/// The directory of the IDE that is shipped as a component; empty if its executable does not exist.
std::string internal_directory(session_t* session) {
  const std::vector<Component*> components = get_ide_components(session);
  const std::string name = env_get_string(session, "ECLIPSE_BIN");
  const std::string executable = find_eclipse_executable(name, components);
  if (!file_exists(executable, false)) return "";
  return get_dirname(executable);
}

/// Keeps an earlier value of the variable rather than replace it with an empty one.
void set_eclipse_path(session_t* session, const std::string& directory) {
  if (!directory.empty()) env_set_string(session, std::string("ECLIPSE_PATH"), directory);
}

}  // namespace

int define_eclipse_path(session_t* session) {
  const std::string internal = internal_directory(session);
  const std::string choice = env_get_string(session, "ECLIPSE_INTEGRATION_CHOICE");
  if (choice == "internal") {
    print_log("eclipse_int: internal eclipse install subdir: %s", internal.c_str());
    set_eclipse_path(session, internal);
  } else if (choice == "user") {
    const std::string executable = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
    if (file_exists(executable, false)) {
      const std::string directory = get_dirname(executable);
      set_eclipse_path(session, directory);
      print_log("eclipse_int: user eclipse install subdir: %s", directory.c_str());
    }
  } else if (choice == "none") {
    print_log("eclipse_int: eclipse integration skipped");
  } else {
    print_log("eclipse_int: no integration choice haven't been done yet. Setting default eclipse path: %s", internal.c_str());
    set_eclipse_path(session, internal);
  }
  return 0;
}
