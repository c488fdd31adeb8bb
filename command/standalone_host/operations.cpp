// The host operations that the plug-in asks for, on the active session and the real file system.
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <stdexcept>

#include "base/file.h"
#include "base/limits.h"
#include "base/text.h"
#include "standalone_host/session.h"

using eclipse_host::CatalogueComponent;
using eclipse_host::HostCall;
using eclipse_host::Session;

namespace {

Session* active = nullptr;

Session& active_session() {
  if (active == nullptr) throw std::logic_error("a host operation was called without an active session");
  return *active;
}

/// The session that an operation was called with, which must be the active one.
Session& session_from(const session_t* session) {
  if (session != &active_session()) throw std::logic_error("a host operation was given another session than the active one");
  return *active;
}

bool is_watched() { return active_session().on_call || active_session().answers_badly; }

template <typename... Texts>
void report_call(const char* operation, const Texts&... arguments) {
  if (active_session().on_call) active_session().on_call(HostCall{operation, {std::string(arguments)...}});
}

/// Reports a call, and returns whether it is to be answered badly.
template <typename... Texts>
bool goes_badly(const char* operation, const Texts&... arguments) {
  report_call(operation, arguments...);
  const auto& answers_badly = active_session().answers_badly;
  return answers_badly && answers_badly(HostCall{operation, {std::string(arguments)...}});
}

CatalogueComponent& catalogue_component(Component* component) { return *static_cast<CatalogueComponent*>(component); }

/// A directory has one name, with a trailing slash or without. The root keeps its slash.
std::string without_trailing_slashes(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

/// Whether a path is certainly in normal form: a fast check, so that few paths must be taken apart.
bool is_plainly_normal(const std::string& path) {
  return path.find("//") == path.npos && path.find("/.") == path.npos && !path.starts_with('.') && !path.ends_with('/');
}

}  // namespace

namespace eclipse_host {

ActiveSession::ActiveSession(Session& session) : previous_(active) { active = &session; }

ActiveSession::~ActiveSession() { active = previous_; }

}  // namespace eclipse_host

// ---- The session ----

std::string env_get_string(session_t* session, const char* name) {
  if (goes_badly("env_get_string", name)) return {};
  return session_from(session).variable(name);
}

void env_set_string(session_t* session, const char* name, const char* value) {
  report_call("env_set_string", name, value);
  session_from(session).variables[name] = value;
  session_from(session).on_variable(name, value);
}

void env_set_string(session_t* session, const std::string& name, const std::string& value) {
  report_call("env_set_string", name, value);
  session_from(session).variables[name] = value;
  session_from(session).on_variable(name, value);
}

std::string expand_operand(session_t* session, const char* text, bool) {
  if (goes_badly("expand_operand", text)) return {};
  return session_from(session).expand(text);
}

void* session_get_cdata(session_t* session, char* name) {
  if (goes_badly("session_get_cdata", name)) return nullptr;
  auto& capabilities = session_from(session).capabilities;
  const bool held = capabilities && std::strcmp(name, "KORU_YUM_CAPABILITY_PROVIDERS") == 0;
  return held ? &*capabilities : nullptr;
}

bool is_gui_mode(session_t* session) {
  if (goes_badly("is_gui_mode")) return false;
  return session_from(session).graphical;
}

// ---- The catalogue ----

std::vector<Component*> TSD::components() {
  if (goes_badly("TSD::components")) return {};
  if (this != &active_session().tsd)
    throw std::logic_error("a host operation was given another catalogue than the active session's");
  std::vector<Component*> components;
  for (const auto& component : active_session().components) components.push_back(component.get());
  return components;
}

Provider* Component::provider() {
  if (goes_badly("Component::provider", code)) return nullptr;
  return catalogue_component(this).provider_of();
}

bool Component::installCondition() {
  if (goes_badly("Component::installCondition", code)) return false;
  return catalogue_component(this).selected_for_install;
}

bool Component::uninstallCondition() {
  if (goes_badly("Component::uninstallCondition", code)) return false;
  return catalogue_component(this).selected_for_removal;
}

bool Component::getInstalled(int) {
  if (goes_badly("Component::getInstalled", code)) return false;
  return catalogue_component(this).installed;
}

// ---- The log ----

void print_log(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  char* formatted = nullptr;
  const int length = vasprintf(&formatted, format, arguments);
  va_end(arguments);
  // Mostly for want of memory. An empty line would say that the plug-in did something else.
  if (length < 0) throw std::bad_alloc();
  const std::unique_ptr<char, void (*)(void*)> owner(formatted, &std::free);
  const std::string line(owner.get(), static_cast<std::size_t>(length));
  report_call("print_log", line);
  active_session().on_log(line);
}

// ---- Paths and files ----

std::string path(std::string text) {
  if (goes_badly("path", text)) return {};
  if (!is_plainly_normal(text)) text = without_trailing_slashes(std::filesystem::path(text).lexically_normal().string());
  const auto& replace = active_session().replace_path;
  if (replace) return replace(std::move(text));
  return text;
}

std::string resolved_path(std::string text) {
  if (goes_badly("resolved_path", text)) return {};
  std::error_code error;
  const auto resolved = std::filesystem::weakly_canonical(std::filesystem::absolute(text, error), error);
  return error ? "" : resolved.string();
}

bool path_is_relative(std::string text) {
  if (goes_badly("path_is_relative", text)) return false;
  return std::filesystem::path(text).is_relative();
}

std::string get_basename(const std::string& path) {
  if (goes_badly("get_basename", path)) return {};
  return std::filesystem::path(without_trailing_slashes(path)).filename().string();
}

std::string get_dirname(const std::string& path) {
  if (goes_badly("get_dirname", path)) return {};
  return std::filesystem::path(without_trailing_slashes(path)).parent_path().string();
}

bool is_file(const std::string& path) {
  if (goes_badly("is_file", path)) return false;
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

bool file_exists(const std::string& path, bool) {
  if (goes_badly("file_exists", path)) return false;
  std::error_code error;
  return std::filesystem::exists(path, error);
}

char* get_file(const std::string& path, int, long long* size) {
  if (goes_badly("get_file", path)) return nullptr;
  const eclipse_base::FileContent content = eclipse_base::read_file(path, eclipse_base::largest::configuration);
  if (!content.error.empty()) return nullptr;
  auto* const buffer = static_cast<char*>(std::malloc(content.bytes.size() + 1));
  if (buffer == nullptr) throw std::bad_alloc();
  std::memcpy(buffer, content.bytes.c_str(), content.bytes.size() + 1);
  if (size != nullptr) *size = static_cast<long long>(content.bytes.size());
  if (const auto& seen = active_session().on_file_buffer) seen(buffer);
  return buffer;
}

// ---- Texts ----

std::string join(std::vector<std::string> items, std::string separator) {
  if (is_watched() && goes_badly("join", eclipse_base::joined(items, ","), separator)) return {};
  return eclipse_base::joined(items, separator);
}

std::string join(std::set<std::string> items, std::string separator) {
  if (is_watched() && goes_badly("join", eclipse_base::joined(items, ","), separator)) return {};
  return eclipse_base::joined(items, separator);
}

std::string replaceAllSubstrings(const std::string& text, const std::string& from, const std::string& to) {
  if (goes_badly("replaceAllSubstrings", text, from, to)) return {};
  return eclipse_base::replaced(text, from, to);
}

// ---- Commands ----

std::string get_command_output(std::string command, int* exit_status, bool, std::string) {
  if (goes_badly("get_command_output", command)) {
    *exit_status = 1;
    return {};
  }
  const auto& scripted = active_session().run_command;
  eclipse_shell::CommandResult result = scripted ? scripted(command) : eclipse_shell::run_in_shell(command);
  *exit_status = result.exit_code;
  return std::move(result.output);
}
