#include "differential/planned_session.h"

#include <filesystem>

#include "differential/observed_session.h"
#include "fake_host/temporary_directory.h"

namespace differential {

namespace {

std::string line_of(const PlannedFile& file) {
  const std::string line = "  " + readable(file.path);
  switch (file.kind) {
    case PlannedFile::Kind::directory:
      return line + " is a directory\n";
    case PlannedFile::Kind::dangling_link:
      return line + " is a link to nowhere\n";
    case PlannedFile::Kind::file:
      break;
  }
  return line + " holds " + readable(file.content) + "\n";
}

std::string line_of(const std::optional<PlannedComponent>& component) {
  if (!component) return "  null\n";
  std::string text =
      "  " + readable(component->code) + " in " + readable(component->installBase) + "/" + readable(component->installDir);
  text += component->install ? ", install" : "";
  text += component->remove ? ", remove" : "";
  text += component->installed ? ", installed" : "";
  text += component->has_provider ? "" : ", without provider";
  if (const auto& package = component->package) {
    text += ", package with prefix " + readable(package->prefix) + ", root " + readable(package->root) + ", files " +
            readable(package->files);
  }
  return text + "\n";
}

std::string readable_capabilities(const PlannedSession& plan) {
  if (!plan.capabilities) return "No capability map.\n";
  std::string text = "Capabilities:\n";
  for (const auto& [name, place] : *plan.capabilities) {
    text += "  " + readable(name) + " of " + (place ? "component " + std::to_string(*place + 1) : "null") + "\n";
  }
  return text;
}

/// A step that calls a function with all components of the session, and shows its result.
template <typename Call>
Step component_step(const std::string& text, const Call& call) {
  return {text, [call](const exports::Table& library, ObservedSession& session) {
            return readable(call(library, session.catalogue()));
          }};
}

std::string arguments(int mode, bool filter_by_condition) {
  return "(" + std::to_string(mode) + ", " + readable(filter_by_condition) + ")";
}

}  // namespace

std::string readable(const PlannedSession& plan) {
  std::string text = "Files:\n";
  for (const PlannedFile& file : plan.files) text += line_of(file);
  text += "Components:\n";
  for (const auto& component : plan.components) text += line_of(component);
  text += readable_capabilities(plan);
  text += plan.graphical ? "Variables, with a graphical interface:\n" : "Variables:\n";
  for (const auto& [name, value] : plan.variables) text += "  " + name + " = " + readable(value) + "\n";
  text += "Commands come to:\n";
  for (const auto& result : plan.results) text += "  " + readable(result.exit_code) + " " + readable(result.output) + "\n";
  if (!plan.failing_operation.empty()) text += "Answered badly: " + plan.failing_operation + "\n";
  text += "Steps:\n";
  for (const Step& step : plan.steps) text += "  " + step.text + "\n";
  return text;
}

void write_files(const PlannedSession& plan) {
  for (const PlannedFile& file : plan.files) {
    if (std::filesystem::exists(std::filesystem::symlink_status(file.path))) continue;
    std::filesystem::create_directories(std::filesystem::path(file.path).parent_path());
    switch (file.kind) {
      case PlannedFile::Kind::directory:
        std::filesystem::create_directory(file.path);
        break;
      case PlannedFile::Kind::dangling_link:
        std::filesystem::create_symlink("nowhere", file.path);
        break;
      case PlannedFile::Kind::file:
        fake::write_file(file.path, file.content);
    }
  }
}

Step call_action(const exports::Action& action) {
  return {std::string(action.name), [action](const exports::Table& library, ObservedSession& session) {
            return readable((library.*action.call)(&session));
          }};
}

Step set_variable(const std::string& name, const std::string& value) {
  return {name + " = " + readable(value), [name, value](const exports::Table&, ObservedSession& session) {
            session.variables[name] = value;
            return std::string();
          }};
}

Step integrate_into(const std::string& executable) {
  return {"integrate_into_instance(" + readable(executable) + ")",
          [executable](const exports::Table& library, ObservedSession& session) {
            return readable(library.integrate_into_instance(&session, executable));
          }};
}

Step unintegrate_from(const std::string& executable) {
  return {"unintegrate_from_instance(" + readable(executable) + ")",
          [executable](const exports::Table& library, ObservedSession& session) {
            return readable(library.unintegrate_from_instance(&session, executable));
          }};
}

Step match_codes(const std::string& prefix) {
  return component_step("get_component_by_code_predicate(" + readable(prefix) + ")",
                        [prefix](const exports::Table& library, const std::vector<Component*>& components) {
                          std::vector<Component*> chosen;
                          for (Component* const component : components) {
                            if (library.get_component_by_code_predicate(prefix, component)) chosen.push_back(component);
                          }
                          return chosen;
                        });
}

Step match_contents(const std::string& pattern) {
  return component_step("get_component_by_content_predicate(" + readable(pattern) + ")",
                        [pattern](const exports::Table& library, const std::vector<Component*>& components) {
                          std::vector<Component*> chosen;
                          for (Component* const component : components) {
                            if (library.get_component_by_content_predicate(pattern, component)) chosen.push_back(component);
                          }
                          return chosen;
                        });
}

Step list_ide_components() {
  return {"get_ide_components", [](const exports::Table& library, ObservedSession& session) {
            return readable(library.get_ide_components(&session));
          }};
}

Step find_executable(const std::string& name) {
  return component_step("find_eclipse_executable(" + readable(name) + ")",
                        [name](const exports::Table& library, const std::vector<Component*>& components) {
                          return library.find_eclipse_executable(name, components);
                        });
}

Step list_integration_files(int mode, bool filter_by_condition) {
  return component_step("get_integration_files" + arguments(mode, filter_by_condition),
                        [=](const exports::Table& library, const std::vector<Component*>& components) {
                          return library.get_integration_files(components, static_cast<EclipseIntegrationMode>(mode),
                                                               filter_by_condition);
                        });
}

Step list_plugins(int mode, bool filter_by_condition) {
  return component_step("populate_plugin_list" + arguments(mode, filter_by_condition),
                        [=](const exports::Table& library, const std::vector<Component*>& components) {
                          return library.populate_plugin_list(static_cast<EclipseIntegrationMode>(mode), components,
                                                              filter_by_condition);
                        });
}

Step list_eclipses(int mode, bool filter_by_condition) {
  return component_step("populate_eclipse_list" + arguments(mode, filter_by_condition),
                        [=](const exports::Table& library, const std::vector<Component*>& components) {
                          return library.populate_eclipse_list(static_cast<EclipseIntegrationMode>(mode), components,
                                                               filter_by_condition);
                        });
}

Step read_descriptor(const std::string& directory, const std::string& file) {
  return {"process_file(" + readable(directory) + ", " + readable(file) + ")",
          [directory, file](const exports::Table& library, ObservedSession&) {
            // What is in the list before has to stay.
            std::vector<plugin_config> records = {{"earlier", "", "", "", ""}};
            library.process_file({directory, file}, records);
            return readable(records);
          }};
}

}  // namespace differential
