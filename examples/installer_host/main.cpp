// installer_host LIBRARY DIRECTORY PRODUCT=ECLIPSE...: installs the features of products that are installed in DIRECTORY, each
// into the Eclipse instance with that executable. Each has a session and a thread of its own. Ctrl-C cancels all runs.
#include <dlfcn.h>
#include <signal.h>

#include <cstdio>
#include <filesystem>
#include <list>
#include <thread>

#include "session.h"

namespace {

void* library = nullptr;
std::list<Session> sessions;

int call(const char* action, Session& session) {
  void* const symbol = dlsym(library, action);
  if (symbol == nullptr) throw std::runtime_error(dlerror());
  return reinterpret_cast<int (*)(session_t*)>(symbol)(&session);
}

/// What a graphical installer knows from its catalogue and its user.
void prepare(Session& session, const std::string& directory, const std::string& product, const std::string& eclipse) {
  session.root = std::filesystem::absolute(directory).string();
  session.log.open(session.root + "/" + product + ".log");
  Product& component = session.products.emplace_back();
  component.code = product;
  component.installBase = session.root;
  component.installDir = product;
  component.selected_for_install = true;
  component.package.prefix = product;
  for (const auto& file : std::filesystem::recursive_directory_iterator(session.root + "/" + product)) {
    if (file.is_regular_file())
      component.files.push_back(std::filesystem::relative(file, session.root + "/" + product).string());
  }
  session.capabilities[product + "_ECLIPSE_PLUGIN"] = &component;
  session.variables["KORU_MODE"] = "install";
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  session.variables["ECLIPSE_BIN"] = "eclipse";
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = eclipse;
  session.variables["ECLIPSE_MIN_SUPPORTED_VERSION"] = "4.7";
  session.variables["eclipse_integration_failed_title"] = "These features could not be installed into Eclipse:";
}

/// The actions in their order; the text for the user, empty if all is well.
std::string integrate(Session& session) {
  std::map<std::string, std::string>& variables = session.variables;
  // The plug-in resets nothing: what an earlier run left would be taken for the result of this one.
  for (const char* const result :
       {"QN_SCRIPTS_FAILED", "QN_SCRIPTS_COMPLETE_DESC", "ECLIPSE_VERSION", "ECLIPSE_VERSION_IS_SUPPORTED"}) {
    variables.erase(result);
  }
  call("eclipse_integration_required", session);
  call("find_eclipse_ide", session);
  if (variables["ECLIPSE_INTEGRATION_REQUIRED"] != "yes") return "";
  call("verify_eclipse_version", session);
  if (variables["USER_DEFINED_ECLIPSE_PATH_CORRECT"] != "yes") return "This is not an Eclipse executable.";
  if (variables["ECLIPSE_VERSION_IS_SUPPORTED"] == "no") return "Version " + variables["ECLIPSE_VERSION"] + " is too old.";
  call("define_eclipse_path", session);
  // The result is that of the last director: 0 does not say that every feature is installed. The variable does.
  const int result = call("perform_integration", session);
  if (session.is_cancelled) return "Cancelled.";
  // From now on the instance is known: the next run installs only the components that it selects.
  if (session.commands_that_succeeded > 0) variables["CASHED_ECLIPSE_PATH"] = variables["USER_DEFINED_ECLIPSE_PATH"];
  if (result != 0 || variables["QN_SCRIPTS_FAILED"] == "yes") return variables["QN_SCRIPTS_COMPLETE_DESC"];
  return "";
}

void run(Session& session, std::string& message) {
  session_of_thread = &session;
  try {
    message = integrate(session);
  } catch (const std::exception& error) {
    message = error.what();  // memory that ran out, or what an operation threw, comes through the plug-in
  }
}

void cancel(int) {
  for (Session& session : sessions) session.is_cancelled = true;
}

}  // namespace

int main(int count, char** arguments) {
  library = count > 3 ? dlopen(arguments[1], RTLD_NOW) : nullptr;
  if (library == nullptr) {
    std::fprintf(stderr, "usage: %s LIBRARY DIRECTORY PRODUCT=ECLIPSE...\n%s\n", arguments[0], count > 3 ? dlerror() : "");
    return 2;
  }
  std::list<std::string> messages;
  for (int i = 3; i < count; ++i) {
    const std::string argument = arguments[i];
    const std::size_t equals = argument.find('=');
    prepare(sessions.emplace_back(), arguments[2], argument.substr(0, equals), argument.substr(equals + 1));
    messages.emplace_back();
  }
  signal(SIGINT, cancel);
  std::list<std::thread> threads;
  auto message = messages.begin();
  for (Session& session : sessions) threads.emplace_back(run, std::ref(session), std::ref(*message++));
  for (std::thread& thread : threads) thread.join();
  int failures = 0;
  message = messages.begin();
  for (const Session& session : sessions) {
    failures += message->empty() ? 0 : 1;
    std::printf("%s: %s\n", session.products.front().code.c_str(), message->empty() ? "done" : message->c_str());
    ++message;
  }
  return failures == 0 ? 0 : 1;
}
