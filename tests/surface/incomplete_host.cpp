// incomplete_host LIBRARY: a host that loads the plug-in without asking that every operation be found at once. Which operations
// it has is chosen when it is linked. Prints the dynamic linker's refusal and ends with 1; ends with 0 when there is none.
#include <dlfcn.h>

#include <cstdio>

#include "eclipse_int/host.h"

bool Component::installCondition() { return false; }
bool Component::uninstallCondition() { return false; }
bool Component::getInstalled(int) { return false; }
Provider* Component::provider() { return nullptr; }
std::vector<Component*> TSD::components() { return {}; }

std::string env_get_string(session_t*, const char*) { return ""; }
void env_set_string(session_t*, const char*, const char*) {}
void env_set_string(session_t*, const std::string&, const std::string&) {}
std::string expand_operand(session_t*, const char*, bool) { return ""; }
void* session_get_cdata(session_t*, char*) { return nullptr; }
bool is_gui_mode(session_t*) { return false; }
void print_log(const char*, ...) {}
std::string path(std::string) { return ""; }
std::string resolved_path(std::string) { return ""; }
bool path_is_relative(std::string) { return false; }
std::string get_basename(const std::string&) { return ""; }
std::string get_dirname(const std::string&) { return ""; }
bool is_file(const std::string&) { return false; }
bool file_exists(const std::string&, bool) { return false; }
char* get_file(const std::string&, int, long long*) { return nullptr; }
std::string join(std::vector<std::string>, std::string) { return ""; }
std::string join(std::set<std::string>, std::string) { return ""; }
std::string replaceAllSubstrings(const std::string&, const std::string&, const std::string&) { return ""; }
std::string get_command_output(std::string, int*, bool, std::string) { return ""; }

int main(int, char** arguments) {
  if (dlopen(arguments[1], RTLD_LAZY | RTLD_LOCAL) != nullptr) return 0;
  std::puts(dlerror());
  return 1;
}
