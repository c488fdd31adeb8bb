// The actions that look and decide, and run no command.
#include <cctype>
#include <cstdlib>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "eclipse_int/eclipse_int.h"
#include "listed_path.h"
#include "package_lookup.h"

namespace {

bool passes_mode_filter(Component* component, const std::string& mode) {
  if (mode == "install") {
    return component->installCondition();
  }
  if (mode == "modify") {
    if (component->installCondition()) {
      return true;
    }
    return component->getInstalled(0);
  }
  return true;
}

// The filter comes before the name, so it asks components that carry no plug-ins, too.
bool needs_integration(const std::map<std::string, Component*>& capabilities, const std::string& mode) {
  for (const auto& [capability, component] : capabilities) {
    if (!is_usable(component)) {
      continue;
    }
    if (!passes_mode_filter(component, mode)) {
      continue;
    }
    if (capability.find("ECLIPSE_PLUGIN") != std::string::npos) {
      return true;
    }
  }
  return false;
}

struct ide_state {
  bool found = false;
  bool enabled = false;
};

// The name comes before the filter here: a component that carries no IDE is not asked.
ide_state look_for_ide(const std::map<std::string, Component*>& capabilities, const std::string& mode) {
  ide_state state;
  for (const auto& [capability, component] : capabilities) {
    if (!is_usable(component)) {
      continue;
    }
    if (capability.find("ECLIPSE_IDE") == std::string::npos) {
      continue;
    }
    state.found = true;
    if (passes_mode_filter(component, mode)) {
      state.enabled = true;
      return state;
    }
  }
  return state;
}

void publish_ide_state(session_t* session, const ide_state& state) {
  if (!state.found) {
    print_log("eclipse_int::find_eclipse_ide: eclipse integration is not required");
    env_set_string(session, "ECLIPSE_IDE", "no");
    env_set_string(session, "ECLIPSE_IDE_ENABLED", "no");
    return;
  }
  print_log("eclipse_int::find_eclipse_ide: eclipse ide is found");
  env_set_string(session, "ECLIPSE_IDE", "yes");
  if (state.enabled) {
    print_log("eclipse_int::find_eclipse_ide: eclipse ide is enabled");
    env_set_string(session, "ECLIPSE_IDE_ENABLED", "yes");
  } else {
    print_log("eclipse_int::find_eclipse_ide: eclipse ide is disabled");
    env_set_string(session, "ECLIPSE_IDE_ENABLED", "no");
  }
}

// An empty directory never overwrites an earlier one.
void set_eclipse_path(session_t* session, const std::string& directory) {
  if (!directory.empty()) {
    env_set_string(session, std::string("ECLIPSE_PATH"), directory);
  }
}

void define_user_eclipse_path(session_t* session) {
  const std::string executable = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
  if (file_exists(executable, false)) {
    const std::string directory = get_dirname(executable);
    set_eclipse_path(session, directory);
    print_log("eclipse_int: user eclipse install subdir: %s", directory.c_str());
  }
}

std::string lower_case(std::string text) {
  for (char& character : text) {
    character = static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
  }
  return text;
}

struct free_buffer {
  void operator()(char* buffer) const { std::free(buffer); }
};

std::optional<std::string> read_config(const std::string& name) {
  const std::unique_ptr<char, free_buffer> buffer(get_file(name, 0, nullptr));
  if (buffer == nullptr) {
    return std::nullopt;
  }
  return std::string(buffer.get());
}

std::string version_in_text(const std::string& text) {
  const std::string key = "eclipse.buildId=";
  const std::string::size_type position = text.find(key);
  if (position == std::string::npos) {
    print_log("eclipse_int: search for pattern eclipse.buildId=  - pattern not found");
    return "";
  }
  const std::string::size_type start = position + key.size();
  const std::string::size_type end = text.find('\n', start);
  if (end == std::string::npos) {
    print_log("eclipse_int: EOL wasn't found");
    return text.substr(start);
  }
  return text.substr(start, end - start);
}

std::string version_in_file(const std::string& name) {
  if (!is_file(name)) {
    print_log("eclipse_int: eclipse_version - config file not found");
    return "";
  }
  const std::optional<std::string> text = read_config(name);
  if (!text) {
    print_log("eclipse_int: eclipse_version - cannot open config file");
    return "";
  }
  return version_in_text(*text);
}

}  // namespace

int eclipse_integration_required(session_t* session) {
  print_log("eclipse_int: eclipse_integration_required entered");
  bool required = false;
  const std::map<std::string, Component*>* const capabilities = capability_map(session);
  if (capabilities == nullptr) {
    print_log("eclipse_int: provides_list is NULL");
  } else {
    const std::string mode = env_get_string(session, "KORU_MODE");
    required = needs_integration(*capabilities, mode);
  }
  if (required) {
    print_log("eclipse_int: eclipse integration is required");
    env_set_string(session, "ECLIPSE_INTEGRATION_REQUIRED", "yes");
  } else {
    print_log("eclipse_int: eclipse integration is not required");
    env_set_string(session, "ECLIPSE_INTEGRATION_REQUIRED", "no");
  }
  return 0;
}

int find_eclipse_ide(session_t* session) {
  print_log("eclipse_int::find_eclipse_ide: entered");
  const std::string choice = env_get_string(session, "ECLIPSE_INTEGRATION_CHOICE");
  if (choice == "internal") {
    print_log("eclipse_int::find_eclipse_ide: ECLIPSE_INTEGRATION_CHOICE is set to internal");
    env_set_string(session, "ECLIPSE_IDE", "yes");
    env_set_string(session, "ECLIPSE_IDE_ENABLED", "yes");
    return 0;
  }
  ide_state state;
  const std::map<std::string, Component*>* const capabilities = capability_map(session);
  if (capabilities == nullptr) {
    print_log("eclipse_int::find_eclipse_ide : provides_list is NULL");
  } else {
    const std::string mode = env_get_string(session, "KORU_MODE");
    state = look_for_ide(*capabilities, mode);
  }
  publish_ide_state(session, state);
  return 0;
}

int define_eclipse_path(session_t* session) {
  const std::vector<Component*> components = get_ide_components(session);
  const std::string name = env_get_string(session, "ECLIPSE_BIN");
  const std::string executable = find_eclipse_executable(name, components);
  std::string internal_directory;
  if (file_exists(executable, false)) {
    internal_directory = get_dirname(executable);
  }
  const std::string choice = env_get_string(session, "ECLIPSE_INTEGRATION_CHOICE");
  if (choice == "internal") {
    print_log("eclipse_int: internal eclipse install subdir: %s", internal_directory.c_str());
    set_eclipse_path(session, internal_directory);
  } else if (choice == "user") {
    define_user_eclipse_path(session);
  } else if (choice == "none") {
    print_log("eclipse_int: eclipse integration skipped");
  } else {
    print_log("eclipse_int: no integration choice haven't been done yet. Setting default eclipse path: %s",
              internal_directory.c_str());
    set_eclipse_path(session, internal_directory);
  }
  return 0;
}

int verify_user_defined_eclipse_path(session_t* session) {
  std::string executable = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
  if (executable.empty()) {
    env_set_string(session, "USER_DEFINED_ECLIPSE_PATH_EMPTY", "yes");
    env_set_string(session, "USER_DEFINED_ECLIPSE_PATH_CORRECT", "no");
    return 0;
  }
  env_set_string(session, "USER_DEFINED_ECLIPSE_PATH_EMPTY", "no");
  executable = with_forward_slashes(executable);
  executable = without_trailing_line_ends(executable);
  if (!is_file(executable)) {
    env_set_string(session, "USER_DEFINED_ECLIPSE_PATH_CORRECT", "no");
    return 0;
  }
  const std::string expected_name = env_get_string(session, "ECLIPSE_BIN");
  const std::string name = get_basename(executable);
  if (lower_case(name) == lower_case(expected_name)) {
    env_set_string(session, "USER_DEFINED_ECLIPSE_PATH_CORRECT", "yes");
  } else {
    env_set_string(session, "USER_DEFINED_ECLIPSE_PATH_CORRECT", "no");
  }
  return 0;
}

int user_eclipse_version(session_t* session) {
  print_log("eclipse_int: user_eclipse_version");
  const std::string executable = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
  if (executable.empty()) {
    print_log("eclipse_int: user_eclipse_version - user defined eclipse path is not set");
    return 0;
  }
  verify_user_defined_eclipse_path(session);
  const std::string correct = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH_CORRECT");
  if (correct != "yes") {
    print_log("eclipse_int: user_eclipse_version - user defined eclipse path is not correct");
    return 0;
  }
  // The directory is that of the path as the user gave it, backslashes and line ends included.
  const std::string directory = get_dirname(executable);
  const std::string config = path(directory + "/" + "configuration" + "/" + "config.ini");
  const std::string version = version_in_file(config);
  env_set_string(session, std::string("ECLIPSE_VERSION"), version);
  return 0;
}

int verify_eclipse_version(session_t* session) {
  print_log("verify_eclipse_version: user_eclipse_version");
  user_eclipse_version(session);
  const std::string version = env_get_string(session, "ECLIPSE_VERSION");
  if (version.empty()) {
    print_log("verify_eclipse_version: eclipse_version is empty");
    return 0;
  }
  const std::string minimum = expand_operand(session, "${ECLIPSE_MIN_SUPPORTED_VERSION}", true);
  if (minimum.empty()) {
    print_log("verify_eclipse_version: eclipse_min_supported_version is not set. Exit");
    return 0;
  }
  print_log("verify_eclipse_version: compare %s and %s", version.c_str(), minimum.c_str());
  if (version.compare(minimum) >= 0) {
    env_set_string(session, "ECLIPSE_VERSION_IS_SUPPORTED", "yes");
  } else {
    env_set_string(session, "ECLIPSE_VERSION_IS_SUPPORTED", "no");
  }
  return 0;
}
