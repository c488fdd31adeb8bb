#include <utility>

#include "eclipse_int/eclipse_int.h"
#include "host/components.h"
#include "host/paths.h"

using namespace eclipse_int;

namespace {

// Matched anywhere in a listed path, not only at the start of a directory name.
constexpr PathFragment descriptor_directory("etc/eclipse/");

/// The condition for the mode; an unknown mode has none, so it filters nothing.
bool condition_holds(Component& component, EclipseIntegrationMode mode) {
  switch (mode) {
    case Integrate:
      return component.installCondition();
    case Unintegrate:
      return component.uninstallCondition();
  }
  return true;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> get_integration_files(std::vector<Component*> components,
                                                                       EclipseIntegrationMode mode, bool filter_by_condition) {
  std::vector<std::pair<std::string, std::string>> files;
  for (Component* const component : components) {
    if (!is_usable(component)) continue;
    if (filter_by_condition && !condition_holds(*component, mode)) continue;
    const auto found = find_package(*component);
    if (!found) continue;
    for (const std::string& listed : found->provider->packageFiles(found->package)) {
      if (!descriptor_directory.occurs_in(listed)) continue;
      files.emplace_back(joined_path(component->installBase, component->installDir),
                         with_forward_slashes(without_line_ends(listed)));
      print_log("eclipse_int: found eclipse configuration: %s", files.back().second.c_str());
    }
  }
  return files;
}

std::vector<plugin_config> populate_plugin_list(EclipseIntegrationMode mode, std::vector<Component*> components,
                                                bool filter_by_condition) {
  std::vector<plugin_config> plugins;
  for (auto& file : get_integration_files(std::move(components), mode, filter_by_condition)) {
    const std::string full_name = joined_path(file.first, file.second);
    if (is_file(full_name)) {
      process_file(std::move(file), plugins);
    } else {
      print_log("eclipse_int: File %s not found", full_name.c_str());
    }
  }
  return plugins;
}

std::vector<plugin_config> populate_eclipse_list(EclipseIntegrationMode mode, std::vector<Component*> components,
                                                 bool filter_by_condition) {
  return populate_plugin_list(mode, std::move(components), filter_by_condition);
}
