// Rules about what the metadata of a repository says of the units that are needed.
#include <set>
#include <string>

#include "base/printable.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/needed_units.h"
#include "lint/rules/samples.h"
#include "p2/director_command.h"
#include "p2/version.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace eclipse_lint {

namespace {

Sample site_with_unit(const std::string& version, const std::string& more) {
  return component(line_of_one, {{"tools/site/content.xml",
                                  "<?xml version='1.0'?>\n<repository><units>\n"
                                  "  <unit id='org.example.one.feature.group' version='" +
                                      version + "'>" + more + "</unit>\n</units></repository>\n"}});
}

// ---- Versions ----

void check_version(const Record& record, const std::string& version, Reporter& reporter) {
  constexpr std::string_view literal = ".qualifier";
  const std::string of_feature =
      in_quotes(record.repository()) + " has " + in_quotes(record.feature()) + " in version " + in_quotes(version);
  if (!is_osgi_version(version)) {
    reporter.report(record.location(1), of_feature + ", which the director reads as 0.0.0");
  } else if (version.ends_with(literal)) {
    reporter.report(Severity::warning, record.location(1), of_feature + ": \"qualifier\" is not replaced",
                    "have the build replace \"qualifier\", for example by a time; otherwise every build has the same version, "
                    "higher than those with a time, and no later one replaces it");
  }
}

Rule unit_version_invalid() {
  return {.name = "unit-version-invalid",
          .group = Group::features,
          .severity = Severity::error,
          .title = "a repository offers a feature in a version that is not one of OSGi",
          .why =
              "The director reads the version as 0.0.0 and looks for the files of that version, which do not exist. If the "
              "build left \"qualifier\" in the version, all builds have the same one.",
          .fix = "build the feature with a version such as 1.0.0 or 1.0.0.20240131, and publish it again",
          .bad = site_with_unit("1.0.0-SNAPSHOT", ""),
          .good = site_with_unit("1.0.0.SNAPSHOT", ""),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_looked_into(input, [&](const Record& record) {
                  if (!record.placement || !record.site->units) return;
                  const auto unit = record.site->units->find(std::string(record.feature()));
                  if (unit == record.site->units->end()) return;
                  for (const std::string& version : unit->second) check_version(record, version, reporter);
                });
              },
          .concerns_removals = false};
}

// ---- Instructions ----

void report_action(const Record& record, const Unit& unit, const std::string& action, Reporter& reporter) {
  const std::size_t colon = action.find(':');
  const std::string phase = action.substr(0, colon);
  const bool is_removal = phase == "uninstall" || phase == "unconfigure";
  reporter.report(record.location(0), in_quotes(text_of(unit)) + " in " + in_quotes(record.repository()) +
                                          " calls the action " + in_quotes(action.substr(colon + 1)) + " to " + phase +
                                          ", which p2 does not have" +
                                          (is_removal ? ": once installed, it cannot be removed" : ""));
}

Rule action_unknown() {
  return {
      .name = "action-unknown",
      .group = Group::repositories,
      .severity = Severity::error,
      .title = "a unit calls an action that p2 does not have, and requires no unit that brings it",
      .why =
          "The director ends with \"No action found\". If the action is for the removal, the unit can be installed but never "
          "be removed.",
      .fix = "correct the p2.inf of the feature or bundle, or add metaRequirements for the bundle with the action",
      .bad = site_with_unit("1.0.0",
                            "<touchpointData><instructions><instruction key='install'>org.example.register(a:b);"
                            "</instruction></instructions></touchpointData>"),
      .good = site_with_unit("1.0.0",
                             "<touchpointData><instructions><instruction key='install'>"
                             "org.eclipse.equinox.p2.touchpoint.natives.mkdir(path:${installFolder}/a);"
                             "</instruction></instructions></touchpointData>"),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.known_units) return;
            const Sites sites = loaded_sites(input);
            const NeededUnits needed(input, sites);
            for (const auto& [site, record] : sites) {
              for (const Unit& unit : needed.all()) {
                const auto found = site->descriptions.find(unit);
                if (found == site->descriptions.end()) continue;
                for (const std::string& action : found->second.foreign_actions) report_action(*record, unit, action, reporter);
              }
            }
          },
      .concerns_removals = false};
}

}  // namespace

std::vector<Rule> rules_about_units() { return {unit_version_invalid(), action_unknown()}; }

}  // namespace eclipse_lint
