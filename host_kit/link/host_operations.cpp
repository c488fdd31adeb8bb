// A table of all operations that a host defines, compiled as a part of the host. An operation that is missing, or is defined
// with other types, is then a linker error that names it, instead of a loader error when the host runs; and the linker takes
// the operations out of a static library.
#include "eclipse_int/host.h"

namespace {

struct HostOperations {
  std::string (*env_get_string)(session_t*, const char*);
  void (*env_set_characters)(session_t*, const char*, const char*);
  void (*env_set_string)(session_t*, const std::string&, const std::string&);
  std::string (*expand_operand)(session_t*, const char*, bool);
  void* (*session_get_cdata)(session_t*, char*);
  bool (*is_gui_mode)(session_t*);
  std::vector<Component*> (TSD::*components)();
  Provider* (Component::*provider)();
  bool (Component::*installCondition)();
  bool (Component::*uninstallCondition)();
  bool (Component::*getInstalled)(int);
  void (*print_log)(const char*, ...);
  std::string (*path)(std::string);
  std::string (*resolved_path)(std::string);
  bool (*path_is_relative)(std::string);
  std::string (*get_basename)(const std::string&);
  std::string (*get_dirname)(const std::string&);
  bool (*is_file)(const std::string&);
  bool (*file_exists)(const std::string&, bool);
  char* (*get_file)(const std::string&, int, long long*);
  std::string (*join_vector)(std::vector<std::string>, std::string);
  std::string (*join_set)(std::set<std::string>, std::string);
  std::string (*replaceAllSubstrings)(const std::string&, const std::string&, const std::string&);
  std::string (*get_command_output)(std::string, int*, bool, std::string);
};

__attribute__((used)) const HostOperations host_operations = {
    &env_get_string,
    &env_set_string,
    &env_set_string,
    &expand_operand,
    &session_get_cdata,
    &is_gui_mode,
    &TSD::components,
    &Component::provider,
    &Component::installCondition,
    &Component::uninstallCondition,
    &Component::getInstalled,
    &print_log,
    &path,
    &resolved_path,
    &path_is_relative,
    &get_basename,
    &get_dirname,
    &is_file,
    &file_exists,
    &get_file,
    &join,
    &join,
    &replaceAllSubstrings,
    &get_command_output,
};

}  // namespace
