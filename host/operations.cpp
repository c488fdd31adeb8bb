// The host operations that the plug-in asks for, on the active session and the real file system.
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <new>
#include <stdexcept>

#include "host/session.h"

using eclipse_host::CatalogueComponent;
using eclipse_host::HostCall;
using eclipse_host::Session;

namespace {

Session* active = nullptr;

Session& active_session() {
  if (active == nullptr) throw std::logic_error("a host operation was called without an active session");
  return *active;
}

/// The session that an operation was told, which has to be the active one.
Session& session_from(const session_t* told) {
  if (told != &active_session()) throw std::logic_error("a host operation was given another session than the active one");
  return *active;
}

bool is_watched() { return static_cast<bool>(active_session().on_call); }

template <typename... Texts>
void look(const char* operation, const Texts&... arguments) {
  if (is_watched()) active_session().on_call(HostCall{operation, {std::string(arguments)...}});
}

CatalogueComponent& catalogue_component(Component* component) { return *static_cast<CatalogueComponent*>(component); }

/// So that a folder has one name, with a slash behind it or without. The root keeps its own.
std::string without_trailing_slashes(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path;
}

/// The bytes of a file; nothing when it cannot be read, which a folder cannot be either.
std::optional<std::string> read_bytes(const std::string& path) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) return std::nullopt;
  std::string content;
  std::array<char, 65536> piece;
  while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), file.get())) content.append(piece.data(), count);
  if (std::ferror(file.get()) != 0) return std::nullopt;
  return content;
}

template <typename Items>
std::string joined(const Items& items, const std::string& separator) {
  std::string text;
  for (const std::string& item : items) {
    if (&item != &*items.begin()) text += separator;
    text += item;
  }
  return text;
}

}  // namespace

namespace eclipse_host {

ActiveSession::ActiveSession(Session& session) : previous_(active) { active = &session; }

ActiveSession::~ActiveSession() { active = previous_; }

}  // namespace eclipse_host

// ---- The session ----

std::string env_get_string(session_t* session, const char* name) {
  look("env_get_string", name);
  return session_from(session).variable(name);
}

void env_set_string(session_t* session, const char* name, const char* value) {
  look("env_set_string", name, value);
  session_from(session).variables[name] = value;
  session_from(session).on_variable(name, value);
}

void env_set_string(session_t* session, const std::string& name, const std::string& value) {
  look("env_set_string", name, value);
  session_from(session).variables[name] = value;
  session_from(session).on_variable(name, value);
}

std::string expand_operand(session_t* session, const char* text, bool) {
  look("expand_operand", text);
  return session_from(session).expand(text);
}

void* session_get_cdata(session_t* session, char* name) {
  look("session_get_cdata", name);
  auto& capabilities = session_from(session).capabilities;
  const bool held = capabilities && std::strcmp(name, "KORU_YUM_CAPABILITY_PROVIDERS") == 0;
  return held ? &*capabilities : nullptr;
}

bool is_gui_mode(session_t* session) {
  look("is_gui_mode");
  return session_from(session).graphical;
}

// ---- The catalogue ----

std::vector<Component*> TSD::components() {
  look("TSD::components");
  if (this != &active_session().tsd)
    throw std::logic_error("a host operation was given another catalogue than the active session's");
  std::vector<Component*> components;
  for (const auto& component : active_session().components) components.push_back(component.get());
  return components;
}

Provider* Component::provider() {
  look("Component::provider", code);
  return catalogue_component(this).provider_of();
}

bool Component::installCondition() {
  look("Component::installCondition", code);
  return catalogue_component(this).selected_for_install;
}

bool Component::uninstallCondition() {
  look("Component::uninstallCondition", code);
  return catalogue_component(this).selected_for_removal;
}

bool Component::getInstalled(int) {
  look("Component::getInstalled", code);
  return catalogue_component(this).installed;
}

// ---- The log ----

void print_log(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  va_end(arguments);
  std::string line(length < 0 ? 0 : static_cast<std::size_t>(length), '\0');
  std::vsnprintf(line.data(), line.size() + 1, format, again);
  va_end(again);
  look("print_log", line);
  active_session().on_log(line);
}

// ---- Paths and files ----

std::string path(std::string text) {
  look("path", text);
  return without_trailing_slashes(std::filesystem::path(text).lexically_normal().string());
}

std::string resolved_path(std::string text) {
  look("resolved_path", text);
  std::error_code error;
  const auto resolved = std::filesystem::weakly_canonical(std::filesystem::absolute(text, error), error);
  return error ? "" : resolved.string();
}

bool path_is_relative(std::string text) {
  look("path_is_relative", text);
  return std::filesystem::path(text).is_relative();
}

std::string get_basename(const std::string& path) {
  look("get_basename", path);
  return std::filesystem::path(without_trailing_slashes(path)).filename().string();
}

std::string get_dirname(const std::string& path) {
  look("get_dirname", path);
  return std::filesystem::path(without_trailing_slashes(path)).parent_path().string();
}

bool is_file(const std::string& path) {
  look("is_file", path);
  std::error_code error;
  return std::filesystem::is_regular_file(path, error);
}

bool file_exists(const std::string& path, bool) {
  look("file_exists", path);
  std::error_code error;
  return std::filesystem::exists(path, error);
}

char* get_file(const std::string& path, int, long long* size) {
  look("get_file", path);
  const auto content = read_bytes(path);
  if (!content) return nullptr;
  auto* const buffer = static_cast<char*>(std::malloc(content->size() + 1));
  if (buffer == nullptr) throw std::bad_alloc();
  std::memcpy(buffer, content->c_str(), content->size() + 1);
  if (size != nullptr) *size = static_cast<long long>(content->size());
  return buffer;
}

// ---- Texts ----

std::string join(std::vector<std::string> items, std::string separator) {
  if (is_watched()) look("join", joined(items, ","), separator);
  return joined(items, separator);
}

std::string join(std::set<std::string> items, std::string separator) {
  if (is_watched()) look("join", joined(items, ","), separator);
  return joined(items, separator);
}

std::string replaceAllSubstrings(const std::string& text, const std::string& from, const std::string& to) {
  look("replaceAllSubstrings", text, from, to);
  if (from.empty()) return text;
  std::string replaced;
  std::size_t start = 0;
  for (std::size_t found; (found = text.find(from, start)) != std::string::npos; start = found + from.size()) {
    replaced.append(text, start, found - start).append(to);
  }
  return replaced.append(text, start);
}

// ---- Commands ----

std::string get_command_output(std::string command, int* exit_status, bool, std::string) {
  look("get_command_output", command);
  const auto& scripted = active_session().run_command;
  eclipse_host::CommandResult result = scripted ? scripted(command) : eclipse_host::run_in_shell(command);
  *exit_status = result.exit_code;
  return std::move(result.output);
}
