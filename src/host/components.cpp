#include "host/components.h"

namespace eclipse_int {

const CapabilityMap* capability_map(session_t* session) {
  char name[] = "KORU_YUM_CAPABILITY_PROVIDERS";
  return static_cast<const CapabilityMap*>(session_get_cdata(session, name));
}

bool is_ide_capability(const std::string& name) { return name.find("ECLIPSE_IDE") != std::string::npos; }

bool is_plugin_capability(const std::string& name) { return name.find("ECLIPSE_PLUGIN") != std::string::npos; }

bool is_usable(const Component* component) { return component != nullptr && !component->code.empty(); }

std::optional<ComponentPackage> find_package(Component& component) {
  Provider* const provider = component.provider();
  if (provider == nullptr) return std::nullopt;
  Package* const package = provider->findPackage("", component.code, "");
  if (package == nullptr) return std::nullopt;
  return ComponentPackage{provider, package};
}

}  // namespace eclipse_int
