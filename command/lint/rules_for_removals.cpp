// Rules about removals, which need what the instance has.
#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string_view>

#include "base/json_document.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/sample_products.h"
#include "p2/profile.h"
#include "p2/unit.h"

using namespace eclipse_p2;

namespace fs = std::filesystem;
using eclipse_base::in_quotes;
using eclipse_p2::InstalledUnit;
using eclipse_p2::Unit;
using eclipse_p2::units_named;
using namespace eclipse_lint::samples;

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
  constexpr std::string_view option = " -u ";
  const std::string_view command = input.session->run.commands.front();
  const std::size_t start = command.find(option) + option.size();
  std::vector<RemovedUnit> removed;
  for (const Unit& unit : units_named(command.substr(start, command.rfind(" 2>&1") - start))) {
    const auto place = places.find(unit);
    removed.push_back({unit, place == places.end() ? input.session->mode : place->second});
  }
  return removed;
}

/// What of a unit an instance does not have; empty when it has it.
std::string lack_of(const UnitsById& installed, const RemovedUnit& removed) {
  const auto [begin, end] = installed.equal_range(removed.unit.id);
  if (begin == end) return in_quotes(removed.unit.id) + " is not installed in the instance";
  if (std::any_of(begin, end, [&](const auto& unit) { return is_meant(removed, *unit.second); })) return "";
  return in_quotes(text_of(removed.unit)) + " is not installed in the instance, which has version " +
         std::prev(end)->second->version;
}

void check_installed(const Input& input, Reporter& reporter) {
  if (!input.is_removal() || input.session->run.commands.empty()) return;
  const fs::path instance = eclipse_p2::instance_directory(input.session->executable());
  const auto installed = eclipse_p2::profile_units(instance);
  if (!installed) {
    const fs::path profile = eclipse_p2::profile_file(instance);
    if (profile.empty()) return;
    reporter.report(Severity::warning, input.session->mode,
                    "the profile of the instance cannot be read, so nothing is known of what it has: " + profile.string(),
                    "make it readable, or fix the instance: the director works on this profile, too");
    return;
  }
  const UnitsById units = by_id(*installed);
  for (const RemovedUnit& removed : removed_units(input)) {
    std::string lack = lack_of(units, removed);
    if (!lack.empty()) reporter.report(removed.location, std::move(lack));
  }
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

void check_not_required(const Input& input, Reporter& reporter) {
  if (!input.is_removal() || input.session->run.commands.empty()) return;
  const auto installed = eclipse_p2::profile_units(eclipse_p2::instance_directory(input.session->executable()));
  if (!installed) return;
  const std::vector<RemovedUnit> all_removed = removed_units(input);
  const auto kept = ids_kept(*installed, all_removed);
  const UnitsById units = by_id(*installed);
  for (const RemovedUnit& removed : all_removed) {
    const auto [begin, end] = units.equal_range(removed.unit.id);
    const auto found = std::find_if(begin, end, [&](const auto& each) { return is_meant(removed, *each.second); });
    if (found == end) continue;
    const auto& requirers = found->second->required_by;
    const auto requirer =
        std::find_if(requirers.begin(), requirers.end(), [&](const std::string& id) { return kept.contains(id); });
    if (requirer == requirers.end()) continue;
    reporter.report(removed.location, in_quotes(removed.unit.id) + " is required by " + in_quotes(*requirer) + ", which stays");
  }
}

void check_files_gone(const Input& input, Reporter& reporter) {
  if (!input.session || !input.session->is_removal()) return;
  if (!input.session->run.logged("eclipse_int: feature list is empty")) return;
  for (const Component& component : input.components) {
    if (!component.catalogue->selected_for_removal) continue;
    if (!input.library->asks_for_integration(component.capabilities)) continue;
    reporter.report(component.location,
                    "the component's descriptor files are not there any more: the run finds nothing to remove");
  }
}

}  // namespace

std::vector<Rule> rules_for_removals() {
  return {
      {.name = "unit-not-installed",
       .group = Group::removal,
       .severity = Severity::error,
       .title = "a removal names a unit that the instance does not have",
       .why = "The director removes all units or none, so nothing is removed. What the plug-in tries after that is a text "
              "which the shell does not understand.",
       .fix = "take it out of what is removed, or install it again before",
       .bad = product(internal_session("uninstall"),
                      {{profile_name, "<profile><units><unit id='local.ide'/></units></profile>\n"}}),
       .good = product(internal_session("uninstall"),
                       {{profile_name, "<profile><units><unit id='org.example.one.feature.group'/></units></profile>\n"}}),
       .check = check_installed},
      {.name = "unit-required-by-others",
       .group = Group::removal,
       .severity = Severity::warning,
       .title = "a removal names a unit that others require",
       .why = "The director reports success and leaves the unit in the instance, for as long as what requires it stays.",
       .fix = "remove what requires it, too, or take the unit out of what is removed",
       .bad = product(internal_session("uninstall"), {{profile_name, profile_of_two}}),
       .good = product(internal_session("uninstall"),
                       {{profile_name, "<profile><units><unit id='org.example.one.feature.group'/></units></profile>\n"}}),
       .check = check_not_required},
      {.name = "removal-after-deletion",
       .group = Group::removal,
       .severity = Severity::error,
       .title = "features are to be removed after their descriptor files were deleted",
       .why = "The features are read from the descriptor files. Without them the run logs \"feature list is empty\", "
              "reports success, and the features stay.",
       .fix = "run the removal before the component's files are deleted",
       .bad = {"session.json",
               {{"session.json", internal_session("uninstall")}, {"ide/eclipse", "#!/bin/sh\n", 0755}, {"tools/", ""}}},
       .good = product(internal_session("uninstall")),
       .check = check_files_gone},
  };
}

}  // namespace eclipse_lint
