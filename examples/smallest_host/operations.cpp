// Every operation of the host interface, for a host with one session, no components and no graphical interface.
#include <sys/stat.h>
#include <sys/wait.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>

#include "eclipse_int/host.h"

namespace {

std::map<std::string, std::string> variables;

bool status_of(const std::string& path, struct stat& status) { return stat(path.c_str(), &status) == 0; }

template <typename Items>
std::string joined(const Items& items, const std::string& separator) {
  std::string text;
  bool is_first = true;
  for (const std::string& item : items) {
    if (!is_first) text += separator;
    text += item;
    is_first = false;
  }
  return text;
}

std::string without_trailing_slashes(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

}  // namespace

std::vector<Component*> TSD::components() { return {}; }
Provider* Component::provider() { return nullptr; }
bool Component::installCondition() { return false; }
bool Component::uninstallCondition() { return false; }
bool Component::getInstalled(int) { return false; }

std::string env_get_string(session_t*, const char* name) { return variables[name]; }
void env_set_string(session_t*, const char* name, const char* value) { variables[name] = value; }
void env_set_string(session_t*, const std::string& name, const std::string& value) { variables[name] = value; }
std::string expand_operand(session_t*, const char* text, bool) {
  const std::string operand = text;
  return operand.size() > 3 ? variables[operand.substr(2, operand.size() - 3)] : "";
}
void* session_get_cdata(session_t*, char*) { return nullptr; }
bool is_gui_mode(session_t*) { return false; }

void print_log(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  std::vprintf(format, arguments);
  va_end(arguments);
  std::printf("\n");
}

std::string path(std::string text) { return text; }
std::string resolved_path(std::string text) {
  char* const resolved = realpath(text.c_str(), nullptr);
  const std::string result = resolved != nullptr ? resolved : "";
  std::free(resolved);
  return result;
}
bool path_is_relative(std::string text) { return text.empty() || text[0] != '/'; }
std::string get_basename(const std::string& path) {
  const std::string name = without_trailing_slashes(path);
  return name.substr(name.rfind('/') + 1);
}
std::string get_dirname(const std::string& path) {
  const std::string name = without_trailing_slashes(path);
  const std::size_t slash = name.rfind('/');
  return slash == std::string::npos ? "" : without_trailing_slashes(name.substr(0, slash + 1));
}
bool is_file(const std::string& path) {
  struct stat status;
  return status_of(path, status) && S_ISREG(status.st_mode);
}
bool file_exists(const std::string& path, bool) {
  struct stat status;
  return status_of(path, status);
}
char* get_file(const std::string& path, int, long long* size) {
  std::FILE* const file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return nullptr;
  std::string content;
  for (int c; (c = std::fgetc(file)) != EOF;) content += static_cast<char>(c);
  const bool is_whole = std::ferror(file) == 0;  // a directory can be opened, but not read
  std::fclose(file);
  char* const buffer = is_whole ? static_cast<char*>(std::malloc(content.size() + 1)) : nullptr;
  if (buffer == nullptr) return nullptr;
  std::memcpy(buffer, content.c_str(), content.size() + 1);
  if (size != nullptr) *size = static_cast<long long>(content.size());
  return buffer;
}

std::string join(std::vector<std::string> items, std::string separator) { return joined(items, separator); }
std::string join(std::set<std::string> items, std::string separator) { return joined(items, separator); }
std::string replaceAllSubstrings(const std::string& text, const std::string& from, const std::string& to) {
  if (from.empty()) return text;
  std::string replaced;
  std::size_t start = 0;
  for (std::size_t found; (found = text.find(from, start)) != std::string::npos; start = found + from.size()) {
    replaced += text.substr(start, found - start) + to;
  }
  return replaced + text.substr(start);
}

std::string get_command_output(std::string command, int* exit_status, bool, std::string) {
  std::string output;
  // The shell would get only what is before a zero byte, which is another command.
  const bool is_whole = command.find('\0') == std::string::npos;
  std::FILE* const pipe = is_whole ? popen(command.c_str(), "r") : nullptr;
  if (pipe == nullptr) {
    *exit_status = 127;
    return output;
  }
  for (int c; (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
  const int status = pclose(pipe);
  *exit_status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  return output;
}
