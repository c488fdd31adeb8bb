#include "session.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>

thread_local Session* session_of_thread = nullptr;

namespace {

Session& own(session_t* session) { return *static_cast<Session*>(session); }

/// The components that the plug-in passes are those that it got from here.
Product& own(Component* component) { return *static_cast<Product*>(component); }

}  // namespace

// ---- Packages ----

Package* Catalogue::findPackage(const std::string&, const std::string& code, const std::string&) {
  for (Product& product : session_.products) {
    if (product.code == code) return &product.package;
  }
  return nullptr;
}

std::vector<std::string> Catalogue::packageFiles(Package* package) {
  for (const Product& product : session_.products) {
    if (&product.package == package) return product.files;
  }
  return {};
}

std::string Catalogue::rootPath() { return session_.root; }

// ---- Components ----

std::vector<Component*> TSD::components() {
  // `this` is the address of the first member of a session_t, and so of the session.
  Session& session = own(reinterpret_cast<session_t*>(this));
  std::vector<Component*> components;
  for (Product& product : session.products) components.push_back(&product);
  return components;
}

// A component does not know its session, so it is asked for on the thread that runs it.
Provider* Component::provider() { return &session_of_thread->catalogue; }
bool Component::installCondition() { return own(this).selected_for_install; }
bool Component::uninstallCondition() { return own(this).selected_for_removal; }
bool Component::getInstalled(int) { return own(this).installed; }

// ---- Variables and data ----

std::string env_get_string(session_t* session, const char* name) {
  const auto found = own(session).variables.find(name);
  return found == own(session).variables.end() ? "" : found->second;
}

void env_set_string(session_t* session, const std::string& name, const std::string& value) {
  own(session).variables[name] = value;
}
void env_set_string(session_t* session, const char* name, const char* value) {
  env_set_string(session, std::string(name), std::string(value));
}

std::string expand_operand(session_t* session, const char* text, bool) {
  const std::string operand = text;
  std::string expanded;
  std::size_t start = 0;
  for (std::size_t open; (open = operand.find("${", start)) != std::string::npos;) {
    const std::size_t close = operand.find('}', open);
    if (close == std::string::npos) break;
    expanded += operand.substr(start, open - start);
    expanded += env_get_string(session, operand.substr(open + 2, close - open - 2).c_str());
    start = close + 1;
  }
  return expanded + operand.substr(start);
}

void* session_get_cdata(session_t* session, char* name) {
  return std::strcmp(name, "KORU_YUM_CAPABILITY_PROVIDERS") == 0 ? &own(session).capabilities : nullptr;
}

bool is_gui_mode(session_t*) { return false; }

// ---- The log ----

void print_log(const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  va_list again;
  va_copy(again, arguments);
  // The first call says how long the line is: the output of a director has any length.
  const int length = std::vsnprintf(nullptr, 0, format, arguments);
  std::string line(length < 0 ? 0 : static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(&line[0], line.size(), format, again);
  va_end(again);
  va_end(arguments);
  session_of_thread->log << line.c_str() << std::endl;
}
