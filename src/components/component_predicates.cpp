#include "eclipse_int/eclipse_int.h"
#include "host/components.h"
#include "host/paths.h"

using namespace eclipse_int;

bool get_component_by_code_predicate(const std::string& code_prefix, Component* const& component) {
  return component != nullptr && component->code.starts_with(code_prefix);
}

bool get_component_by_content_predicate(const std::string& pattern, Component* const& component) {
  if (!is_usable(component)) return false;
  const auto found = find_package(*component);
  if (!found) return false;
  for (const std::string& listed : found->provider->packageFiles(found->package)) {
    if (listed.empty()) continue;
    // No separator between the two: a prefix without a trailing one runs into the name.
    const std::string placed = path(found->package->prefix + with_forward_slashes(listed));
    if (placed.find(pattern) != std::string::npos) return true;
  }
  return false;
}

std::vector<Component*> get_ide_components(session_t* session) {
  const CapabilityMap* const capabilities = capability_map(session);
  if (capabilities == nullptr) return {};
  std::vector<Component*> components;
  for (const auto& [name, component] : *capabilities) {
    if (is_usable(component) && is_ide_capability(name)) components.push_back(component);
  }
  return components;
}
