// The operations on a session, for a host with one session, no components and no graphical interface.
#include <sys/wait.h>

#include <cstdarg>
#include <cstdio>
#include <map>

#include "eclipse_int/host.h"

namespace {

std::map<std::string, std::string> variables;

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
  const std::string operand = text;  // "${NAME}"
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
