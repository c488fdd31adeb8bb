// Components: the predicates, the IDE components, the executable and the descriptor files.
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "eclipse_int/eclipse_int.h"
#include "listed_path.h"
#include "package_lookup.h"

namespace {

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// A name longer than the entry is never found, so its length must not be subtracted from the entry's.
bool ends_with_last_occurrence(const std::string& entry, const std::string& name) {
  const std::string::size_type position = entry.rfind(name);
  return position != std::string::npos && position == entry.size() - name.size();
}

// Nothing for a relative prefix that does not resolve: then the package has no place on disk.
std::optional<std::string> placement_directory(Provider* provider, Package* package) {
  std::string prefix = package->prefix;
  if (path_is_relative(prefix)) {
    const std::string root = provider->rootPath();
    prefix = resolved_path(root + "/" + prefix);
    if (prefix.empty()) {
      return std::nullopt;
    }
  }
  return prefix;
}

std::optional<std::string> executable_of_entry(const std::string& listed, const std::string& name, Provider* provider,
                                               Package* package) {
  std::string entry = with_forward_slashes(listed);
  entry = without_trailing_line_ends(entry);
  if (!ends_with_last_occurrence(entry, name)) {
    return std::nullopt;
  }
  const std::optional<std::string> prefix = placement_directory(provider, package);
  if (!prefix) {
    return std::nullopt;
  }
  const std::string candidate = path(*prefix + "/" + entry);
  if (get_basename(candidate) == name && is_file(candidate)) {
    print_log("eclipse_int: found eclipse executable: %s", candidate.c_str());
    return candidate;
  }
  return std::nullopt;
}

bool passes_condition(Component* component, EclipseIntegrationMode mode, bool filter_by_condition) {
  if (!filter_by_condition) {
    return true;
  }
  if (mode == Integrate) {
    return component->installCondition();
  }
  if (mode == Unintegrate) {
    return component->uninstallCondition();
  }
  return true;
}

void append_integration_files(Component* component, std::vector<std::pair<std::string, std::string>>& files) {
  Provider* const provider = component->provider();
  Package* const package = find_package(provider, component->code);
  if (package == nullptr) {
    return;
  }
  const std::vector<std::string> listed_paths = provider->packageFiles(package);
  for (const std::string& listed : listed_paths) {
    if (listed.empty()) {
      continue;
    }
    std::string entry = with_forward_slashes(listed);
    if (!contains(entry, "etc/eclipse/")) {
      continue;
    }
    entry = without_trailing_line_ends(entry);
    const std::string directory = path(component->installBase + "/" + component->installDir);
    files.push_back(std::make_pair(directory, entry));
    print_log("eclipse_int: found eclipse configuration: %s", entry.c_str());
  }
}

std::vector<plugin_config> records_of_components(EclipseIntegrationMode mode, const std::vector<Component*>& components,
                                                 bool filter_by_condition) {
  const std::vector<std::pair<std::string, std::string>> files = get_integration_files(components, mode, filter_by_condition);
  std::vector<plugin_config> records;
  for (const std::pair<std::string, std::string>& file : files) {
    const std::string full_name = path(file.first + "/" + file.second);
    if (is_file(full_name)) {
      process_file(file, records);
    } else {
      print_log("eclipse_int: File %s not found", full_name.c_str());
    }
  }
  return records;
}

}  // namespace

bool get_component_by_code_predicate(const std::string& code_prefix, Component* const& component) {
  if (component == nullptr) {
    return false;
  }
  return component->code.find(code_prefix) == 0;
}

bool get_component_by_content_predicate(const std::string& pattern, Component* const& component) {
  if (!is_usable(component)) {
    return false;
  }
  Provider* const provider = component->provider();
  Package* const package = find_package(provider, component->code);
  if (package == nullptr) {
    return false;
  }
  const std::vector<std::string> listed_paths = provider->packageFiles(package);
  for (const std::string& listed : listed_paths) {
    if (listed.empty()) {
      continue;
    }
    const std::string entry = with_forward_slashes(listed);
    const std::string candidate = path(package->prefix + entry);
    if (contains(candidate, pattern)) {
      return true;
    }
  }
  return false;
}

std::vector<Component*> get_ide_components(session_t* session) {
  std::vector<Component*> ide_components;
  const std::map<std::string, Component*>* const capabilities = capability_map(session);
  if (capabilities == nullptr) {
    return ide_components;
  }
  for (const auto& [capability, component] : *capabilities) {
    if (is_usable(component) && contains(capability, "ECLIPSE_IDE")) {
      ide_components.push_back(component);
    }
  }
  return ide_components;
}

std::string find_eclipse_executable(const std::string& name, const std::vector<Component*>& components) {
  std::string result;
  for (Component* component : components) {
    if (!is_usable(component)) {
      continue;
    }
    Provider* const provider = component->provider();
    Package* const package = find_package(provider, component->code);
    if (package == nullptr) {
      continue;
    }
    const std::vector<std::string> listed_paths = provider->packageFiles(package);
    for (const std::string& listed : listed_paths) {
      if (listed.empty()) {
        continue;
      }
      const std::optional<std::string> found = executable_of_entry(listed, name, provider, package);
      if (found) {
        result = *found;
      }
    }
  }
  if (result.empty()) {
    print_log("eclipse_int: eclipse not found");
  }
  return result;
}

std::vector<std::pair<std::string, std::string>> get_integration_files(std::vector<Component*> components,
                                                                       EclipseIntegrationMode mode, bool filter_by_condition) {
  std::vector<std::pair<std::string, std::string>> files;
  for (Component* component : components) {
    if (!is_usable(component)) {
      continue;
    }
    if (!passes_condition(component, mode, filter_by_condition)) {
      continue;
    }
    append_integration_files(component, files);
  }
  return files;
}

std::vector<plugin_config> populate_plugin_list(EclipseIntegrationMode mode, std::vector<Component*> components,
                                                bool filter_by_condition) {
  return records_of_components(mode, components, filter_by_condition);
}

std::vector<plugin_config> populate_eclipse_list(EclipseIntegrationMode mode, std::vector<Component*> components,
                                                 bool filter_by_condition) {
  return records_of_components(mode, components, filter_by_condition);
}
