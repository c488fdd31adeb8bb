// Rules about removals, which depend on what is installed in the instance.
#include <map>

#include "base/printable.h"
#include "dry_run/log_lines.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "lint/texts.h"
#include "p2/data_area.h"
#include "p2/instance_paths.h"
#include "p2/profile.h"
#include "p2/removal.h"
#include "p2/unit_list.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

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

/// The lines that name the units of a removal.
std::map<Unit, Location> locations_of_units(const Input& input) {
  std::map<Unit, Location> locations;
  for (const Record& record : input.records) {
    if (!record.placement || !record.takes_part()) continue;
    for (const WrittenUnit& written : record.units) locations.emplace(written.unit, record.location(1));
  }
  return locations;
}

/// Calls `use` with each unit of a removal and the location that names it, if the installed units are known.
template <typename Use>
void for_each_removed(const Input& input, const Use& use) {
  if (!input.session || !input.session->removes_units() || !input.session->installed) return;
  const auto& installed = *input.session->installed;
  const auto locations = locations_of_units(input);
  for (const RemovedUnit& removed : removal_of(input.session->named_units, roots_of(installed), installed)) {
    const auto location = locations.find(removed.unit);
    use(removed, location == locations.end() ? input.session->mode : location->second);
  }
}

/// A damaged one is the finding of another rule; one that is kept elsewhere is no error.
void report_unreadable_profile(const Input& input, Reporter& reporter) {
  if (!input.session || !input.session->removes_units() || input.session->installed) return;
  const fs::path instance = instance_directory(input.session->executable);
  if (!data_area_of(instance).reason.empty()) return;
  const fs::path profile = profile_file(instance);
  if (!profile.empty() && read_profile_state(profile).is_damaged) return;
  const std::string error = profile_units_error(instance);
  if (error.empty()) return;
  reporter.report(Severity::warning, input.session->mode,
                  "the profile of the instance cannot be read, so the installed units are unknown: " + error,
                  "make the file readable: the director also needs this profile");
}

/// The installed feature that an id without its suffix means; empty when there is none.
std::string installed_group(const Input& input, const std::string& id) {
  const std::string group = id.ends_with(group_suffix) ? "" : likely_group(id);
  const auto& installed = *input.session->installed;
  const bool is_installed = std::any_of(installed.begin(), installed.end(), [&](const auto& unit) { return unit.id == group; });
  return is_installed ? group : "";
}

Rule unit_not_installed() {
  return {
      .name = "unit-not-installed",
      .group = Group::removal,
      .severity = Severity::error,
      .title = "a removal names a unit that is not installed in the instance",
      .why =
          "The director removes all units or none, so nothing is removed. The plug-in then runs malformed commands, which "
          "the shell rejects.",
      .fix = "leave the unit out of the removal, or install it again first",
      .bad = product(internal_session("uninstall"),
                     {{profile_name, "<profile><units><unit id='local.ide'/></units></profile>\n"}}),
      .good = product(internal_session("uninstall"),
                      {{profile_name, "<profile><units><unit id='org.example.one.feature.group'/></units></profile>\n"}}),
      .check =
          [](const Input& input, Reporter& reporter) {
            report_unreadable_profile(input, reporter);
            for_each_removed(input, [&](const RemovedUnit& removed, const Location& location) {
              if (removed.state.is_installed) return;
              const auto& versions = removed.state.other_versions;
              const std::string message = in_quotes(text_of(removed.unit)) + " is not installed in the instance";
              if (const std::string group = installed_group(input, removed.unit.id); versions.empty() && !group.empty()) {
                return reporter.report(location, message + ", but " + in_quotes(group) + " is", "write " + group);
              }
              if (versions.empty()) return reporter.report(location, message);
              reporter.report(location, message + "; the installed version is " + versions.back(),
                              "write " + removed.unit.id + ", without a version");
            });
          },
  };
}

Rule unit_required_by_others() {
  return {
      .name = "unit-required-by-others",
      .group = Group::removal,
      .severity = Severity::warning,
      .title = "a removal names a unit that other installed units require",
      .why =
          "The director reports success but leaves the unit in the instance for as long as the units that require it are "
          "installed.",
      .fix = "remove the units that require it as well, or leave the unit out of the removal",
      .bad = product(internal_session("uninstall"), {{profile_name, profile_of_two}}),
      .good = product(internal_session("uninstall"),
                      {{profile_name, "<profile><units><unit id='org.example.one.feature.group'/></units></profile>\n"}}),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_removed(input, [&](const RemovedUnit& removed, const Location& location) {
              if (removed.kept_by.empty()) return;
              reporter.report(location, in_quotes(removed.unit.id) + " is required by " + in_quotes(removed.kept_by.front()) +
                                            ", which is not removed");
            });
          },
  };
}

Rule removal_after_deletion() {
  return {
      .name = "removal-after-deletion",
      .group = Group::removal,
      .severity = Severity::error,
      .title = "a session removes features whose descriptor files are already deleted",
      .why =
          "The plug-in reads the features from the descriptor files. Without the files the run logs \"feature list is "
          "empty\" and reports success, and the features stay installed.",
      .fix = "run the removal before the component's files are deleted",
      .bad = {"session.json",
              {{"session.json", internal_session("uninstall")}, {"ide/eclipse", "#!/bin/sh\n", 0755}, {"tools/", ""}}},
      .good = product(internal_session("uninstall")),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.is_removal() || !input.session->run.logged(eclipse_dry_run::log_lines::nothing_to_remove)) return;
            for (const Component& component : input.components) {
              if (!component.catalogue->selected_for_removal) continue;
              if (!input.library->asks_for_integration(component.capabilities)) continue;
              reporter.report(component.location,
                              "the component's descriptor files are already deleted, so nothing is removed");
            }
          },
  };
}

/// A component that stays and has a line for this unit; null when none does.
const Record* keeper_of(const Input& input, const Unit& unit) {
  for (const Record& record : input.records) {
    const auto* const component = record.descriptor->component->catalogue;
    if (!record.placement || !component->installed || component->selected_for_removal) continue;
    for (const WrittenUnit& kept : record.units) {
      if (kept.unit.id == unit.id) return &record;
    }
  }
  return nullptr;
}

std::string entry_of_more(const std::string& state) {
  return entry_of({.code = "more", .directory = "more", .state = state, .capabilities = R"("MORE_ECLIPSE_PLUGIN")"});
}

Rule feature_of_staying_component() {
  const auto product_with_more = [](const std::string& state) {
    return product(session("uninstall", internal_choice, std::string(ide) + tools + "," + entry_of_more(state)),
                   {{"more/etc/eclipse/tools.txt", "../tools/site\torg.example.one.feature.group\n"}});
  };
  return {
      .name = "feature-of-staying-component",
      .group = Group::removal,
      .severity = Severity::error,
      .title = "a removal includes a feature that a remaining component also lists",
      .why =
          "The director removes the feature, so the remaining component loses it: p2 does not count which components "
          "need it.",
      .fix = "leave the feature out of the removal, or also remove the other component",
      .bad = product_with_more(R"("installed": true)"),
      .good = product_with_more(R"("installed": true, "remove": true)"),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.is_removal() || input.session->run.commands.empty()) return;
            const auto locations = locations_of_units(input);
            for (const Unit& unit : input.session->named_units) {
              const Record* const keeper = keeper_of(input, unit);
              if (keeper == nullptr) continue;
              const auto location = locations.find(unit);
              reporter.report(location == locations.end() ? input.session->mode : location->second,
                              in_quotes(unit.id) + " is removed, but " +
                                  in_quotes(keeper->descriptor->component->catalogue->code) +
                                  ", which remains, also lists it (" + keeper->where() + ")");
            }
          },
  };
}

}  // namespace

std::vector<Rule> removal_rules() {
  return {unit_not_installed(), unit_required_by_others(), removal_after_deletion(), feature_of_staying_component()};
}

}  // namespace eclipse_lint
