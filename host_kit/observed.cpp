#include "host_kit/observed.h"

#include <sys/stat.h>

#include <atomic>
#include <cstdlib>
#include <map>
#include <mutex>

namespace host_kit {

namespace {

constexpr ObservedOperation operations[] = {
    {"observed/variables", "While the host runs, variables read as the plug-in set them.", "Sets a session variable."},
    {"observed/catalogue", "While the host runs, the catalogue stays the same.",
     "Every component known to the session, in the host's order, which decides the order of features that give none."},
    {"observed/packages", "While the host runs, each search for a package finds the same record.",
     "`package` is a record that findPackage() of this provider returned, never null."},
    {"observed/paths", "While the host runs, path() keeps each path, and its own results.",
     "The path in the host's normalised form."},
    {"observed/files", "While the host runs, operations on files agree with the file system.", "True if the path exists."},
    {"observed/texts", "While the host runs, texts are joined and replaced correctly.",
     "`text` with every occurrence of `from` replaced by `to`, and nothing else changed."},
    {"observed/commands", "While the host runs, each command stores an exit code from 0 to 255.",
     "Runs a command line through the shell, waits until it ends, stores its exit code in `exit_status` (the code itself, not "
     "what "
     "wait() stores) and returns what it printed to standard output."},
};

std::mutex mutex;
std::map<std::string_view, Observation> seen;
std::atomic<std::size_t> commands{0};

/// Notes a call that belongs to a check, and what is wrong with its answer.
void note(std::string_view check, bool holds, const std::string& expected, const std::string& actual) {
  const std::lock_guard lock(mutex);
  Observation& observation = seen[check];
  observation.check = check;
  ++observation.calls;
  if (!holds && !observation.breach) observation.breach = Failure{expected, actual, ""};
}

void note_text(std::string_view check, const std::string& call, const std::string& expected, const std::string& actual) {
  note(check, expected == actual, call + " gives " + shown(expected), shown(actual));
}

template <typename Items>
std::string joined(const Items& items, const std::string& separator) {
  std::string text;
  std::size_t count = 0;
  for (const std::string& item : items) text += (count++ == 0 ? "" : separator) + item;
  return text;
}

std::string replaced(const std::string& text, const std::string& from, const std::string& to) {
  std::string result;
  std::size_t start = 0;
  for (std::size_t found; !from.empty() && (found = text.find(from, start)) != std::string::npos; start = found + from.size()) {
    result += text.substr(start, found - start) + to;
  }
  return result + text.substr(start);
}

}  // namespace

std::span<const ObservedOperation> observed_operations() { return operations; }

std::vector<Observation> observations() {
  const std::lock_guard lock(mutex);
  std::vector<Observation> all;
  for (const ObservedOperation& operation : operations) {
    const auto found = seen.find(operation.check);
    all.push_back(found == seen.end() ? Observation{operation.check, 0, {}} : found->second);
  }
  return all;
}

std::size_t commands_run() { return commands; }

// ---- What the plug-in calls instead of the host's operations ----

// The objects of the plug-in call "observed" and the mangled name of the operation. A member function is called as a function
// whose first argument is the object, which is the same to the machine.
#define OBSERVED(symbol) __asm__("observed" symbol)
#define STRING "NSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"

void observed_set(session_t*, const char*, const char*) OBSERVED("_Z14env_set_stringP9session_tPKcS2_");
void observed_set(session_t* session, const char* name, const char* value) {
  env_set_string(session, name, value);
  note_text("observed/variables", "env_get_string(" + shown(name) + ") after env_set_string()", value,
            env_get_string(session, name));
}

void observed_set(session_t*, const std::string&, const std::string&) OBSERVED("_Z14env_set_stringP9session_tRK" STRING "S8_");
void observed_set(session_t* session, const std::string& name, const std::string& value) {
  env_set_string(session, name, value);
  note_text("observed/variables", "env_get_string(" + shown(name) + ") after env_set_string()", value,
            env_get_string(session, name.c_str()));
}

std::vector<Component*> observed_components(TSD*) OBSERVED("_ZN3TSD10componentsEv");
std::vector<Component*> observed_components(TSD* catalogue) {
  std::vector<Component*> components = catalogue->components();
  note("observed/catalogue", components == catalogue->components(), "TSD::components(), asked again, gives the same list",
       "a different list");
  return components;
}

Provider* observed_provider(Component*) OBSERVED("_ZN9Component8providerEv");
Provider* observed_provider(Component* component) {
  Provider* const provider = component->provider();
  if (provider != nullptr && !component->code.empty()) {
    Package* const package = provider->findPackage("", component->code, "");
    note("observed/packages", package == provider->findPackage("", component->code, ""),
         "findPackage() of " + shown(component->code) + ", asked again, gives the same record", "a different one");
  }
  return provider;
}

std::string observed_path(std::string) OBSERVED("_Z4path" STRING);
std::string observed_path(std::string text) {
  std::string normalised = path(text);
  note("observed/paths", normalised.empty() == text.empty(), "path(" + shown(text) + ") keeps the path", shown(normalised));
  note_text("observed/paths", "path() of its own result", normalised, path(normalised));
  return normalised;
}

bool observed_is_file(const std::string&) OBSERVED("_Z7is_fileRK" STRING);
bool observed_is_file(const std::string& file) {
  const bool answer = is_file(file);
  struct stat status;
  const bool expected = stat(file.c_str(), &status) == 0 && S_ISREG(status.st_mode);
  note("observed/files", answer == expected, "is_file(" + shown(file) + ") gives " + shown(expected), shown(answer));
  return answer;
}

bool observed_file_exists(const std::string&, bool) OBSERVED("_Z11file_existsRK" STRING "b");
bool observed_file_exists(const std::string& file, bool option) {
  const bool answer = file_exists(file, option);
  struct stat status;
  const bool expected = stat(file.c_str(), &status) == 0;
  note("observed/files", answer == expected, "file_exists(" + shown(file) + ") gives " + shown(expected), shown(answer));
  return answer;
}

char* observed_get_file(const std::string&, int, long long*) OBSERVED("_Z8get_fileRK" STRING "iPx");
char* observed_get_file(const std::string& file, int option, long long* size) {
  char* const text = get_file(file, option, size);
  const std::string content = content_of(file);
  if (text != nullptr)
    note_text("observed/files", "get_file(" + shown(file) + ")", content.substr(0, content.find('\0')), text);
  return text;
}

std::string observed_join(std::vector<std::string>, std::string)
    OBSERVED("_Z4joinSt6vectorINSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEESaIS5_EES5_");
std::string observed_join(std::vector<std::string> items, std::string separator) {
  std::string text = join(items, separator);
  note_text("observed/texts", "join()", joined(items, separator), text);
  return text;
}

std::string observed_join(std::set<std::string>, std::string)
    OBSERVED("_Z4joinSt3setINSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEESt4lessIS5_ESaIS5_EES5_");
std::string observed_join(std::set<std::string> items, std::string separator) {
  std::string text = join(items, separator);
  note_text("observed/texts", "join()", joined(items, separator), text);
  return text;
}

std::string observed_replace(const std::string&, const std::string&, const std::string&)
    OBSERVED("_Z20replaceAllSubstringsRK" STRING "S6_S6_");
std::string observed_replace(const std::string& text, const std::string& from, const std::string& to) {
  std::string answer = replaceAllSubstrings(text, from, to);
  note_text("observed/texts", "replaceAllSubstrings()", replaced(text, from, to), answer);
  return answer;
}

std::string observed_command(std::string, int*, bool, std::string) OBSERVED("_Z18get_command_output" STRING "PibS4_");
std::string observed_command(std::string command, int* exit_status, bool option, std::string text) {
  constexpr int untouched = -77;
  const int before = *exit_status;
  *exit_status = untouched;
  ++commands;
  std::string output = get_command_output(command, exit_status, option, text);
  const int stored = *exit_status;
  note("observed/commands", stored >= 0 && stored <= 255, "the exit status of " + shown(command) + " is from 0 to 255",
       stored == untouched ? "nothing was stored" : shown(stored));
  if (stored == untouched) *exit_status = before;
  return output;
}

}  // namespace host_kit
