// Rules about the run of a session as a whole.
#include <algorithm>
#include <set>

#include "base/file.h"
#include "base/printable.h"
#include "base/text.h"
#include "dry_run/chosen_executable.h"
#include "dry_run/log_lines.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "p2/profile.h"
#include "p2/unit_list.h"
#include "shell/command_runner.h"
#include "standalone_host/session.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using eclipse_shell::longest_command;

namespace eclipse_lint {

namespace {

std::string installed_tools() { return entry_of({.state = R"("installed": true)"}); }

Rule all_repositories_empty() {
  return {
      .name = "all-repositories-empty",
      .group = Group::session,
      .severity = Severity::warning,
      .title = "there are features, but every repository column is empty",
      .why = "The run logs \"feature or repo list is empty, skip integration\" and reports success.",
      .fix = "write the repositories into column 1",
      .bad = {"session.json",
              {{"session.json", internal_session()},
               {"ide/eclipse", "#!/bin/sh\n", 0755},
               {"tools/etc/eclipse/tools.txt", "\torg.example.one.feature.group\n"}}},
      .good = product(internal_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || !input.session->run.commands.empty()) return;
            const auto lacks_repository = [](const Record& record) { return !record.placement && !record.feature().empty(); };
            if (std::none_of(input.records.begin(), input.records.end(), lacks_repository)) return;
            if (!input.session->run.logged(eclipse_dry_run::log_lines::nothing_to_install)) return;
            reporter.report(input.session->mode, "every repository column is empty, so nothing is installed");
          },
  };
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

Rule command_too_long() {
  return {
      .name = "command-too-long",
      .group = Group::session,
      .severity = Severity::error,
      .title = "the director's command line is longer than the system allows",
      .why = "The system refuses to start the shell with it, so the command for all features fails.",
      .fix = "make a feature that includes the others, and list only that one",
      .bad = long_product(),
      .good = product(user_session()),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            for (const auto& [number, command] : input.session->run.commands) {
              if (command.size() <= longest_command) continue;
              reporter.report(input.session->mode, "the director's command line has " + std::to_string(command.size()) +
                                                       " bytes; the limit is " + std::to_string(longest_command));
            }
          },
  };
}

/// Whether the run read a descriptor file of a component.
bool was_read(const Input& input, const Component& component) {
  const auto& files = input.session->run.files;
  return std::any_of(component.files.begin(), component.files.end(), [&](const ListedFile& file) {
    return file.descriptor && std::find(files.begin(), files.end(), file.descriptor->path) != files.end();
  });
}

/// Why an instance is new in a session, to be read after that.
std::string why_it_is_new(const SessionFacts& facts) {
  const std::string known = facts.variable("CASHED_ECLIPSE_PATH");
  if (!facts.session->chooses_users_own() || known.empty()) return "";
  return ", since CASHED_ECLIPSE_PATH is " + in_quotes(known);
}

Rule new_instance_gets_all_features() {
  return {
      .name = "new-instance-gets-all-features",
      .group = Group::session,
      .severity = Severity::note,
      .title = "the Eclipse instance is new in this run",
      .why = "It gets the features of all components, not only of the selected ones.",
      .fix =
          "if that is intended, ignore this finding; otherwise, for the choice user, keep CASHED_ECLIPSE_PATH from the "
          "previous "
          "run",
      .bad = product(session("modify", user_choice("ide/eclipse"), installed_tools())),
      .good = product(session("modify", user_choice("ide/eclipse", known_eclipse()), installed_tools())),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || input.session->is_removal()) return;
            std::vector<std::string> codes;
            for (const Component& component : input.components) {
              const auto& catalogue = *component.catalogue;
              if (catalogue.selected_for_install || catalogue.selected_for_removal || !was_read(input, component)) continue;
              codes.push_back(catalogue.code);
            }
            if (codes.empty()) return;
            reporter.report(input.session->mode, "the Eclipse instance is new" + why_it_is_new(*input.session) +
                                                     ", so it also gets the features of " + each_in_quotes(codes));
          },
  };
}

/// The first feature of a component that fulfils a condition; empty when none does.
template <typename Condition>
std::string feature_of(const Input& input, const Component& component, const Condition& condition) {
  for (const Record& record : input.records) {
    if (record.descriptor->component != &component || !record.placement || record.feature().empty()) continue;
    if (condition(std::string(record.feature()))) return std::string(record.feature());
  }
  return "";
}

/// Whether the instance has one of the units that a feature column names, in whatever version.
bool has_feature(const std::vector<eclipse_p2::InstalledUnit>& installed, const std::string& feature) {
  const auto units = eclipse_p2::units_written_in(feature);
  return std::any_of(installed.begin(), installed.end(), [&](const eclipse_p2::InstalledUnit& one) {
    return std::any_of(units.begin(), units.end(), [&](const auto& written) { return written.unit.id == one.id; });
  });
}

/// A component "old", which has a feature of its own, beside "tools" and a known instance.
Sample product_with_old(const std::string& installed, const std::string& state = R"("installed": true)") {
  const std::string old =
      entry_of({.code = "old", .directory = "old", .state = state, .capabilities = R"("OLD_ECLIPSE_PLUGIN")"});
  return product(session("modify", user_choice("ide/eclipse", known_eclipse()), std::string(tools) + "," + old),
                 {{"old/etc/eclipse/tools.txt", "site\torg.example.old.feature.group\n"},
                  {"old/site/content.xml",
                   "<repository><units><unit id='org.example.old.feature.group' version='1.0.0'/></units></repository>\n"},
                  {profile_name, "<profile><units><unit id='" + installed + "' version='1.0.0'/></units></profile>\n"}});
}

Rule installed_component_not_integrated() {
  return {
      .name = "installed-component-not-integrated",
      .group = Group::session,
      .severity = Severity::warning,
      .title = "features of an installed component are not in the Eclipse instance, and the run does not install them",
      .why =
          "A known instance gets only the features of components that are selected in this run. Features of a component "
          "that was installed before an Eclipse was chosen are never added later.",
      .fix = "select the component for installation, or leave CASHED_ECLIPSE_PATH empty, so that the instance counts as new",
      .bad = product_with_old("local.ide"),
      .good = product_with_old("org.example.old.feature.group"),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || input.is_removal() || input.session->run.commands.empty()) return;
            const auto& installed = input.session->installed;
            if (!installed) return;
            for (const Component& component : input.components) {
              const auto& catalogue = *component.catalogue;
              const bool is_selected = catalogue.selected_for_install || catalogue.selected_for_removal;
              if (!catalogue.installed || is_selected || was_read(input, component)) continue;
              const std::string feature =
                  feature_of(input, component, [&](const std::string& each) { return !has_feature(*installed, each); });
              if (feature.empty()) continue;
              reporter.report(component.location, in_quotes(component.catalogue->code) + " is installed, but its feature " +
                                                      in_quotes(feature) + " is not in the Eclipse instance");
            }
          },
  };
}

bool is_selected(const Component& component, bool for_removal) {
  return for_removal ? component.catalogue->selected_for_removal : component.catalogue->selected_for_install;
}

bool selects(const Input& input, bool for_removal) {
  return std::any_of(input.components.begin(), input.components.end(),
                     [&](const Component& component) { return is_selected(component, for_removal); });
}

/// Whether the run has no command although nothing else is wrong.
bool does_nothing(const Input& input) {
  return input.session && input.session->run.searched && input.session->run.refusal.empty() &&
         input.session->run.commands.empty();
}

Rule nothing_selected() {
  return {
      .name = "nothing-selected",
      .group = Group::session,
      .severity = Severity::note,
      .title = "the session selects no component",
      .why = "The run has nothing to do, and reports success.",
      .fix = "select the components; or, if nothing is to be done, ignore this finding",
      .bad = product(session("uninstall", user_choice("ide/eclipse"), entry_of({.state = R"("installed": true)"}))),
      .good = product(session("uninstall", user_choice("ide/eclipse"), tools)),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!does_nothing(input) || selects(input, true) || selects(input, false)) return;
            // An installer may well modify a known instance without any selection.
            if (!input.is_removal() && !input.components.empty()) return;
            reporter.report(input.session->mode, std::string("no component is selected, so nothing is ") +
                                                     (input.is_removal() ? "removed" : "installed"));
          },
  };
}

using Features = std::set<std::string_view>;

/// What the components that are selected for the mode have in their feature columns.
Features features_of_mode(const Input& input) {
  Features features;
  for (const Record& record : input.records) {
    if (record.placement && is_selected(*record.descriptor->component, input.is_removal())) features.insert(record.feature());
  }
  return features;
}

/// An installer leaves components selected for installation that are installed and stay, and a component that replaces
/// another may bring the same features.
bool is_for_another_mode_only(const Input& input, const Component& component) {
  if (is_selected(component, input.is_removal()) || !is_selected(component, !input.is_removal())) return false;
  return !input.is_removal() || !component.catalogue->installed;
}

/// Reports a component that a run which installs should remove.
void report_unremoved(const Input& input, const Component& component, const Features& of_mode, Reporter& reporter) {
  const auto& installed = input.session->installed;
  const bool is_read = was_read(input, component);
  const std::string feature = feature_of(input, component, [&](const std::string& each) {
    return !of_mode.contains(each) && (is_read || !installed || has_feature(*installed, each));
  });
  if (feature.empty()) return;
  const std::string code = in_quotes(component.catalogue->code);
  if (is_read) {
    reporter.report(component.location,
                    code + " is selected for removal, but the Eclipse instance is new, so the run installs its feature " +
                        in_quotes(feature),
                    "leave the component out of the session; or, if the instance is not new, keep CASHED_ECLIPSE_PATH from the "
                    "previous run, and remove the component in a session with mode uninstall");
  } else {
    reporter.report(component.location,
                    code + " is selected for removal, but mode " + input.session->variable("KORU_MODE") +
                        " only installs, so its feature " + in_quotes(feature) + " stays",
                    "run a session with mode uninstall for it before its files are deleted");
  }
}

/// Reports a component that a run which removes should install.
void report_not_installed(const Input& input, const Component& component, const Features& of_mode, Reporter& reporter) {
  const auto& installed = input.session->installed;
  const std::string feature = feature_of(input, component, [&](const std::string& each) {
    return of_mode.contains(each) || !installed || !has_feature(*installed, each);
  });
  if (feature.empty()) return;
  reporter.report(Severity::warning, component.location,
                  in_quotes(component.catalogue->code) +
                      " is selected for installation, but mode uninstall only removes, so its feature " + in_quotes(feature) +
                      " is not installed",
                  "run a session with mode install or modify for it");
}

Rule selection_for_another_mode() {
  return {
      .name = "selection-for-another-mode",
      .group = Group::session,
      .severity = Severity::error,
      .title = "a component is selected for something that the mode of the session does not do",
      .why =
          "\"remove\" selects a component for mode uninstall, \"install\" for the other modes. A run either installs or "
          "removes; it silently leaves out the rest, and reports success.",
      .fix = "select the component for installation or removal, as the mode does, or give it a session with another mode",
      .bad = product_with_old("org.example.old.feature.group", R"("installed": true, "remove": true)"),
      .good = product_with_old("org.example.old.feature.group"),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session || !input.session->run.searched || !input.session->run.refusal.empty()) return;
            const Features of_mode = features_of_mode(input);
            for (const Component& component : input.components) {
              if (!is_for_another_mode_only(input, component)) continue;
              (input.is_removal() ? report_not_installed : report_unremoved)(input, component, of_mode, reporter);
            }
            if (reporter.has_reported() || !does_nothing(input)) return;
            if (selects(input, input.is_removal()) || !selects(input, !input.is_removal())) return;
            reporter.report(Severity::warning, input.session->mode,
                            std::string("no component is selected for ") + (input.is_removal() ? "removal" : "installation") +
                                ", so nothing is " + (input.is_removal() ? "removed" : "installed"),
                            "select the components, or correct the mode");
          },
  };
}

/// Whether a name has the words of another one, in order, but for one of them.
bool lacks_a_word(const std::string& name, const std::string& other) {
  const auto words = split(name, '_');
  const auto others = split(other, '_');
  if (words.size() < 3 || words.size() + 1 != others.size()) return false;
  std::size_t found = 0;
  for (const std::string& word : others) {
    if (found < words.size() && words[found] == word) ++found;
  }
  return found == words.size();
}

/// The variable that a run reads and that is probably meant by another name; nothing when none is.
std::optional<std::string> meant_variable(const std::string& name) {
  const std::vector<std::string> known(eclipse_host::variables_read.begin(), eclipse_host::variables_read.end());
  if (std::find(known.begin(), known.end(), name) != known.end()) return std::nullopt;
  for (const std::string& each : known) {
    if (lacks_a_word(name, each) || lower_case(name) == lower_case(each)) return each;
  }
  const auto similar = similar_word(name, known);
  return similar && distance(name, *similar) <= 2 ? similar : std::nullopt;
}

Rule variable_misspelled() {
  return {
      .name = "variable-misspelled",
      .group = Group::session,
      .severity = Severity::warning,
      .title = "the name of a variable resembles one that a run reads",
      .why = "The variable has no effect. Names must match exactly, even the misspelled CASHED_ECLIPSE_PATH.",
      .fix = "correct the name",
      .bad = product(session("modify", user_choice("ide/eclipse", replaced(known_eclipse(), "CASHED", "CACHED")), tools)),
      .good = product(session("modify", user_choice("ide/eclipse", known_eclipse()), tools)),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.session) return;
            for (const auto& [name, location] : input.session->variables) {
              const auto meant = meant_variable(name);
              if (!meant) continue;
              reporter.report(Severity::warning, location, in_quotes(name) + " is not read, unlike " + in_quotes(*meant),
                              "write " + in_quotes(*meant));
            }
          },
  };
}

}  // namespace

std::vector<Rule> session_rules() {
  return {all_repositories_empty(),
          command_too_long(),
          new_instance_gets_all_features(),
          installed_component_not_integrated(),
          nothing_selected(),
          selection_for_another_mode(),
          variable_misspelled()};
}

}  // namespace eclipse_lint
