// Rules about which Eclipse a session changes: the choice, the executable and its version.
#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <set>

#include "base/file.h"
#include "base/printable.h"
#include "dry_run/chosen_executable.h"
#include "dry_run/log_lines.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "lint/texts.h"
#include "shell/executable.h"
#include "shell/shell_cause.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

// ---- The choice ----

Rule choice_unknown() {
  return {
      .name = "choice-unknown",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title = "ECLIPSE_INTEGRATION_CHOICE is not internal, user or none",
      .why = "The value is case-sensitive. With any other value nothing is integrated, and the run reports success.",
      .fix = "write internal, user or none, in lower case",
      .bad = product(session("install", R"( "ECLIPSE_INTEGRATION_CHOICE": "Internal", "ECLIPSE_BIN": "eclipse" )",
                             std::string(ide) + tools)),
      .good = product(internal_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            using eclipse_host::choices;
            const std::string choice = input.session->variable("ECLIPSE_INTEGRATION_CHOICE");
            if (choice.empty() || std::find(choices.begin(), choices.end(), choice) != choices.end()) return;
            reporter.report(input.session->location_of("ECLIPSE_INTEGRATION_CHOICE"),
                            "unknown value " + in_quotes(choice) + " of ECLIPSE_INTEGRATION_CHOICE");
          },
  };
}

Rule choice_missing() {
  return {
      .name = "choice-missing",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title = "ECLIPSE_INTEGRATION_CHOICE is not set",
      .why = "Without it nothing is integrated or removed, and the run reports success.",
      .fix = "set it to internal or user, or to none if that is intended",
      .bad = product(session("install", R"( "ECLIPSE_BIN": "eclipse" )", std::string(ide) + tools)),
      .good = product(internal_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || !input.session->variable("ECLIPSE_INTEGRATION_CHOICE").empty()) return;
            const auto& components = input.components;
            const auto has_descriptors = [](const Component& component) { return component.has_descriptors(); };
            if (std::none_of(components.begin(), components.end(), has_descriptors)) return;
            const auto is_wanted = [&](const Component& component) {
              const auto& catalogue = *component.catalogue;
              return component.has_descriptors() &&
                     (input.is_removal() ? catalogue.selected_for_removal : catalogue.selected_for_install);
            };
            const bool is_any_wanted = std::any_of(components.begin(), components.end(), is_wanted);
            reporter.report(is_any_wanted ? Severity::error : Severity::warning,
                            input.session->location_of("ECLIPSE_INTEGRATION_CHOICE"),
                            "ECLIPSE_INTEGRATION_CHOICE is not set, so no Eclipse instance is changed");
          },
  };
}

// ---- The user's instance ----

bool is_normalized(std::string_view path) {
  return path.find('\\') == path.npos && !path.ends_with('\n') && !path.ends_with('\r');
}

bool is_path(const std::string& executable_name) { return executable_name.find_first_of("/\\") != std::string::npos; }

/// Why a run is refused, or why a removal has nothing to do; empty when neither is so.
std::string problem_with_user_eclipse(const SessionFacts& facts) {
  if (!facts.run.refusal.empty()) return eclipse_host::would_be_refused + (": " + facts.run.refusal);
  const std::string path = facts.variable("USER_DEFINED_ECLIPSE_PATH");
  if (!facts.session->chooses_users_own() || !is_normalized(path)) return "";
  if (path.empty()) return "USER_DEFINED_ECLIPSE_PATH is not set, so nothing is removed";
  return facts.run.logged(eclipse_dry_run::log_lines::instance_missing)
             ? in_quotes(path) + " does not exist, so nothing is removed from it"
             : "";
}

/// The minor number of a version 4.MINOR, whatever follows it; nothing for any other text.
std::optional<int> minor_number(const std::string& version) {
  const auto parts = split(version, '.');
  if (parts.size() < 2 || parts[0] != "4") return std::nullopt;
  int minor = 0;
  const auto read = std::from_chars(parts[1].data(), parts[1].data() + parts[1].size(), minor);
  return read.ec == std::errc() && read.ptr == parts[1].data() + parts[1].size() ? std::optional(minor) : std::nullopt;
}

/// What to do about an instance whose version is below the minimum.
std::string advice_on_minimum(const SessionFacts& facts) {
  const auto version = facts.run.variables.find("ECLIPSE_VERSION");
  const auto minor = version == facts.run.variables.end() ? std::nullopt : minor_number(version->second);
  const auto minimum = minor_number(facts.variable("ECLIPSE_MIN_SUPPORTED_VERSION"));
  if (minor && minimum && *minor >= *minimum) return "set the minimum to 4.10 or later, or do not set it";
  return "set it to the lowest version that the features need, or use a newer Eclipse";
}

/// A variable that is probably wrong, and what to do about it.
struct Advice {
  std::string variable;
  std::string fix;
};

Advice advice_on_user_eclipse(const SessionFacts& facts) {
  const std::string path = facts.variable("USER_DEFINED_ECLIPSE_PATH");
  const std::string name = facts.variable("ECLIPSE_BIN");
  if (facts.run.refusal.empty() || path.empty())
    return {"USER_DEFINED_ECLIPSE_PATH", "set it to the path of an existing Eclipse executable of a supported version"};
  if (name.empty()) return {"ECLIPSE_BIN", "set ECLIPSE_BIN to the file name of the executable"};
  const auto is_correct = facts.run.variables.find("USER_DEFINED_ECLIPSE_PATH_CORRECT");
  if (is_correct != facts.run.variables.end() && is_correct->second == "yes")
    return {"ECLIPSE_MIN_SUPPORTED_VERSION", advice_on_minimum(facts)};
  if (const auto other = facts.seen_from_file(path); other && !fs::exists(path)) {
    return {"USER_DEFINED_ECLIPSE_PATH",
            "write " + other->string() + "; values of variables are relative to the working directory"};
  }
  if (!eclipse_shell::executable_error(fs::absolute(path).string())) {
    const std::string file = fs::path(path).filename().string();
    return {"ECLIPSE_BIN", "set ECLIPSE_BIN to " + in_quotes(file) + " if this is the Eclipse executable"};
  }
  return {"USER_DEFINED_ECLIPSE_PATH", "set it to the path of an existing executable named " + in_quotes(name)};
}

void report_user_eclipse(const SessionFacts& facts, std::string problem, Reporter& reporter) {
  const bool is_refused = !facts.run.refusal.empty();
  const bool is_named = !facts.variable("USER_DEFINED_ECLIPSE_PATH").empty();
  // No path matches such a name, which another rule reports.
  if (is_named && is_path(facts.variable("ECLIPSE_BIN")) && is_refused) return;
  const auto [variable, fix] = advice_on_user_eclipse(facts);
  reporter.report(is_refused ? Severity::error : Severity::warning, facts.location_of(variable), std::move(problem), fix);
}

Rule user_eclipse_unusable() {
  return {
      .name = "user-eclipse-unusable",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title =
          "USER_DEFINED_ECLIPSE_PATH is missing, does not exist, is not the executable, or names a version that is too old",
      .why =
          "An installer does not accept such an Eclipse instance, and eclipse-int refuses to run the session. A removal runs, "
          "but does nothing and reports success.",
      .fix = "set it to the path of an existing Eclipse executable of a supported version",
      .bad = product(session("install", user_choice("ide"), tools)),
      .good = product(user_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            std::string problem = problem_with_user_eclipse(*input.session);
            if (!problem.empty()) report_user_eclipse(*input.session, std::move(problem), reporter);
          },
  };
}

Rule user_path_not_normalized() {
  return {
      .name = "user-path-not-normalized",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title = "USER_DEFINED_ECLIPSE_PATH contains backslashes or ends with a line break",
      .why =
          "The check of the path works on a corrected copy and accepts it, but the integration uses the path as it is: it "
          "does not find the executable and does nothing, and the run reports success.",
      .fix = "write the path with forward slashes and without a line break",
      .bad = product(session("install", user_choice(R"(ide\\eclipse)"), tools)),
      .good = product(user_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            const std::string path = input.session->variable("USER_DEFINED_ECLIPSE_PATH");
            if (is_normalized(path)) return;
            reporter.report(input.session->location_of("USER_DEFINED_ECLIPSE_PATH"),
                            in_quotes(path) + " contains backslashes or ends with a line break");
          },
  };
}

constexpr const char* shell_script = "#!/bin/sh\n";

/// A session in another directory than the working directory; both have an Eclipse in "ide".
Sample product_elsewhere() {
  constexpr const char* variables = R"(
    "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse", "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse")";
  return {"product/session.json",
          {{"product/session.json", session("install", variables, tools)},
           {"product/ide/eclipse", shell_script, 0755},
           {"product/tools/etc/eclipse/tools.txt", line_of_one},
           {"product/tools/site/content.xml", content_of_one},
           {"ide/eclipse", shell_script, 0755}}};
}

/// Of a path that the session file has, where it leads to an Eclipse.
void check_relative_path(const SessionFacts& facts, Reporter& reporter) {
  const Location& location = facts.location_of("USER_DEFINED_ECLIPSE_PATH");
  const std::string& path = facts.executable;
  std::error_code error;
  if (location.line == 0 || fs::path(path).is_absolute() || !fs::is_regular_file(path, error)) return;
  const std::string here = absolute_path(path).lexically_normal().string();
  const auto other = facts.seen_from_file(path);
  if (other && !is_same_file(path, *other)) {
    reporter.report(location,
                    in_quotes(path) + " leads to " + here + " here, not to " + other->string() + ", which also exists");
  } else {
    reporter.report(Severity::note, location, in_quotes(path) + " leads to " + here + " from this working directory only",
                    "write " + here);
  }
}

Rule user_path_relative() {
  return {
      .name = "user-path-relative",
      .group = Group::eclipse,
      .severity = Severity::warning,
      .title = "USER_DEFINED_ECLIPSE_PATH is relative",
      .why =
          "The directories of components are relative to the session file, but values of variables are used unchanged, so "
          "this path is relative to the working directory. From another one, the run is refused or changes another Eclipse "
          "instance.",
      .fix = "write the full path",
      .bad = product_elsewhere(),
      .good = product(user_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (input.session && input.session->session->chooses_users_own()) check_relative_path(*input.session, reporter);
          },
  };
}

// ---- An instance that is a component ----

std::string base_name(const std::string& listed) {
  std::string name = with_slashes(listed);
  name.erase(name.find_last_not_of("\r\n") + 1);
  return fs::path(name).filename().string();
}

bool holds_executable(const Component& component, const std::string& name) {
  return !name.empty() && std::any_of(component.files.begin(), component.files.end(),
                                      [&](const ListedFile& file) { return base_name(file.text) == name; });
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

/// The letters and digits of a name in lower case, so that spellings which differ in case and separators are the same.
std::string letters_of(std::string_view name) {
  std::string letters;
  for (const char byte : lower_case(name)) {
    if (std::isalnum(static_cast<unsigned char>(byte)) != 0) letters += byte;
  }
  return letters;
}

bool is_like_ide(const Input& input, const std::string& capability) {
  return letters_of(capability).find("eclipseide") != std::string::npos && !input.library->marks_ide(capability);
}

bool is_like_plugin(const Input& input, const std::string& capability) {
  return letters_of(capability).find("eclipseplugin") != std::string::npos &&
         !input.library->asks_for_integration({capability});
}

bool is_ide(const Input& input, const Component& component) {
  return std::any_of(component.capabilities.begin(), component.capabilities.end(),
                     [&](const std::string& name) { return input.library->marks_ide(name); });
}

/// A component that is probably meant as an IDE, which capability-misspelled reports.
bool is_meant_as_ide(const Input& input, const Component& component) {
  return holds_executable(component, input.session->variable("ECLIPSE_BIN")) ||
         std::any_of(component.capabilities.begin(), component.capabilities.end(),
                     [&](const std::string& name) { return is_like_ide(input, name); });
}

/// Where the plug-in looked for the executable of a component: below its prefix, unless that is relative.
std::string searched_path(const Input& input, const Component& component, const std::string& name) {
  std::string searched;
  for (const std::string& path : input.session->run.files) {
    if (fs::path(path).filename() != name) continue;
    if (searched.empty() || path.starts_with(component.catalogue->package->prefix)) searched = path;
  }
  return searched;
}

/// Reports each listed executable that does not exist at its place in the list.
void report_missing_executables(const Input& input, const std::string& name, Reporter& reporter) {
  bool is_listed = false;
  for (const Component& component : input.components) {
    if (!is_ide(input, component)) continue;
    for (const ListedFile& file : component.files) {
      if (base_name(file.text) != name) continue;
      is_listed = true;
      reporter.report(file.location,
                      "the listed executable does not exist: the plug-in looks for " + searched_path(input, component, name),
                      "put the executable there, or correct the prefix of the package");
    }
  }
  if (is_listed) return;
  reporter.report(input.session->location_of("ECLIPSE_BIN"), "no IDE component lists a file named " + in_quotes(name),
                  "list the executable in the IDE's package, or correct ECLIPSE_BIN");
}

/// What is wrong with a path of the known instance that can never be equal to that of the executable; empty when nothing is.
std::string problem_with_known_path(const std::string& known, const std::string& path) {
  std::error_code error;
  if (known.empty() || path.empty() || known == path) return "";
  if (is_same_file(known, path)) {
    return " names the same file as USER_DEFINED_ECLIPSE_PATH, but in other words: " + in_quotes(path);
  }
  return fs::is_directory(known, error) ? " is a directory, not an executable" : "";
}

Rule known_path_unusable() {
  return {
      .name = "known-path-unusable",
      .group = Group::eclipse,
      .severity = Severity::warning,
      .title = "CASHED_ECLIPSE_PATH is a directory, or names the same file as USER_DEFINED_ECLIPSE_PATH with another spelling",
      .why =
          "The plug-in compares the two as text. If they differ, the Eclipse instance counts as new, and gets the features of "
          "all components, not only of the selected ones.",
      .fix = "write the path of the executable, as it is in USER_DEFINED_ECLIPSE_PATH when the instance is the same",
      .bad = product(session("modify", user_choice("ide/eclipse", known_eclipse("ide")), tools)),
      .good = product(session("modify", user_choice("ide/eclipse", known_eclipse()), tools)),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || input.session->is_removal() || !input.session->session->chooses_users_own()) return;
            const std::string known = input.session->variable("CASHED_ECLIPSE_PATH");
            const std::string problem = problem_with_known_path(known, input.session->variable("USER_DEFINED_ECLIPSE_PATH"));
            if (problem.empty()) return;
            reporter.report(input.session->location_of("CASHED_ECLIPSE_PATH"), in_quotes(known) + problem);
          },
  };
}

Rule internal_eclipse_not_found() {
  return {
      .name = "internal-eclipse-not-found",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title = "ECLIPSE_INTEGRATION_CHOICE is internal, but no component has the Eclipse executable",
      .why = "The run logs \"eclipse not found\", does nothing and reports success.",
      .fix = "ship the IDE as a component that lists its executable, and set ECLIPSE_BIN to its file name",
      .bad = product(session("install", internal_choice, tools)),
      .good = product(internal_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || !input.session->run.logged(eclipse_dry_run::log_lines::executable_not_found)) return;
            const SessionFacts& facts = *input.session;
            if (!facts.session->chooses_internal()) return;
            const std::string name = facts.variable("ECLIPSE_BIN");
            const auto& components = input.components;
            const auto is_one = [&](const Component& component) { return is_ide(input, component); };
            const auto is_meant = [&](const Component& component) { return is_meant_as_ide(input, component); };
            if (std::none_of(components.begin(), components.end(), is_one)) {
              if (std::any_of(components.begin(), components.end(), is_meant)) return;
              reporter.report(facts.location_of("ECLIPSE_INTEGRATION_CHOICE"),
                              "no component has a capability whose name contains \"ECLIPSE_IDE\"",
                              "give the IDE's component such a capability, or choose user or none");
            } else if (name.empty()) {
              reporter.report(facts.location_of("ECLIPSE_BIN"), "ECLIPSE_BIN is not set",
                              "set ECLIPSE_BIN to the file name of the executable");
            } else if (!is_path(name) && listed_in_other_case(input, name).empty()) {
              report_missing_executables(input, name, reporter);
            }
          },
  };
}

/// Reports the capabilities of a component that are spelled nearly right. Returns whether there are any.
bool report_misspelled_capabilities(const Input& input, const Component& component, Reporter& reporter) {
  bool is_misspelled = false;
  for (std::size_t i = 0; i < component.capabilities.size(); ++i) {
    const std::string& name = component.capabilities[i];
    const bool like_ide = is_like_ide(input, name);
    if (!like_ide && !is_like_plugin(input, name)) continue;
    is_misspelled = true;
    reporter.report(component.capability_locations[i],
                    in_quotes(name) + " does not contain " + (like_ide ? "\"ECLIPSE_IDE\"" : "\"ECLIPSE_PLUGIN\""));
  }
  return is_misspelled;
}

Rule capability_misspelled() {
  return {
      .name = "capability-misspelled",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title = "the name of a capability resembles ECLIPSE_IDE or ECLIPSE_PLUGIN, or an IDE has no such capability",
      .why =
          "Names of capabilities are case-sensitive. The plug-in does not search a component without ECLIPSE_IDE for the "
          "executable, and a component without ECLIPSE_PLUGIN does not make the integration necessary.",
      .fix = "give the component a capability whose name contains ECLIPSE_IDE or ECLIPSE_PLUGIN",
      .bad = product(session("install", internal_choice, R"(
    {
      "code": "ide", "installBase": ".", "installDir": "ide", "install": true,
      "capabilities": ["eclipse_ide"], "package": { "files": ["eclipse"] }
    },)" + std::string(tools))),
      .good = product(internal_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            const SessionFacts& facts = *input.session;
            for (const Component& component : input.components) {
              const bool is_misspelled = report_misspelled_capabilities(input, component, reporter);
              if (is_misspelled || is_ide(input, component) || facts.session->chooses_users_own()) continue;
              if (!holds_executable(component, facts.variable("ECLIPSE_BIN"))) continue;
              reporter.report(component.location,
                              "the component lists the executable but has no capability whose name contains \"ECLIPSE_IDE\"");
            }
          },
  };
}

// ---- The executable ----

Rule executable_name_unmatched() {
  return {
      .name = "executable-name-unmatched",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title = "ECLIPSE_BIN is a path, or differs in case from the listed file",
      .why =
          "The executable is never found in the components: file names are case-sensitive there, although the check of the "
          "user's own path ignores case.",
      .fix = "write the file name alone, as the package lists it",
      .bad = product(session("install", R"( "ECLIPSE_INTEGRATION_CHOICE": "internal", "ECLIPSE_BIN": "Eclipse" )",
                             std::string(ide) + tools)),
      .good = product(internal_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            const SessionFacts& facts = *input.session;
            const std::string name = facts.variable("ECLIPSE_BIN");
            const Location& location = facts.location_of("ECLIPSE_BIN");
            if (is_path(name)) {
              reporter.report(location, in_quotes(name) + " is a path, not a file name",
                              "write the file name alone: " + base_name(name));
              return;
            }
            if (facts.session->chooses_users_own() || !facts.executables.empty()) return;
            for (const ListedFile* const file : listed_in_other_case(input, name)) {
              reporter.report(location, in_quotes(name) + " differs in case from the listed " + in_quotes(file->text),
                              "write " + base_name(file->text));
            }
          },
  };
}

Rule executable_ambiguous() {
  return {
      .name = "executable-ambiguous",
      .group = Group::eclipse,
      .severity = Severity::warning,
      .title = "several IDE components have the executable",
      .why = "The plug-in uses the last one, in the order of the capability names, then of the files in the packages.",
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
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            const auto& found = input.session->executables;
            if (std::set(found.begin(), found.end()).size() < 2) return;
            reporter.report(input.session->location_of("ECLIPSE_BIN"),
                            "several components have the executable: " + joined(found));
          },
  };
}

/// What the shell does with the first byte of a text that it does not pass on unchanged.
std::string first_change(const eclipse_shell::ShellCause& cause) {
  const eclipse_shell::ShellRemark& remark = cause.remarks.front();
  return "byte " + std::to_string(remark.offset + 1) + ", " + remark.effect;
}

Rule executable_not_startable() {
  return {
      .name = "executable-not-startable",
      .group = Group::eclipse,
      .severity = Severity::error,
      .title = "the Eclipse executable cannot be started, or not from its path",
      .why = "Every command of the session begins with this path, without quotes, so every command fails.",
      .fix = "move Eclipse to a path without spaces, shell metacharacters and URL syntax",
      .bad = product(session("install", user_choice("my ide/eclipse"), tools), {{"my ide/eclipse", "#!/bin/sh\n", 0755}}),
      .good = product(user_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || input.session->run.commands.empty()) return;
            const SessionFacts& facts = *input.session;
            const std::string executable = facts.executable;
            const Location& location = facts.location_of_executable();
            const auto [cause, error] = eclipse_dry_run::start_obstacle(executable, "");
            if (cause) {
              reporter.report(location,
                              "the shell would change the path " + in_quotes(executable) + ": " + first_change(*cause));
            } else if (error) {
              reporter.report(location, error->message, error->fix);
            }
          },
  };
}

// ---- The version ----

/// The later versions 4.MINOR that the plug-in takes for earlier ones. Every released version of Eclipse is 4.x, or older than
/// any minimum that has this problem.
std::vector<std::string> refused_versions(const Input& input, const std::string& minimum) {
  constexpr int highest_minor = 99;
  std::vector<std::string> refused;
  const auto minor = minor_number(minimum);
  for (int later = minor.value_or(highest_minor) + 1; later <= highest_minor; ++later) {
    std::string version = "4." + std::to_string(later);
    if (!input.library->supports_version(version, minimum)) refused.push_back(std::move(version));
  }
  return refused;
}

Rule minimum_version_compared_as_text() {
  return {
      .name = "minimum-version-compared-as-text",
      .group = Group::eclipse,
      .severity = Severity::warning,
      .title = "newer versions of Eclipse compare lower than the minimum version",
      .why =
          "The plug-in compares versions as text, byte by byte: 4.10 is lower than 4.7, so it refuses an Eclipse 4.10. A "
          "minimum between 4.2 and 4.9 refuses some or all versions from 4.10 on.",
      .fix = "set the minimum to 4.10 or later, or do not set it",
      .bad = product(session("install", user_choice("ide/eclipse", R"(, "ECLIPSE_MIN_SUPPORTED_VERSION": "4.7")"), tools),
                     {{"ide/configuration/config.ini", "eclipse.buildId=4.10.0\n"}}),
      .good = product(session("install", user_choice("ide/eclipse", R"(, "ECLIPSE_MIN_SUPPORTED_VERSION": "4.10")"), tools),
                      {{"ide/configuration/config.ini", "eclipse.buildId=4.10.0\n"}}),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            const std::string minimum = input.session->variable("ECLIPSE_MIN_SUPPORTED_VERSION");
            const auto refused = refused_versions(input, minimum);
            if (refused.empty()) return;
            reporter.report(
                input.session->location_of("ECLIPSE_MIN_SUPPORTED_VERSION"),
                "versions are compared as text: " + refused.front() + " to " + refused.back() + " are lower than " + minimum);
          },
  };
}

/// "4", "4.26" or "4.26.0.v2022", with a first number that an Eclipse can have.
bool looks_like_eclipse_version(const std::string& version) {
  constexpr int highest_major = 9;
  int major = 0;
  const auto [end, error] = std::from_chars(version.data(), version.data() + version.size(), major);
  if (error != std::errc() || major > highest_major || version.starts_with('0')) return false;
  return end == version.data() + version.size() || *end == '.';
}

Rule minimum_version_of_another_kind() {
  return {
      .name = "minimum-version-of-another-kind",
      .group = Group::eclipse,
      .severity = Severity::warning,
      .title = "the minimum version does not look like the version of an Eclipse instance",
      .why =
          "The plug-in compares it as text with the eclipse.buildId of the instance, such as 4.26.0.v20221123-1800. The name "
          "of a release, such as 2022-12, compares lower than the version of any Eclipse 4, so it refuses none.",
      .fix = "write a version such as 4.26",
      .bad = product(session("install", user_choice("ide/eclipse", R"(, "ECLIPSE_MIN_SUPPORTED_VERSION": "2022-12")"), tools),
                     {{"ide/configuration/config.ini", "eclipse.buildId=4.10.0\n"}}),
      .good = product(session("install", user_choice("ide/eclipse", R"(, "ECLIPSE_MIN_SUPPORTED_VERSION": "4.10")"), tools),
                      {{"ide/configuration/config.ini", "eclipse.buildId=4.10.0\n"}}),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            const std::string minimum = input.session->session->expand("${ECLIPSE_MIN_SUPPORTED_VERSION}");
            if (minimum.empty() || looks_like_eclipse_version(minimum)) return;
            reporter.report(input.session->location_of("ECLIPSE_MIN_SUPPORTED_VERSION"),
                            in_quotes(minimum) + " is not a version such as 4.26");
          },
  };
}

}  // namespace

std::vector<Rule> eclipse_rules() {
  return {
      choice_unknown(),
      choice_missing(),
      user_eclipse_unusable(),
      user_path_not_normalized(),
      user_path_relative(),
      known_path_unusable(),
      internal_eclipse_not_found(),
      capability_misspelled(),
      executable_name_unmatched(),
      executable_ambiguous(),
      executable_not_startable(),
      minimum_version_compared_as_text(),
      minimum_version_of_another_kind(),
  };
}

}  // namespace eclipse_lint
