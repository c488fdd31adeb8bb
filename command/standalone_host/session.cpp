#include "standalone_host/session.h"

namespace eclipse_host {

Package* CatalogueComponent::findPackage(const std::string&, const std::string& wanted_code, const std::string&) {
  return package && wanted_code == code ? &*package : nullptr;
}

std::vector<std::string> CatalogueComponent::packageFiles(Package* record) {
  return static_cast<CataloguePackage*>(record)->files;
}

std::string CatalogueComponent::rootPath() { return package ? package->root : ""; }

std::string Session::variable(const std::string& name) const {
  const auto found = variables.find(name);
  return found == variables.end() ? "" : found->second;
}

bool Session::has_choice(std::string_view choice) const { return variable("ECLIPSE_INTEGRATION_CHOICE") == choice; }

std::string Session::expand(std::string_view text) const {
  std::string expanded;
  while (true) {
    const std::size_t start = text.find("${");
    const std::size_t end = text.find('}', start);
    if (start == std::string_view::npos || end == std::string_view::npos) return expanded.append(text);
    expanded.append(text.substr(0, start)).append(variable(std::string(text.substr(start + 2, end - start - 2))));
    text.remove_prefix(end + 1);
  }
}

}  // namespace eclipse_host
