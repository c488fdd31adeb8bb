#include "standalone_host/session_copy.h"

namespace eclipse_host {

std::unique_ptr<Session> copy_of(const Session& session) {
  auto copy = std::make_unique<Session>();
  copy->variables = session.variables;
  copy->graphical = session.graphical;
  std::map<const Component*, Component*> copies;
  for (const auto& component : session.components) {
    copy->components.push_back(component ? std::make_unique<CatalogueComponent>(*component) : nullptr);
    copies[component.get()] = copy->components.back().get();
  }
  copy->capabilities = session.capabilities;
  if (!copy->capabilities) return copy;
  for (auto& [name, component] : *copy->capabilities) {
    const auto found = copies.find(component);
    if (found != copies.end()) component = found->second;
  }
  return copy;
}

}  // namespace eclipse_host
