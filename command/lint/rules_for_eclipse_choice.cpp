// Rules about which Eclipse a session changes: the choice, the executable and its version.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <set>

#include "base/json_document.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/sample_products.h"
#include "lint/texts.h"

namespace fs = std::filesystem;
using eclipse_base::in_quotes;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

constexpr std::string_view not_installed =
    "eclipse_int: eclipse is not installed and there is not need to perform any integration action";

bool is_choice(const SessionFacts& facts, std::string_view choice) {
  return facts.variable("ECLIPSE_INTEGRATION_CHOICE") == choice;
}

// ---- The executable ----

void check_executable(const Input& input, Reporter& reporter) {
  if (!input.session || !input.session->run.refusal.empty()) return;
  const SessionFacts& facts = *input.session;
  const std::string executable = facts.executable();
  if (executable.empty()) return;
  const Location& location = facts.location_of(is_choice(facts, "user") ? "USER_DEFINED_ECLIPSE_PATH" : "ECLIPSE_BIN");
  const std::size_t odd = executable.find_first_of(std::string(special_without_quotes) + " \t?");
  std::error_code error;
  if (odd != std::string::npos) {
    reporter.report(location, in_quotes(executable) + " has a space or another of the shell's own characters in it");
  } else if (fs::is_directory(executable, error)) {
    reporter.report(location, in_quotes(executable) + " is a directory", "name the executable in it");
  } else if (fs::exists(executable, error) && access(executable.c_str(), X_OK) != 0) {
    reporter.report(location, in_quotes(executable) + " is not executable", "make it executable: chmod +x");
  }
}

bool is_path(const std::string& executable_name) { return executable_name.find_first_of("/\\") != std::string::npos; }

bool is_plain_path(std::string_view path) {
  return path.find('\\') == path.npos && !path.ends_with('\n') && !path.ends_with('\r');
}

void check_user_path(const Input& input, Reporter& reporter) {
  if (!input.session) return;
  const std::string path = input.session->variable("USER_DEFINED_ECLIPSE_PATH");
  if (is_plain_path(path)) return;
  reporter.report(input.session->location_of("USER_DEFINED_ECLIPSE_PATH"),
                  in_quotes(path) + " has backslashes or a line end at its end");
}

/// What a run is refused for, or, in a removal, what leaves it nothing to do.
std::string fault_of_user_eclipse(const SessionFacts& facts) {
  if (!facts.run.refusal.empty()) return "the run would be refused: " + facts.run.refusal;
  const std::string path = facts.variable("USER_DEFINED_ECLIPSE_PATH");
  if (!is_choice(facts, "user") || !is_plain_path(path)) return "";
  if (path.empty()) return "no Eclipse is named, so nothing is removed from it";
  return facts.run.logged(not_installed) ? in_quotes(path) + " is not there, so nothing is removed from it" : "";
}

void check_user_eclipse(const Input& input, Reporter& reporter) {
  if (!input.session) return;
  const SessionFacts& facts = *input.session;
  std::string fault = fault_of_user_eclipse(facts);
  if (fault.empty()) return;
  const auto severity = facts.run.refusal.empty() ? Severity::warning : Severity::error;
  const bool is_unnamed = facts.variable("USER_DEFINED_ECLIPSE_PATH").empty();
  // No path fits such a name, which another rule says.
  if (!is_unnamed && is_path(facts.variable("ECLIPSE_BIN")) && severity == Severity::error) return;
  if (!is_unnamed && facts.variable("ECLIPSE_BIN").empty() && severity == Severity::error) {
    reporter.report(facts.location_of("ECLIPSE_BIN"), std::move(fault), "set ECLIPSE_BIN to the file name of the executable");
  } else {
    reporter.report(severity, facts.location_of("USER_DEFINED_ECLIPSE_PATH"), std::move(fault),
                    "name the executable of an Eclipse that is there, and that is not too old");
  }
}

std::string base_name(const std::string& listed) {
  std::string name = with_slashes(listed);
  name.erase(name.find_last_not_of("\r\n") + 1);
  return fs::path(name).filename().string();
}

std::vector<const ListedFile*> listed_in_other_case(const Input& input, const std::string& name) {
  std::vector<const ListedFile*> listed;
  for (const Component& component : input.components) {
    for (const ListedFile& file : component.files) {
      const std::string base = base_name(file.text);
      if (base != name && lower_case(base) == lower_case(name)) listed.push_back(&file);
    }
  }
  return listed;
}

void check_executable_name(const Input& input, Reporter& reporter) {
  if (!input.session) return;
  const SessionFacts& facts = *input.session;
  const std::string name = facts.variable("ECLIPSE_BIN");
  if (is_path(name)) {
    reporter.report(facts.location_of("ECLIPSE_BIN"), in_quotes(name) + " is a path, not a file name",
                    "write the file name alone: " + base_name(name));
    return;
  }
  if (is_choice(facts, "user") || !facts.executables.empty()) return;
  for (const ListedFile* const file : listed_in_other_case(input, name)) {
    reporter.report(facts.location_of("ECLIPSE_BIN"),
                    in_quotes(name) + " differs in letter case from the listed " + in_quotes(file->text),
                    "write " + base_name(file->text));
  }
}

void check_two_executables(const Input& input, Reporter& reporter) {
  if (!input.session) return;
  const auto& found = input.session->executables;
  if (std::set(found.begin(), found.end()).size() < 2) return;
  std::string list;
  for (const std::string& executable : found) list += (list.empty() ? "" : ", ") + executable;
  reporter.report(input.session->location_of("ECLIPSE_BIN"), "several components hold the executable: " + list);
}

// ---- Keywords and capabilities ----

void check_choice(const Input& input, Reporter& reporter) {
  if (!input.session) return;
  constexpr std::array<std::string_view, 4> choices = {"", "internal", "user", "none"};
  const std::string choice = input.session->variable("ECLIPSE_INTEGRATION_CHOICE");
  if (std::find(choices.begin(), choices.end(), choice) != choices.end()) return;
  reporter.report(input.session->location_of("ECLIPSE_INTEGRATION_CHOICE"), in_quotes(choice) + " is no choice");
}

void check_choice_made(const Input& input, Reporter& reporter) {
  if (!input.session || !input.session->variable("ECLIPSE_INTEGRATION_CHOICE").empty()) return;
  const auto has_descriptors = [](const Component& component) { return component.has_descriptors(); };
  if (std::none_of(input.components.begin(), input.components.end(), has_descriptors)) return;
  reporter.report(input.session->location_of("ECLIPSE_INTEGRATION_CHOICE"), "no choice is made, so no Eclipse is changed");
}

/// The letters of a name, so that spellings which differ in case and separators are the same.
std::string letters_of(std::string_view name) {
  std::string letters;
  for (const char byte : lower_case(name)) {
    if (std::isalnum(static_cast<unsigned char>(byte)) != 0) letters += byte;
  }
  return letters;
}

bool holds_executable(const Component& component, const std::string& name) {
  return !name.empty() && std::any_of(component.files.begin(), component.files.end(),
                                      [&](const ListedFile& file) { return base_name(file.text) == name; });
}

bool is_like_ide(const Input& input, const std::string& capability) {
  return letters_of(capability).find("eclipseide") != std::string::npos && !input.library->marks_ide(capability);
}

bool is_like_plugin(const Input& input, const std::string& capability) {
  return letters_of(capability).find("eclipseplugin") != std::string::npos &&
         !input.library->asks_for_integration({capability});
}

void check_capabilities(const Input& input, Reporter& reporter) {
  if (!input.session) return;
  const SessionFacts& facts = *input.session;
  for (const Component& component : input.components) {
    bool is_ide = false;
    bool is_misspelt = false;
    for (std::size_t i = 0; i < component.capabilities.size(); ++i) {
      const std::string& name = component.capabilities[i];
      const bool like_ide = is_like_ide(input, name);
      is_ide = is_ide || input.library->marks_ide(name);
      if (!like_ide && !is_like_plugin(input, name)) continue;
      is_misspelt = true;
      reporter.report(component.capability_locations[i],
                      in_quotes(name) + " does not contain " + (like_ide ? "\"ECLIPSE_IDE\"" : "\"ECLIPSE_PLUGIN\""));
    }
    if (is_ide || is_misspelt || is_choice(facts, "user")) continue;
    if (holds_executable(component, facts.variable("ECLIPSE_BIN"))) {
      reporter.report(component.location,
                      "the component holds the executable but has no capability that contains \"ECLIPSE_IDE\"");
    }
  }
}

// ---- An IDE that is not found ----

bool is_ide(const Input& input, const Component& component) {
  return std::any_of(component.capabilities.begin(), component.capabilities.end(),
                     [&](const std::string& name) { return input.library->marks_ide(name); });
}

/// One that is probably meant as an IDE, which check_capabilities() says.
bool is_meant_as_ide(const Input& input, const Component& component) {
  return holds_executable(component, input.session->variable("ECLIPSE_BIN")) ||
         std::any_of(component.capabilities.begin(), component.capabilities.end(),
                     [&](const std::string& name) { return is_like_ide(input, name); });
}

/// Where the executable of a component was sought; below its prefix, unless that is relative.
std::string executable_sought_in(const Input& input, const Component& component, const std::string& name) {
  std::string sought;
  for (const std::string& path : input.session->run.files) {
    if (fs::path(path).filename() != name) continue;
    if (sought.empty() || path.starts_with(component.catalogue->package->prefix)) sought = path;
  }
  return sought;
}

/// The listed executables, which are not on disk, at their places in the lists.
void report_missing_executables(const Input& input, const std::string& name, Reporter& reporter) {
  bool is_listed = false;
  for (const Component& component : input.components) {
    if (!is_ide(input, component)) continue;
    for (const ListedFile& file : component.files) {
      if (base_name(file.text) != name) continue;
      is_listed = true;
      reporter.report(file.location,
                      "the listed executable is not on disk: looked at " + executable_sought_in(input, component, name),
                      "put it there, or correct the package's prefix");
    }
  }
  if (is_listed) return;
  reporter.report(input.session->location_of("ECLIPSE_BIN"), "no IDE component lists a file called " + in_quotes(name),
                  "list the executable in the IDE's package, or correct ECLIPSE_BIN");
}

void check_ide_found(const Input& input, Reporter& reporter) {
  if (!input.session || !input.session->run.logged("eclipse_int: eclipse not found")) return;
  const SessionFacts& facts = *input.session;
  if (!is_choice(facts, "internal")) return;
  const std::string name = facts.variable("ECLIPSE_BIN");
  const auto& components = input.components;
  const auto is_one = [&](const Component& component) { return is_ide(input, component); };
  const auto is_meant = [&](const Component& component) { return is_meant_as_ide(input, component); };
  if (std::none_of(components.begin(), components.end(), is_one)) {
    if (std::any_of(components.begin(), components.end(), is_meant)) return;
    reporter.report(facts.location_of("ECLIPSE_INTEGRATION_CHOICE"),
                    "no component has a capability that contains \"ECLIPSE_IDE\"",
                    "give the IDE's component one, or choose user or none");
  } else if (name.empty()) {
    reporter.report(facts.location_of("ECLIPSE_BIN"), "ECLIPSE_BIN is not set",
                    "set ECLIPSE_BIN to the file name of the executable");
  } else if (!is_path(name) && listed_in_other_case(input, name).empty()) {
    report_missing_executables(input, name, reporter);
  }
}

// ---- The version ----

/// The minor number of a version 4.MINOR, with or without more behind it; nothing for any other text.
std::optional<int> minor_number(const std::string& version) {
  const auto parts = split(version, '.');
  if (parts.size() < 2 || parts[0] != "4") return std::nullopt;
  int minor = 0;
  const auto read = std::from_chars(parts[1].data(), parts[1].data() + parts[1].size(), minor);
  return read.ec == std::errc() && read.ptr == parts[1].data() + parts[1].size() ? std::optional(minor) : std::nullopt;
}

/// Every version of Eclipse that is out is 4.x, or older than any minimum that falls into this trap.
void check_minimum(const Input& input, Reporter& reporter) {
  if (!input.session) return;
  constexpr int highest_minor = 99;
  const std::string minimum = input.session->variable("ECLIPSE_MIN_SUPPORTED_VERSION");
  const auto minor = minor_number(minimum);
  if (!minor) return;
  std::vector<std::string> refused;
  for (int later = *minor + 1; later <= highest_minor; ++later) {
    std::string version = "4." + std::to_string(later);
    if (!input.library->supports_version(version, minimum)) refused.push_back(std::move(version));
  }
  if (refused.empty()) return;
  reporter.report(input.session->location_of("ECLIPSE_MIN_SUPPORTED_VERSION"),
                  "versions are compared as texts: " + refused.front() + " to " + refused.back() + " come before " + minimum);
}

}  // namespace

std::vector<Rule> rules_for_eclipse_choice() {
  return {
      {.name = "choice-misspelled",
       .group = Group::eclipse,
       .severity = Severity::error,
       .title = "ECLIPSE_INTEGRATION_CHOICE has another value than internal, user or none",
       .why = "Keywords are compared letter by letter. Any other choice means that nothing is integrated, and the run "
              "reports success.",
       .fix = "write internal, user or none, in lower case",
       .bad = product(session("install", R"( "ECLIPSE_INTEGRATION_CHOICE": "Internal", "ECLIPSE_BIN": "eclipse" )",
                              std::string(ide) + tools)),
       .good = product(internal_session()),
       .check = check_choice},
      {.name = "choice-missing",
       .group = Group::eclipse,
       .severity = Severity::warning,
       .title = "ECLIPSE_INTEGRATION_CHOICE is not set",
       .why = "Without a choice nothing is integrated or removed, and the run reports success.",
       .fix = "set it to internal or user, or to none if that is meant",
       .bad = product(session("install", R"( "ECLIPSE_BIN": "eclipse" )", std::string(ide) + tools)),
       .good = product(internal_session()),
       .check = check_choice_made},
      {.name = "user-eclipse-unusable",
       .group = Group::eclipse,
       .severity = Severity::error,
       .title = "the user's Eclipse is not named, not there, not the executable, or too old",
       .why = "An installer does not go on with it, and a run of the session is refused. A removal is not, but then it does "
              "nothing and reports success.",
       .fix = "name the executable of an Eclipse that is there, and that is not too old",
       .bad = product(session("install", user_choice("ide"), tools)),
       .good = product(user_session()),
       .check = check_user_eclipse},
      {.name = "user-path-not-plain",
       .group = Group::eclipse,
       .severity = Severity::error,
       .title = "USER_DEFINED_ECLIPSE_PATH has backslashes or a line end",
       .why = "The check of the path fixes a copy and says yes; everything else takes the path as it is and silently does "
              "nothing.",
       .fix = "write the path with \"/\" and without a line end",
       .bad = product(session("install", user_choice(R"(ide\\eclipse)"), tools)),
       .good = product(user_session()),
       .check = check_user_path},
      {.name = "internal-eclipse-not-found",
       .group = Group::eclipse,
       .severity = Severity::warning,
       .title = "the choice is internal, but no component has the Eclipse executable",
       .why = "The run logs \"eclipse not found\", does nothing and reports success.",
       .fix = "ship the IDE as a component that lists its executable, and set ECLIPSE_BIN to its file name",
       .bad = product(session("install", internal_choice, tools)),
       .good = product(internal_session()),
       .check = check_ide_found},
      {.name = "capability-misspelled",
       .group = Group::eclipse,
       .severity = Severity::error,
       .title = "a capability is spelt nearly like ECLIPSE_IDE or ECLIPSE_PLUGIN, or an IDE has none",
       .why = "Capabilities are compared letter by letter: the component is no IDE, or brings no Eclipse features. An IDE "
              "that is not known as one is not searched for the executable.",
       .fix = "give it a capability whose name contains ECLIPSE_IDE, or ECLIPSE_PLUGIN",
       .bad = product(session("install", internal_choice, R"(
    {
      "code": "ide", "installBase": ".", "installDir": "ide", "install": true,
      "capabilities": ["eclipse_ide"], "package": { "files": ["eclipse"] }
    },)" + std::string(tools))),
       .good = product(internal_session()),
       .check = check_capabilities},
      {.name = "executable-name-unmatched",
       .group = Group::eclipse,
       .severity = Severity::error,
       .title = "ECLIPSE_BIN is a path, or differs in letter case from the listed file",
       .why = "The executable is never found among the components: names are compared exactly, although the check of the "
              "user's own path ignores letter case.",
       .fix = "write the file name alone, as the package lists it",
       .bad = product(session("install", R"( "ECLIPSE_INTEGRATION_CHOICE": "internal", "ECLIPSE_BIN": "Eclipse" )",
                              std::string(ide) + tools)),
       .good = product(internal_session()),
       .check = check_executable_name},
      {.name = "executable-found-twice",
       .group = Group::eclipse,
       .severity = Severity::warning,
       .title = "several IDE components hold the executable",
       .why = "The last one counts, in the order of the capabilities' names and of the packages' lists.",
       .fix = "ship one IDE, or list the executable in one package only",
       .bad = product(session("install", internal_choice, R"(
    {
      "code": "ide", "installBase": ".", "installDir": "ide", "install": true,
      "capabilities": ["ECLIPSE_IDE_1"], "package": { "files": ["eclipse"] }
    },
    {
      "code": "other", "installBase": ".", "installDir": "other", "install": true,
      "capabilities": ["ECLIPSE_IDE_2"], "package": { "files": ["eclipse"] }
    },)" + std::string(tools)),
                      {{"other/eclipse", "#!/bin/sh\n", 0755}}),
       .good = product(internal_session()),
       .check = check_two_executables},
      {.name = "executable-not-startable",
       .group = Group::eclipse,
       .severity = Severity::error,
       .title = "the Eclipse executable's path needs quoting, or the file is not executable",
       .why = "The path stands in the command without quotes, so the shell cuts it at a space: every command of the session "
              "ends with 127, or with 126 when what it found is not executable.",
       .fix = "move the Eclipse to a path without spaces and special characters",
       .bad = product(session("install", user_choice("my ide/eclipse"), tools), {{"my ide/eclipse", "#!/bin/sh\n", 0755}}),
       .good = product(user_session()),
       .check = check_executable},
      {.name = "minimum-version-compared-as-text",
       .group = Group::eclipse,
       .severity = Severity::warning,
       .title = "newer versions of Eclipse come before the minimum version",
       .why = "Versions are compared as texts, byte by byte: 4.10 comes before 4.7, and its user is refused. A minimum from "
              "4.2 to "
              "4.9 refuses some or all of the versions from 4.10 on.",
       .fix = "give a minimum of 4.10 or later, or none",
       .bad = product(session("install", user_choice("ide/eclipse", R"(, "ECLIPSE_MIN_SUPPORTED_VERSION": "4.7")"), tools),
                      {{"ide/configuration/config.ini", "eclipse.buildId=4.10.0\n"}}),
       .good = product(session("install", user_choice("ide/eclipse", R"(, "ECLIPSE_MIN_SUPPORTED_VERSION": "4.10")"), tools),
                       {{"ide/configuration/config.ini", "eclipse.buildId=4.10.0\n"}}),
       .check = check_minimum},
  };
}

}  // namespace eclipse_lint
