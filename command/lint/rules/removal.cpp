// Rules about removals, which depend on what is installed in the instance.
#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string_view>

#include "base/printable.h"
#include "dry_run/log_lines.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "p2/director_command.h"
#include "p2/profile.h"
#include "p2/unit.h"

using namespace eclipse_p2;

namespace fs = std::filesystem;
using eclipse_p2::InstalledUnit;
using eclipse_p2::Unit;
using eclipse_p2::units_named;
using namespace eclipse_lint::samples;

using namespace eclipse_base;

namespace eclipse_lint {

namespace {

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

using UnitsById = std::multimap<std::string_view, const InstalledUnit*>;

UnitsById by_id(const std::vector<InstalledUnit>& installed) {
  UnitsById units;
  for (const InstalledUnit& unit : installed) units.emplace(unit.id, &unit);
  return units;
}

struct RemovedUnit {
  Unit unit;
  Location location;  ///< of the line that names it
};

bool is_meant(const RemovedUnit& removed, const InstalledUnit& installed) {
  return is_wanted(removed.unit, {installed.id, installed.version});
}

/// What a removal's first command asks the director to remove.
std::vector<RemovedUnit> removed_units(const Input& input) {
  std::map<Unit, Location> places;
  for (const Record& record : input.records) {
    if (!record.placement || !record.descriptor->component->catalogue->selected_for_removal) continue;
    for (const Unit& unit : units_named(record.config->feature)) places.emplace(unit, record.location(1));
  }
  const auto command = cut_director_command(input.session->run.commands.at(0));
  std::vector<RemovedUnit> removed;
  if (!command) return removed;
  for (const Unit& unit : units_named(command->features)) {
    const auto place = places.find(unit);
    removed.push_back({unit, place == places.end() ? input.session->mode : place->second});
  }
  return removed;
}

/// Why a unit cannot be removed; empty when the instance has it.
std::string why_not_installed(const UnitsById& installed, const RemovedUnit& removed) {
  const auto [begin, end] = installed.equal_range(removed.unit.id);
  if (begin == end) return in_quotes(removed.unit.id) + " is not installed in the instance";
  if (std::any_of(begin, end, [&](const auto& unit) { return is_meant(removed, *unit.second); })) return "";
  return in_quotes(text_of(removed.unit)) + " is not installed in the instance; the installed version is " +
         std::prev(end)->second->version;
}

/// The directory of the instance that a removal works on; nothing when nothing is removed.
std::optional<fs::path> instance_of_removal(const Input& input) {
  if (!input.is_removal() || input.session->run.commands.empty()) return std::nullopt;
  return eclipse_p2::instance_directory(input.session->executable());
}

void report_unreadable_profile(const Input& input, const fs::path& instance, Reporter& reporter) {
  const fs::path profile = eclipse_p2::profile_file(instance);
  if (profile.empty()) return;
  reporter.report(Severity::warning, input.session->mode,
                  "the profile of the instance cannot be read, so the installed units are unknown: " + profile.string(),
                  "make the file readable, or repair the instance: the director needs this profile, too");
}

Rule unit_not_installed() {
  return {
      .name = "unit-not-installed",
      .group = Group::removal,
      .severity = Severity::error,
      .title = "a removal names a unit that is not installed in the instance",
      .why =
          "The director removes all units or none, so nothing is removed. The commands that the plug-in runs after that are "
          "malformed.",
      .fix = "leave the unit out of the removal, or install it again first",
      .bad = product(internal_session("uninstall"),
                     {{profile_name, "<profile><units><unit id='local.ide'/></units></profile>\n"}}),
      .good = product(internal_session("uninstall"),
                      {{profile_name, "<profile><units><unit id='org.example.one.feature.group'/></units></profile>\n"}}),
      .check =
          [](const Input& input, Reporter& reporter) {
            const auto instance = instance_of_removal(input);
            if (!instance) return;
            const auto installed = eclipse_p2::profile_units(*instance);
            if (!installed) return report_unreadable_profile(input, *instance, reporter);
            const UnitsById units = by_id(*installed);
            for (const RemovedUnit& removed : removed_units(input)) {
              std::string reason = why_not_installed(units, removed);
              if (!reason.empty()) reporter.report(removed.location, std::move(reason));
            }
          },
  };
}

/// Of the roots that are not removed, and of all that they require.
std::set<std::string_view> ids_kept(const std::vector<InstalledUnit>& installed, const std::vector<RemovedUnit>& removed) {
  std::vector<std::string_view> roots;
  for (const InstalledUnit& unit : installed) {
    const auto is_it = [&](const RemovedUnit& each) { return is_meant(each, unit); };
    if (unit.is_root && std::none_of(removed.begin(), removed.end(), is_it)) roots.push_back(unit.id);
  }
  return eclipse_p2::ids_kept_by(std::move(roots), installed);
}

/// The unit that keeps a removed one in the instance; empty when none does.
std::string requirer_of(const RemovedUnit& removed, const UnitsById& units, const std::set<std::string_view>& kept) {
  const auto [begin, end] = units.equal_range(removed.unit.id);
  const auto found = std::find_if(begin, end, [&](const auto& each) { return is_meant(removed, *each.second); });
  if (found == end) return "";
  const auto& requirers = found->second->required_by;
  const auto requirer = std::find_if(requirers.begin(), requirers.end(), [&](const auto& id) { return kept.contains(id); });
  return requirer == requirers.end() ? "" : *requirer;
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
            const auto instance = instance_of_removal(input);
            const auto installed = instance ? eclipse_p2::profile_units(*instance) : std::nullopt;
            if (!installed) return;
            const std::vector<RemovedUnit> all_removed = removed_units(input);
            const auto kept = ids_kept(*installed, all_removed);
            const UnitsById units = by_id(*installed);
            for (const RemovedUnit& removed : all_removed) {
              const std::string requirer = requirer_of(removed, units, kept);
              if (requirer.empty()) continue;
              reporter.report(removed.location,
                              in_quotes(removed.unit.id) + " is required by " + in_quotes(requirer) + ", which is not removed");
            }
          },
  };
}

Rule removal_after_deletion() {
  return {
      .name = "removal-after-deletion",
      .group = Group::removal,
      .severity = Severity::error,
      .title = "features are to be removed after their descriptor files were deleted",
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
    for (const Unit& kept : units_named(record.config->feature)) {
      if (kept.id == unit.id) return &record;
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
      .title = "a removal takes a feature that a component which stays brings, too",
      .why = "The director removes the feature, and the component that stays loses it: nothing counts who installed it.",
      .fix = "leave the feature out of the removal, or remove the other component, too",
      .bad = product_with_more(R"("installed": true)"),
      .good = product_with_more(R"("installed": true, "remove": true)"),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.is_removal() || input.session->run.commands.empty()) return;
            for (const RemovedUnit& removed : removed_units(input)) {
              const Record* const keeper = keeper_of(input, removed.unit);
              if (keeper == nullptr) continue;
              reporter.report(removed.location, in_quotes(removed.unit.id) + " is removed, but " +
                                                    in_quotes(keeper->descriptor->component->catalogue->code) +
                                                    ", which stays, brings it, too (" + keeper->where() + ")");
            }
          },
  };
}

}  // namespace

std::vector<Rule> rules_about_removals() {
  return {unit_not_installed(), unit_required_by_others(), removal_after_deletion(), feature_of_staying_component()};
}

}  // namespace eclipse_lint
