// Rules about what only a session tells.
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <iterator>
#include <map>
#include <set>

#include "host/json_document.h"
#include "host/shell.h"
#include "inquiry/profile.h"
#include "inquiry/versions.h"
#include "lint/rule.h"
#include "lint/texts.h"

namespace fs = std::filesystem;
using eclipse_host::in_quotes;
using eclipse_host::longest_command;
using eclipse_inquiry::InstalledUnit;
using eclipse_inquiry::whole_version;

namespace eclipse_lint {

namespace {

constexpr const char* offer =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.one.feature.group' version='1.0.0'/>\n</units></repository>\n";
constexpr const char* line_of_one = "Repository\tFeature\nsite\torg.example.one.feature.group\n";

/// A session file.
std::string session(const std::string& mode, const std::string& variables, const std::string& components) {
  return "{\n  \"mode\": \"" + mode + "\",\n  \"variables\": {" + variables + "},\n  \"components\": [" + components +
         "\n  ]\n}\n";
}

constexpr const char* ide = R"(
    {
      "code": "ide", "installBase": ".", "installDir": "ide", "install": true,
      "capabilities": ["ECLIPSE_IDE"], "package": { "files": ["eclipse"] }
    },)";

constexpr const char* tools = R"(
    {
      "code": "tools", "installBase": ".", "installDir": "tools", "install": true, "remove": true,
      "capabilities": ["TOOLS_ECLIPSE_PLUGIN"], "package": { "files": ["etc/eclipse/tools.txt"] }
    })";

constexpr const char* installed_tools = R"(
    {
      "code": "tools", "installBase": ".", "installDir": "tools", "installed": true,
      "capabilities": ["TOOLS_ECLIPSE_PLUGIN"], "package": { "files": ["etc/eclipse/tools.txt"] }
    })";

constexpr const char* internal_choice = R"( "ECLIPSE_INTEGRATION_CHOICE": "internal", "ECLIPSE_BIN": "eclipse" )";

/// The variables of a user's own Eclipse; `more` begins with a comma when it is not empty.
std::string user_choice(const std::string& path, const std::string& more = "") {
  return R"(
    "ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse",
    "USER_DEFINED_ECLIPSE_PATH": ")" +
         path + "\"" + more + "\n  ";
}

std::string internal_session(const std::string& mode = "install") {
  return session(mode, internal_choice, std::string(ide) + tools);
}

std::string user_session() { return session("install", user_choice("ide/eclipse"), tools); }

/// The session file with the component "tools" and an Eclipse in the folder "ide".
Sample product(const std::string& session_file, const std::vector<SampleFile>& others = {}) {
  std::vector<SampleFile> files = {{"session.json", session_file},
                                   {"ide/eclipse", "#!/bin/sh\n", 0755},
                                   {"tools/etc/eclipse/tools.txt", line_of_one},
                                   {"tools/site/content.xml", offer}};
  files.insert(files.end(), others.begin(), others.end());
  return {"session.json", std::move(files)};
}

constexpr const char* profile_name = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/1.profile";

constexpr const char* profile_of_two = R"(<profile><units>
  <unit id='org.example.one.feature.group' version='1.0.0'/>
  <unit id='org.example.two' version='1.0.0'><requires>
    <required namespace='org.eclipse.equinox.p2.iu' name='org.example.one.feature.group'/>
  </requires></unit>
</units><iusProperties>
  <iuProperties id='org.example.two' version='1.0.0'><properties>
    <property name='org.eclipse.equinox.p2.type.root' value='true'/>
  </properties></iuProperties>
</iusProperties></profile>
)";

bool has_line(const Rehearsal& run, std::string_view line) {
  return std::find(run.log.begin(), run.log.end(), line) != run.log.end();
}

constexpr std::string_view not_installed =
    "eclipse_int: eclipse is not installed and there is not need to perform any integration action";

bool is_choice(const SessionFacts& facts, std::string_view choice) {
  return facts.variable("ECLIPSE_INTEGRATION_CHOICE") == choice;
}

// ---- The executable ----

void check_executable(const Product& product, Reporter& reporter) {
  if (!product.session || !product.session->run.refusal.empty()) return;
  const SessionFacts& facts = *product.session;
  std::string executable;
  if (is_choice(facts, "user")) executable = facts.variable("USER_DEFINED_ECLIPSE_PATH");
  if (is_choice(facts, "internal") && !facts.executables.empty()) executable = facts.executables.back();
  if (executable.empty()) return;
  const Place& place = facts.place_of(is_choice(facts, "user") ? "USER_DEFINED_ECLIPSE_PATH" : "ECLIPSE_BIN");
  const std::size_t odd = executable.find_first_of(std::string(special_without_quotes) + " \t?");
  std::error_code error;
  if (odd != std::string::npos) {
    reporter.report(place, in_quotes(executable) + " has a blank or another of the shell's own characters in it");
  } else if (fs::is_directory(executable, error)) {
    reporter.report(place, in_quotes(executable) + " is a folder", "name the executable in it");
  } else if (fs::exists(executable, error) && access(executable.c_str(), X_OK) != 0) {
    reporter.report(place, in_quotes(executable) + " is not executable", "make it executable: chmod +x");
  }
}

bool is_path(const std::string& executable_name) { return executable_name.find_first_of("/\\") != std::string::npos; }

bool is_plain_path(std::string_view path) {
  return path.find('\\') == path.npos && !path.ends_with('\n') && !path.ends_with('\r');
}

void check_user_path(const Product& product, Reporter& reporter) {
  if (!product.session) return;
  const std::string path = product.session->variable("USER_DEFINED_ECLIPSE_PATH");
  if (is_plain_path(path)) return;
  reporter.report(product.session->place_of("USER_DEFINED_ECLIPSE_PATH"),
                  in_quotes(path) + " has backslashes or a line end at its end");
}

/// What a run is refused for, or, in a removal, what leaves it nothing to do.
std::string fault_of_user_eclipse(const SessionFacts& facts) {
  if (!facts.run.refusal.empty()) return "the run would be refused: " + facts.run.refusal;
  const std::string path = facts.variable("USER_DEFINED_ECLIPSE_PATH");
  if (!is_choice(facts, "user") || !is_plain_path(path)) return "";
  if (path.empty()) return "no Eclipse is named, so nothing is removed from it";
  return has_line(facts.run, not_installed) ? in_quotes(path) + " is not there, so nothing is removed from it" : "";
}

void check_user_eclipse(const Product& product, Reporter& reporter) {
  if (!product.session) return;
  const SessionFacts& facts = *product.session;
  std::string fault = fault_of_user_eclipse(facts);
  if (fault.empty()) return;
  const auto severity = facts.run.refusal.empty() ? Severity::warning : Severity::error;
  const bool is_unnamed = facts.variable("USER_DEFINED_ECLIPSE_PATH").empty();
  // No path fits such a name, which another rule says.
  if (!is_unnamed && is_path(facts.variable("ECLIPSE_BIN")) && severity == Severity::error) return;
  if (!is_unnamed && facts.variable("ECLIPSE_BIN").empty() && severity == Severity::error) {
    reporter.report(facts.place_of("ECLIPSE_BIN"), std::move(fault), "set ECLIPSE_BIN to the file name of the executable");
  } else {
    reporter.report(severity, facts.place_of("USER_DEFINED_ECLIPSE_PATH"), std::move(fault),
                    "name the executable of an Eclipse that is there, and that is not too old");
  }
}

std::string base_name(const std::string& listed) {
  std::string name = with_slashes(listed);
  name.erase(name.find_last_not_of("\r\n") + 1);
  return fs::path(name).filename().string();
}

std::vector<const ListedFile*> listed_in_other_case(const Product& product, const std::string& name) {
  std::vector<const ListedFile*> listed;
  for (const Component& component : product.components) {
    for (const ListedFile& file : component.files) {
      const std::string base = base_name(file.text);
      if (base != name && lower_case(base) == lower_case(name)) listed.push_back(&file);
    }
  }
  return listed;
}

void check_executable_name(const Product& product, Reporter& reporter) {
  if (!product.session) return;
  const SessionFacts& facts = *product.session;
  const std::string name = facts.variable("ECLIPSE_BIN");
  if (is_path(name)) {
    reporter.report(facts.place_of("ECLIPSE_BIN"), in_quotes(name) + " is a path, not a file name",
                    "write the file name alone: " + base_name(name));
    return;
  }
  if (is_choice(facts, "user") || !facts.executables.empty()) return;
  for (const ListedFile* const file : listed_in_other_case(product, name)) {
    reporter.report(facts.place_of("ECLIPSE_BIN"),
                    in_quotes(name) + " differs in letter case from the listed " + in_quotes(file->text),
                    "write " + base_name(file->text));
  }
}

void check_two_executables(const Product& product, Reporter& reporter) {
  if (!product.session) return;
  const auto& found = product.session->executables;
  if (std::set(found.begin(), found.end()).size() < 2) return;
  std::string list;
  for (const std::string& executable : found) list += (list.empty() ? "" : ", ") + executable;
  reporter.report(product.session->place_of("ECLIPSE_BIN"), "several components hold the executable: " + list);
}

// ---- Keywords and capabilities ----

void check_choice(const Product& product, Reporter& reporter) {
  if (!product.session) return;
  constexpr std::array<std::string_view, 4> choices = {"", "internal", "user", "none"};
  const std::string choice = product.session->variable("ECLIPSE_INTEGRATION_CHOICE");
  if (std::find(choices.begin(), choices.end(), choice) != choices.end()) return;
  reporter.report(product.session->place_of("ECLIPSE_INTEGRATION_CHOICE"), in_quotes(choice) + " is no choice");
}

void check_choice_made(const Product& product, Reporter& reporter) {
  if (!product.session || !product.session->variable("ECLIPSE_INTEGRATION_CHOICE").empty()) return;
  const auto has_descriptors = [](const Component& component) { return component.has_descriptors(); };
  if (std::none_of(product.components.begin(), product.components.end(), has_descriptors)) return;
  reporter.report(product.session->place_of("ECLIPSE_INTEGRATION_CHOICE"), "no choice is made, so no Eclipse is changed");
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

bool is_like_ide(const Product& product, const std::string& capability) {
  return letters_of(capability).find("eclipseide") != std::string::npos && !product.library->marks_ide(capability);
}

bool is_like_plugin(const Product& product, const std::string& capability) {
  return letters_of(capability).find("eclipseplugin") != std::string::npos &&
         !product.library->asks_for_integration({capability});
}

void check_capabilities(const Product& product, Reporter& reporter) {
  if (!product.session) return;
  const SessionFacts& facts = *product.session;
  for (const Component& component : product.components) {
    bool is_ide = false;
    bool is_misspelt = false;
    for (std::size_t i = 0; i < component.capabilities.size(); ++i) {
      const std::string& name = component.capabilities[i];
      const bool like_ide = is_like_ide(product, name);
      is_ide = is_ide || product.library->marks_ide(name);
      if (!like_ide && !is_like_plugin(product, name)) continue;
      is_misspelt = true;
      reporter.report(component.capability_places[i],
                      in_quotes(name) + " does not contain " + (like_ide ? "\"ECLIPSE_IDE\"" : "\"ECLIPSE_PLUGIN\""));
    }
    if (is_ide || is_misspelt || is_choice(facts, "user")) continue;
    if (holds_executable(component, facts.variable("ECLIPSE_BIN"))) {
      reporter.report(component.place,
                      "the component holds the executable but has no capability that contains \"ECLIPSE_IDE\"");
    }
  }
}

// ---- An IDE that is not found ----

bool is_ide(const Product& product, const Component& component) {
  return std::any_of(component.capabilities.begin(), component.capabilities.end(),
                     [&](const std::string& name) { return product.library->marks_ide(name); });
}

/// One that is probably meant as an IDE, which check_capabilities() says.
bool is_meant_as_ide(const Product& product, const Component& component) {
  return holds_executable(component, product.session->variable("ECLIPSE_BIN")) ||
         std::any_of(component.capabilities.begin(), component.capabilities.end(),
                     [&](const std::string& name) { return is_like_ide(product, name); });
}

/// Where the executable of a component was sought; below its prefix, unless that is relative.
std::string executable_sought_in(const Product& product, const Component& component, const std::string& name) {
  std::string sought;
  for (const std::string& path : product.session->run.files) {
    if (fs::path(path).filename() != name) continue;
    if (sought.empty() || path.starts_with(component.catalogue->package->prefix)) sought = path;
  }
  return sought;
}

/// The listed executables, which are not on disk, at their places in the lists.
void report_missing_executables(const Product& product, const std::string& name, Reporter& reporter) {
  bool is_listed = false;
  for (const Component& component : product.components) {
    if (!is_ide(product, component)) continue;
    for (const ListedFile& file : component.files) {
      if (base_name(file.text) != name) continue;
      is_listed = true;
      reporter.report(file.place,
                      "the listed executable is not on disk: looked at " + executable_sought_in(product, component, name),
                      "put it there, or correct the package's prefix");
    }
  }
  if (is_listed) return;
  reporter.report(product.session->place_of("ECLIPSE_BIN"), "no IDE component lists a file called " + in_quotes(name),
                  "list the executable in the IDE's package, or correct ECLIPSE_BIN");
}

void check_ide_found(const Product& product, Reporter& reporter) {
  if (!product.session || !has_line(product.session->run, "eclipse_int: eclipse not found")) return;
  const SessionFacts& facts = *product.session;
  if (!is_choice(facts, "internal")) return;
  const std::string name = facts.variable("ECLIPSE_BIN");
  const auto& components = product.components;
  const auto is_one = [&](const Component& component) { return is_ide(product, component); };
  const auto is_meant = [&](const Component& component) { return is_meant_as_ide(product, component); };
  if (std::none_of(components.begin(), components.end(), is_one)) {
    if (std::any_of(components.begin(), components.end(), is_meant)) return;
    reporter.report(facts.place_of("ECLIPSE_INTEGRATION_CHOICE"), "no component has a capability that contains \"ECLIPSE_IDE\"",
                    "give the IDE's component one, or choose user or none");
  } else if (name.empty()) {
    reporter.report(facts.place_of("ECLIPSE_BIN"), "ECLIPSE_BIN is not set",
                    "set ECLIPSE_BIN to the file name of the executable");
  } else if (!is_path(name) && listed_in_other_case(product, name).empty()) {
    report_missing_executables(product, name, reporter);
  }
}

// ---- What the run comes to ----

void check_repositories(const Product& product, Reporter& reporter) {
  if (!product.session || !product.session->run.commands.empty()) return;
  const auto is_lost = [](const Record& record) { return !record.placement && !record.feature().empty(); };
  const bool any_lost = std::any_of(product.records.begin(), product.records.end(), is_lost);
  if (!any_lost || !has_line(product.session->run, "eclipse_int: feature or repo list is empty, skip integration")) return;
  reporter.report(product.session->mode, "every repository is empty: nothing will be installed");
}

void check_length(const Product& product, Reporter& reporter) {
  if (!product.session) return;
  for (const std::string& command : product.session->run.commands) {
    if (command.size() <= longest_command) continue;
    reporter.report(product.session->mode, "the director's command has " + std::to_string(command.size()) +
                                               " bytes, more than " + std::to_string(longest_command));
  }
}

/// The instance that the run would change, as its log says.
std::string instance_of(const Rehearsal& run) {
  constexpr std::string_view begin = "eclipse_int: eclipse install subdir: ";
  for (const std::string& line : run.log) {
    if (line.starts_with(begin)) return line.substr(begin.size());
  }
  return "";
}

using UnitsById = std::multimap<std::string_view, const InstalledUnit*>;

UnitsById by_id(const std::vector<InstalledUnit>& installed) {
  UnitsById units;
  for (const InstalledUnit& unit : installed) units.emplace(unit.id, &unit);
  return units;
}

struct RemovedUnit {
  std::string id;
  std::string version;  ///< empty when any is meant
  Place place;          ///< of the line that names it
};

std::string text_of(const RemovedUnit& unit) { return unit.version.empty() ? unit.id : unit.id + "/" + unit.version; }

bool is_meant(const RemovedUnit& removed, const InstalledUnit& installed) {
  return removed.id == installed.id &&
         (removed.version.empty() || whole_version(removed.version) == whole_version(installed.version));
}

/// What a removal's first command asks the director to remove.
std::vector<RemovedUnit> removed_units(const Product& product) {
  std::map<std::string_view, Place> places;
  for (const Record& record : product.records) {
    if (!record.placement || !record.descriptor->component->catalogue->selected_for_removal) continue;
    for (std::string_view feature = record.config->feature; !feature.empty();) {
      const std::size_t comma = std::min(feature.find(','), feature.size());
      places.emplace(without_blanks(feature.substr(0, comma)), record.place(1));
      feature.remove_prefix(std::min(comma + 1, feature.size()));
    }
  }
  constexpr std::string_view option = " -u ";
  const std::string& command = product.session->run.commands.front();
  const std::size_t start = command.find(option) + option.size();
  std::vector<RemovedUnit> removed;
  for (const std::string& text : split(std::string_view(command).substr(start, command.rfind(" 2>&1") - start), ',')) {
    const std::string_view unit = without_blanks(text);
    if (unit.empty()) continue;
    const std::size_t slash = std::min(unit.find('/'), unit.size());
    const auto place = places.find(unit);
    removed.push_back({std::string(unit.substr(0, slash)), std::string(unit.substr(std::min(slash + 1, unit.size()))),
                       place == places.end() ? product.session->mode : place->second});
  }
  return removed;
}

/// What of a unit an instance does not have; empty when it has it.
std::string lack_of(const UnitsById& installed, const RemovedUnit& removed) {
  const auto [begin, end] = installed.equal_range(removed.id);
  if (begin == end) return in_quotes(removed.id) + " is not installed in the instance";
  if (std::any_of(begin, end, [&](const auto& unit) { return is_meant(removed, *unit.second); })) return "";
  return in_quotes(text_of(removed)) + " is not installed in the instance, which has version " +
         std::prev(end)->second->version;
}

void check_installed(const Product& product, Reporter& reporter) {
  if (!product.is_removal() || product.session->run.commands.empty()) return;
  const std::string instance = instance_of(product.session->run);
  const auto installed = eclipse_inquiry::profile_units(instance);
  if (!installed) {
    const fs::path profile = eclipse_inquiry::profile_file(instance);
    if (profile.empty()) return;
    reporter.report(Severity::warning, product.session->mode,
                    "the profile of the instance cannot be read, so nothing is known of what it has: " + profile.string(),
                    "make it readable, or mend the instance: the director works on this profile, too");
    return;
  }
  const UnitsById units = by_id(*installed);
  for (const RemovedUnit& removed : removed_units(product)) {
    std::string lack = lack_of(units, removed);
    if (!lack.empty()) reporter.report(removed.place, std::move(lack));
  }
}

void check_not_required(const Product& product, Reporter& reporter) {
  if (!product.is_removal() || product.session->run.commands.empty()) return;
  const auto installed = eclipse_inquiry::profile_units(instance_of(product.session->run));
  if (!installed) return;
  const std::vector<RemovedUnit> removed = removed_units(product);
  std::vector<std::string_view> roots;
  for (const InstalledUnit& unit : *installed) {
    const auto is_it = [&](const RemovedUnit& each) { return is_meant(each, unit); };
    if (unit.is_root && std::none_of(removed.begin(), removed.end(), is_it)) roots.push_back(unit.id);
  }
  const auto kept = eclipse_inquiry::ids_kept_by(std::move(roots), *installed);
  const UnitsById units = by_id(*installed);
  for (const RemovedUnit& unit : removed) {
    const auto [begin, end] = units.equal_range(unit.id);
    const auto found = std::find_if(begin, end, [&](const auto& each) { return is_meant(unit, *each.second); });
    if (found == end) continue;
    const auto& requirers = found->second->required_by;
    const auto requirer =
        std::find_if(requirers.begin(), requirers.end(), [&](const std::string& id) { return kept.contains(id); });
    if (requirer != requirers.end()) {
      reporter.report(unit.place, in_quotes(unit.id) + " is required by " + in_quotes(*requirer) + ", which stays");
    }
  }
}

void check_files_gone(const Product& product, Reporter& reporter) {
  if (!product.session || !product.session->is_removal()) return;
  if (!has_line(product.session->run, "eclipse_int: feature list is empty")) return;
  for (const Component& component : product.components) {
    if (!component.catalogue->selected_for_removal) continue;
    if (!product.library->asks_for_integration(component.capabilities)) continue;
    reporter.report(component.place,
                    "the component's descriptor files are not there any more: the run finds nothing to remove");
  }
}

/// The minor number of a version 4.MINOR, with or without more behind it; nothing for any other text.
std::optional<int> minor_number(const std::string& version) {
  const auto parts = split(version, '.');
  if (parts.size() < 2 || parts[0] != "4") return std::nullopt;
  int minor = 0;
  const auto read = std::from_chars(parts[1].data(), parts[1].data() + parts[1].size(), minor);
  return read.ec == std::errc() && read.ptr == parts[1].data() + parts[1].size() ? std::optional(minor) : std::nullopt;
}

/// Every version of Eclipse that is out is 4.x, or older than any minimum that falls into this trap.
void check_minimum(const Product& product, Reporter& reporter) {
  if (!product.session) return;
  constexpr int highest_minor = 99;
  const std::string minimum = product.session->variable("ECLIPSE_MIN_SUPPORTED_VERSION");
  const auto minor = minor_number(minimum);
  if (!minor) return;
  std::vector<std::string> refused;
  for (int later = *minor + 1; later <= highest_minor; ++later) {
    std::string version = "4." + std::to_string(later);
    if (!product.library->supports_version(version, minimum)) refused.push_back(std::move(version));
  }
  if (refused.empty()) return;
  reporter.report(product.session->place_of("ECLIPSE_MIN_SUPPORTED_VERSION"),
                  "versions are compared as texts: " + refused.front() + " to " + refused.back() + " come before " + minimum);
}

void check_new_instance(const Product& product, Reporter& reporter) {
  if (!product.session || product.session->is_removal()) return;
  const auto& files = product.session->run.files;
  std::string list;
  for (const Component& component : product.components) {
    if (component.catalogue->selected_for_install) continue;
    const auto was_read = [&](const ListedFile& file) {
      return file.descriptor && std::find(files.begin(), files.end(), file.descriptor->path) != files.end();
    };
    if (std::none_of(component.files.begin(), component.files.end(), was_read)) continue;
    list += (list.empty() ? "" : ", ") + in_quotes(component.catalogue->code);
  }
  if (list.empty()) return;
  reporter.report(product.session->mode, "the instance is new, so it also gets the features of " + list);
}

const std::string& long_descriptor() {
  static const std::string descriptor = [] {
    std::string name = "org.example";
    for (int i = 0; i < 40; ++i) name += ".very.long";
    std::string text;
    for (int i = 1; i <= 320; ++i) text += "site.zip\t" + name + "." + std::to_string(i) + ".feature.group\n";
    return text;
  }();
  return descriptor;
}

Sample long_product() {
  return {"session.json",
          {{"session.json", user_session()},
           {"ide/eclipse", "#!/bin/sh\n", 0755},
           {"tools/etc/eclipse/tools.txt", long_descriptor()},
           {"tools/site.zip", "an archive\n"}}};
}

}  // namespace

std::vector<Rule> rules_for_sessions() {
  return {
      {.name = "executable-not-startable",
       .severity = Severity::error,
       .title = "the Eclipse executable's path needs quoting, or the file is not executable",
       .effect = "The path stands in the command without quotes, so the shell cuts it at a blank: every command of the session "
                 "ends with 127, or with 126 when what it found is not executable.",
       .mend = "move the Eclipse to a path without blanks and special characters",
       .bad = product(session("install", user_choice("my ide/eclipse"), tools), {{"my ide/eclipse", "#!/bin/sh\n", 0755}}),
       .good = product(user_session()),
       .check = check_executable},
      {.name = "choice-misspelled",
       .severity = Severity::error,
       .title = "ECLIPSE_INTEGRATION_CHOICE has another value than internal, user or none",
       .effect = "Keywords are compared letter by letter. Any other choice means that nothing is integrated, and the run "
                 "reports success.",
       .mend = "write internal, user or none, in lower case",
       .bad = product(session("install", R"( "ECLIPSE_INTEGRATION_CHOICE": "Internal", "ECLIPSE_BIN": "eclipse" )",
                              std::string(ide) + tools)),
       .good = product(internal_session()),
       .check = check_choice},
      {.name = "choice-missing",
       .severity = Severity::warning,
       .title = "ECLIPSE_INTEGRATION_CHOICE is not set",
       .effect = "Without a choice nothing is integrated or removed, and the run reports success.",
       .mend = "set it to internal or user, or to none if that is meant",
       .bad = product(session("install", R"( "ECLIPSE_BIN": "eclipse" )", std::string(ide) + tools)),
       .good = product(internal_session()),
       .check = check_choice_made},
      {.name = "user-eclipse-unusable",
       .severity = Severity::error,
       .title = "the user's Eclipse is not named, not there, not the executable, or too old",
       .effect = "An installer does not go on with it, and a run of the session is refused. A removal is not, but then it does "
                 "nothing and reports success.",
       .mend = "name the executable of an Eclipse that is there, and that is not too old",
       .bad = product(session("install", user_choice("ide"), tools)),
       .good = product(user_session()),
       .check = check_user_eclipse},
      {.name = "internal-eclipse-not-found",
       .severity = Severity::warning,
       .title = "the choice is internal, but no component has the Eclipse executable",
       .effect = "The run logs \"eclipse not found\", does nothing and reports success.",
       .mend = "ship the IDE as a component that lists its executable, and set ECLIPSE_BIN to its file name",
       .bad = product(session("install", internal_choice, tools)),
       .good = product(internal_session()),
       .check = check_ide_found},
      {.name = "user-path-not-plain",
       .severity = Severity::error,
       .title = "USER_DEFINED_ECLIPSE_PATH has backslashes or a line end",
       .effect = "The check of the path mends a copy and says yes; everything else takes the path as it is and silently does "
                 "nothing.",
       .mend = "write the path with \"/\" and without a line end",
       .bad = product(session("install", user_choice(R"(ide\\eclipse)"), tools)),
       .good = product(user_session()),
       .check = check_user_path},
      {.name = "executable-name-unmatched",
       .severity = Severity::error,
       .title = "ECLIPSE_BIN is a path, or differs in letter case from the listed file",
       .effect = "The executable is never found among the components: names are compared exactly, although the check of the "
                 "user's own path ignores letter case.",
       .mend = "write the file name alone, as the package lists it",
       .bad = product(session("install", R"( "ECLIPSE_INTEGRATION_CHOICE": "internal", "ECLIPSE_BIN": "Eclipse" )",
                              std::string(ide) + tools)),
       .good = product(internal_session()),
       .check = check_executable_name},
      {.name = "capability-misspelled",
       .severity = Severity::error,
       .title = "a capability is spelt nearly like ECLIPSE_IDE or ECLIPSE_PLUGIN, or an IDE has none",
       .effect = "Capabilities are compared letter by letter: the component is no IDE, or brings no Eclipse features. An IDE "
                 "that is not known as one is not searched for the executable.",
       .mend = "give it a capability whose name contains ECLIPSE_IDE, or ECLIPSE_PLUGIN",
       .bad = product(session("install", internal_choice, R"(
    {
      "code": "ide", "installBase": ".", "installDir": "ide", "install": true,
      "capabilities": ["eclipse_ide"], "package": { "files": ["eclipse"] }
    },)" + std::string(tools))),
       .good = product(internal_session()),
       .check = check_capabilities},
      {.name = "executable-found-twice",
       .severity = Severity::warning,
       .title = "several IDE components hold the executable",
       .effect = "The last one counts, in the order of the capabilities' names and of the packages' lists.",
       .mend = "ship one IDE, or list the executable in one package only",
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
      {.name = "every-repository-empty",
       .severity = Severity::warning,
       .title = "there are features, but every repository is empty",
       .effect = "The run logs \"feature or repo list is empty, skip integration\" and reports success.",
       .mend = "write the repositories into column 1",
       .bad = {"session.json",
               {{"session.json", internal_session()},
                {"ide/eclipse", "#!/bin/sh\n", 0755},
                {"tools/etc/eclipse/tools.txt", "\torg.example.one.feature.group\n"}}},
       .good = product(internal_session()),
       .check = check_repositories},
      {.name = "command-too-long",
       .severity = Severity::error,
       .title = "the director's command is longer than the system allows",
       .effect =
           "The shell cannot be started with it, so the run for all features at once fails; then each feature is tried alone.",
       .mend = "group the features: one that includes the others is installed with them",
       .bad = long_product(),
       .good = product(user_session()),
       .check = check_length},
      {.name = "unit-not-installed",
       .severity = Severity::error,
       .title = "a removal names a unit that the instance does not have",
       .effect = "The director removes all units or none, so nothing is removed. What the plug-in tries after that is a text "
                 "which the shell does not understand.",
       .mend = "take it out of what is removed, or install it again before",
       .bad = product(internal_session("uninstall"),
                      {{profile_name, "<profile><units><unit id='local.ide'/></units></profile>\n"}}),
       .good = product(internal_session("uninstall"),
                       {{profile_name, "<profile><units><unit id='org.example.one.feature.group'/></units></profile>\n"}}),
       .check = check_installed},
      {.name = "unit-required-by-others",
       .severity = Severity::warning,
       .title = "a removal names a unit that others require",
       .effect = "The director reports success and leaves the unit in the instance, for as long as what requires it stays.",
       .mend = "remove what requires it, too, or take the unit out of what is removed",
       .bad = product(internal_session("uninstall"), {{profile_name, profile_of_two}}),
       .good = product(internal_session("uninstall"),
                       {{profile_name, "<profile><units><unit id='org.example.one.feature.group'/></units></profile>\n"}}),
       .check = check_not_required},
      {.name = "removal-after-deletion",
       .severity = Severity::error,
       .title = "features are to be removed after their descriptor files were deleted",
       .effect = "The features are read from the descriptor files. Without them the run logs \"feature list is empty\", "
                 "reports success, and the features stay.",
       .mend = "run the removal before the component's files are deleted",
       .bad = {"session.json",
               {{"session.json", internal_session("uninstall")}, {"ide/eclipse", "#!/bin/sh\n", 0755}, {"tools/", ""}}},
       .good = product(internal_session("uninstall")),
       .check = check_files_gone},
      {.name = "minimum-version-compared-as-text",
       .severity = Severity::warning,
       .title = "newer versions of Eclipse come before the minimum version",
       .effect = "Versions are compared as texts, byte by byte: 4.10 comes before 4.7, and its user is refused. A minimum from "
                 "4.2 to "
                 "4.9 refuses some or all of the versions from 4.10 on.",
       .mend = "give a minimum of 4.10 or later, or none",
       .bad = product(session("install", user_choice("ide/eclipse", R"(, "ECLIPSE_MIN_SUPPORTED_VERSION": "4.7")"), tools),
                      {{"ide/configuration/config.ini", "eclipse.buildId=4.10.0\n"}}),
       .good = product(session("install", user_choice("ide/eclipse", R"(, "ECLIPSE_MIN_SUPPORTED_VERSION": "4.10")"), tools),
                       {{"ide/configuration/config.ini", "eclipse.buildId=4.10.0\n"}}),
       .check = check_minimum},
      {.name = "new-instance-gets-everything",
       .severity = Severity::note,
       .title = "the instance is new in this run",
       .effect = "It gets the features of all components, not only of those that are selected.",
       .mend = "nothing if that is meant; else keep CASHED_ECLIPSE_PATH from the run before",
       .bad = product(session("modify", user_choice("ide/eclipse"), installed_tools)),
       .good =
           product(session("modify", user_choice("ide/eclipse", R"(, "CASHED_ECLIPSE_PATH": "ide/eclipse")"), installed_tools)),
       .check = check_new_instance},
  };
}

}  // namespace eclipse_lint
