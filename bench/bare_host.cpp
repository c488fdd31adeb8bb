#include "bench/bare_host.h"

#include <sys/stat.h>

#include <ctime>
#include <stdexcept>

using bench::BareComponent;
using bench::BareSession;

namespace {

bool every_file_exists = false;
double package_files_time = 0;

BareSession& bare(session_t* session) { return *static_cast<BareSession*>(session); }

bool has_type(const std::string& path, mode_t type) {
  struct stat status;
  return stat(path.c_str(), &status) == 0 && (status.st_mode & S_IFMT & type) == type;
}

[[noreturn]] void not_measured(const char* operation) {
  throw std::logic_error(std::string("no measured case calls ") + operation);
}

template <typename Items>
std::string joined(const Items& items, const std::string& separator) {
  std::string text;
  for (const std::string& item : items) {
    if (!text.empty()) text += separator;
    text += item;
  }
  return text;
}

}  // namespace

namespace bench {

EveryFileExists::EveryFileExists() { every_file_exists = true; }

EveryFileExists::~EveryFileExists() { every_file_exists = false; }

std::vector<std::string> BareComponent::packageFiles(Package*) {
  if (hands_over) return std::move(files);
  const double start = processor_time();
  std::vector<std::string> copy = files;
  package_files_time += processor_time() - start;
  return copy;
}

double processor_time() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

double time_in_package_files() { return package_files_time; }

std::string& last_command() {
  static std::string command;
  return command;
}

}  // namespace bench

std::string env_get_string(session_t* session, const char* name) { return bare(session).variables[name]; }
void env_set_string(session_t* session, const char* name, const char* value) { bare(session).variables[name] = value; }
void env_set_string(session_t* session, const std::string& name, const std::string& value) {
  bare(session).variables[name] = value;
}
std::string expand_operand(session_t*, const char*, bool) { not_measured("expand_operand"); }
void* session_get_cdata(session_t* session, char*) { return &bare(session).capabilities; }
bool is_gui_mode(session_t*) { return false; }

// The catalogue is the first member of its session.
std::vector<Component*> TSD::components() { return bare(reinterpret_cast<session_t*>(this)).components; }
Provider* Component::provider() { return static_cast<BareComponent*>(this); }
bool Component::installCondition() { return true; }
bool Component::uninstallCondition() { return true; }
bool Component::getInstalled(int) { return true; }

void print_log(const char*, ...) {}

std::string path(std::string text) { return text; }
std::string resolved_path(std::string text) { return text; }
bool path_is_relative(std::string text) { return !text.starts_with('/'); }
std::string get_basename(const std::string& path) { return path.substr(path.rfind('/') + 1); }
std::string get_dirname(const std::string& path) { return path.substr(0, path.rfind('/')); }
bool is_file(const std::string& path) { return every_file_exists || has_type(path, S_IFREG); }
bool file_exists(const std::string& path, bool) { return has_type(path, 0); }
char* get_file(const std::string&, int, long long*) { not_measured("get_file"); }

std::string join(std::vector<std::string> items, std::string separator) { return joined(items, separator); }
std::string join(std::set<std::string> items, std::string separator) { return joined(items, separator); }
std::string replaceAllSubstrings(const std::string&, const std::string&, const std::string&) {
  not_measured("replaceAllSubstrings");
}

std::string get_command_output(std::string command, int* exit_status, bool, std::string) {
  *exit_status = 0;
  bench::last_command() = std::move(command);
  return "";
}
