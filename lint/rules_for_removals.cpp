// Rules about removals, which need what the instance has.
#include <algorithm>
#include <iterator>
#include <map>
#include <string_view>

#include "host/json_document.h"
#include "inquiry/profile.h"
#include "inquiry/versions.h"
#include "lint/product.h"
#include "lint/rule.h"
#include "lint/sample_sessions.h"
#include "lint/texts.h"

namespace fs = std::filesystem;
using eclipse_host::in_quotes;
using eclipse_inquiry::InstalledUnit;
using eclipse_inquiry::whole_version;
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
  const fs::path instance = eclipse_inquiry::instance_folder(product.session->executable());
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
  const auto installed = eclipse_inquiry::profile_units(eclipse_inquiry::instance_folder(product.session->executable()));
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
  if (!product.session->run.logged("eclipse_int: feature list is empty")) return;
  for (const Component& component : product.components) {
    if (!component.catalogue->selected_for_removal) continue;
    if (!product.library->asks_for_integration(component.capabilities)) continue;
    reporter.report(component.place,
                    "the component's descriptor files are not there any more: the run finds nothing to remove");
  }
}

}  // namespace

std::vector<Rule> rules_for_removals() {
  return {
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
  };
}

}  // namespace eclipse_lint
