// Built once for each library. The linker fills the table, so nobody has to write mangled names, and since a module is loaded
// with its own dependencies as its scope, each table gets the exports of its own library.
#include "exports/exports.h"

extern "C" {
ECLIPSE_INT_EXPORT extern const exports::Table exports_table;
const exports::Table exports_table = {
    &eclipse_integration_required,
    &find_eclipse_ide,
    &define_eclipse_path,
    &verify_user_defined_eclipse_path,
    &user_eclipse_version,
    &verify_eclipse_version,
    &perform_integration,
    &perform_unintegration,
    &get_component_by_code_predicate,
    &get_component_by_content_predicate,
    &get_ide_components,
    &find_eclipse_executable,
    &get_integration_files,
    &populate_plugin_list,
    &populate_eclipse_list,
    &split_by_tabs,
    &process_file,
    &populate_lists,
    &add_unique,
    &integrate_into_instance,
    &unintegrate_from_instance,
    &UNDEFINED_ORDER,
};
}
