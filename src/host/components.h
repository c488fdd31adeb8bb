// Components and their packages in the host's catalogue.
#ifndef ECLIPSE_INT_SRC_HOST_COMPONENTS_H
#define ECLIPSE_INT_SRC_HOST_COMPONENTS_H

#include <map>
#include <optional>
#include <string>

#include "eclipse_int/host.h"

namespace eclipse_int {

/// From the name of a capability to the component that provides it, in the order of the names.
using CapabilityMap = std::map<std::string, Component*>;

/// The session's capability map, owned by the host, or null if it has none.
const CapabilityMap* capability_map(session_t* session);

/// Matched by what the name contains, so that a product may number or qualify capabilities.
bool is_ide_capability(const std::string& name);
bool is_plugin_capability(const std::string& name);

/// False for a null component and for one without a code: every search skips those.
bool is_usable(const Component* component);

/// A package and its provider; both are owned by the host.
struct ComponentPackage {
  Provider* provider;
  Package* package;
};

/// The package of a component, found by the component's code alone.
std::optional<ComponentPackage> find_package(Component& component);

}  // namespace eclipse_int

#endif
