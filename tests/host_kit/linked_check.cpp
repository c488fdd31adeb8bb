// A host that checks itself, as its own tests do. Its get_dirname() gives "." for a name alone; nothing else is asked.
#include <iostream>

#include "eclipse_int/host_check.h"

std::vector<Component*> TSD::components() { return {}; }
Provider* Component::provider() { return nullptr; }
bool Component::installCondition() { return false; }
bool Component::uninstallCondition() { return false; }
bool Component::getInstalled(int) { return false; }
std::string env_get_string(session_t*, const char*) { return ""; }
void env_set_string(session_t*, const char*, const char*) {}
void env_set_string(session_t*, const std::string&, const std::string&) {}
std::string expand_operand(session_t*, const char*, bool) { return ""; }
void* session_get_cdata(session_t*, char*) { return nullptr; }
bool is_gui_mode(session_t*) { return false; }
void print_log(const char*, ...) {}
std::string path(std::string text) { return text; }
std::string resolved_path(std::string text) { return text; }
bool path_is_relative(std::string) { return false; }
std::string get_basename(const std::string& path) { return path; }
std::string get_dirname(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}
bool is_file(const std::string&) { return false; }
bool file_exists(const std::string&, bool) { return false; }
char* get_file(const std::string&, int, long long*) { return nullptr; }
std::string join(std::vector<std::string>, std::string) { return ""; }
std::string join(std::set<std::string>, std::string) { return ""; }
std::string replaceAllSubstrings(const std::string& text, const std::string&, const std::string&) { return text; }
std::string get_command_output(std::string, int*, bool, std::string) { return ""; }

int main() {
  session_t session;
  eclipse_int::HostCheckOptions options;
  options.only = {"nonsense"};
  if (eclipse_int::check_host(session, options, std::cout) != 2) return 2;
  options.only = {"get_dirname"};
  return eclipse_int::check_host(session, options, std::cout);
}
