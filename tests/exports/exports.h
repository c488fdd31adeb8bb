// The exports of the plug-in, and the same exports of the reference model, in one process.
#ifndef ECLIPSE_INT_TESTS_EXPORTS_EXPORTS_H
#define ECLIPSE_INT_TESTS_EXPORTS_EXPORTS_H

#include <array>
#include <string_view>

#include "eclipse_int/eclipse_int.h"

namespace exports {

/// What a library exports. Each field has the name and the type of the export.
struct Table {
  decltype(&::eclipse_integration_required) eclipse_integration_required;
  decltype(&::find_eclipse_ide) find_eclipse_ide;
  decltype(&::define_eclipse_path) define_eclipse_path;
  decltype(&::verify_user_defined_eclipse_path) verify_user_defined_eclipse_path;
  decltype(&::user_eclipse_version) user_eclipse_version;
  decltype(&::verify_eclipse_version) verify_eclipse_version;
  decltype(&::perform_integration) perform_integration;
  decltype(&::perform_unintegration) perform_unintegration;
  decltype(&::get_component_by_code_predicate) get_component_by_code_predicate;
  decltype(&::get_component_by_content_predicate) get_component_by_content_predicate;
  decltype(&::get_ide_components) get_ide_components;
  decltype(&::find_eclipse_executable) find_eclipse_executable;
  decltype(&::get_integration_files) get_integration_files;
  decltype(&::populate_plugin_list) populate_plugin_list;
  decltype(&::populate_eclipse_list) populate_eclipse_list;
  decltype(&::split_by_tabs) split_by_tabs;
  decltype(&::process_file) process_file;
  decltype(&::populate_lists) populate_lists;
  decltype(&::add_unique) add_unique;
  decltype(&::integrate_into_instance) integrate_into_instance;
  decltype(&::unintegrate_from_instance) unintegrate_from_instance;
  decltype(&::UNDEFINED_ORDER) UNDEFINED_ORDER;
};

/// Each loads its library when it is called first. The two do not see each other's names.
const Table& plug_in();
const Table& model();

struct Action {
  std::string_view name;
  int (*Table::*call)(session_t*);
};

inline constexpr std::array<Action, 8> actions = {{
    {"eclipse_integration_required", &Table::eclipse_integration_required},
    {"find_eclipse_ide", &Table::find_eclipse_ide},
    {"define_eclipse_path", &Table::define_eclipse_path},
    {"verify_user_defined_eclipse_path", &Table::verify_user_defined_eclipse_path},
    {"user_eclipse_version", &Table::user_eclipse_version},
    {"verify_eclipse_version", &Table::verify_eclipse_version},
    {"perform_integration", &Table::perform_integration},
    {"perform_unintegration", &Table::perform_unintegration},
}};

}  // namespace exports

#endif
