#include "eclipse_int/eclipse_int.h"
#include "host/components.h"

using namespace eclipse_int;

namespace {

/// Whether a component takes part in a run of this mode.
bool takes_part(Component& component, const std::string& mode) {
  if (mode == "install") return component.installCondition();
  if (mode == "modify") return component.installCondition() || component.getInstalled(0);
  return true;
}

bool is_required(session_t* session) {
  const CapabilityMap* const capabilities = capability_map(session);
  if (capabilities == nullptr) {
    print_log("eclipse_int: provides_list is NULL");
    return false;
  }
  const std::string mode = env_get_string(session, "KORU_MODE");
  for (const auto& [name, component] : *capabilities) {
    // The component is asked first, whatever the capability's name. find_ide() below does it the other way round.
    if (is_usable(component) && takes_part(*component, mode) && is_plugin_capability(name)) return true;
  }
  return false;
}

struct IdeState {
  bool found = false;
  bool enabled = false;
};

IdeState find_ide(session_t* session) {
  const CapabilityMap* const capabilities = capability_map(session);
  if (capabilities == nullptr) {
    print_log("eclipse_int::find_eclipse_ide : provides_list is NULL");
    return {};
  }
  IdeState ide;
  const std::string mode = env_get_string(session, "KORU_MODE");
  for (const auto& [name, component] : *capabilities) {
    if (!is_usable(component) || !is_ide_capability(name)) continue;
    ide.found = true;
    ide.enabled = takes_part(*component, mode);
    if (ide.enabled) break;
  }
  return ide;
}

}  // namespace

int eclipse_integration_required(session_t* session) {
  print_log("eclipse_int: eclipse_integration_required entered");
  if (is_required(session)) {
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
  if (env_get_string(session, "ECLIPSE_INTEGRATION_CHOICE") == "internal") {
    print_log("eclipse_int::find_eclipse_ide: ECLIPSE_INTEGRATION_CHOICE is set to internal");
    env_set_string(session, "ECLIPSE_IDE", "yes");
    env_set_string(session, "ECLIPSE_IDE_ENABLED", "yes");
    return 0;
  }
  const IdeState ide = find_ide(session);
  if (!ide.found) {
    print_log("eclipse_int::find_eclipse_ide: eclipse integration is not required");
    env_set_string(session, "ECLIPSE_IDE", "no");
    env_set_string(session, "ECLIPSE_IDE_ENABLED", "no");
    return 0;
  }
  print_log("eclipse_int::find_eclipse_ide: eclipse ide is found");
  env_set_string(session, "ECLIPSE_IDE", "yes");
  if (ide.enabled) {
    print_log("eclipse_int::find_eclipse_ide: eclipse ide is enabled");
    env_set_string(session, "ECLIPSE_IDE_ENABLED", "yes");
  } else {
    print_log("eclipse_int::find_eclipse_ide: eclipse ide is disabled");
    env_set_string(session, "ECLIPSE_IDE_ENABLED", "no");
  }
  return 0;
}
