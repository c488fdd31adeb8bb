// Rules about what the metadata of repositories says of features: their versions, and what they require.
#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "base/printable.h"
#include "lint/input.h"
#include "lint/needed_units.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"
#include "lint/unnamed_repositories.h"
#include "p2/filter.h"
#include "p2/requirement.h"
#include "p2/unit_list.h"
#include "p2/version.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace eclipse_lint {

namespace {

// ---- Versions ----

void check_version(const Record& record, const std::string& id, const std::string& version, Reporter& reporter) {
  constexpr std::string_view literal = ".qualifier";
  const auto of_feature = [&] {
    return in_quotes(record.repository()) + " has " + in_quotes(id) + " in version " + in_quotes(version);
  };
  if (!is_osgi_version(version)) {
    reporter.report(record.location(1), of_feature() + ", which the director reads as 0.0.0");
    reporter.fails({&record});
  } else if (version.ends_with(literal)) {
    reporter.report(Severity::warning, record.location(1), of_feature() + ": \"qualifier\" is not replaced",
                    "let the build replace \"qualifier\", for example by a time; otherwise every build has the same version, "
                    "which is higher than any version with a time, so no later build replaces it");
  }
}

Rule unit_version_invalid() {
  return {.name = "unit-version-invalid",
          .group = Group::features,
          .severity = Severity::error,
          .title = "a repository offers a feature in a version that is not an OSGi version",
          .why =
              "The director reads the version as 0.0.0 and looks for the files of that version, which do not exist. If the "
              "build left \"qualifier\" in the version, all builds have the same one.",
          .fix = "build the feature with a version such as 1.0.0 or 1.0.0.20240131, and publish it again",
          .bad = component_with_unit("1.0.0-SNAPSHOT", ""),
          .good = component_with_unit("1.0.0.SNAPSHOT", ""),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_looked_into(input, [&](const Record& record) {
                  if (!record.placement || !record.site->units) return;
                  for (const WrittenUnit& written : record.units) {
                    const auto offered = record.site->units->find(written.unit.id);
                    if (offered == record.site->units->end()) continue;
                    for (const std::string& version : offered->second)
                      check_version(record, written.unit.id, version, reporter);
                  }
                });
              },
          .concerns_removals = false};
}

// ---- Requirements ----

std::string required_unit(const std::string& range, const std::string& filter, const std::string& more = "") {
  const auto in_filter = [](const std::string& text) { return text.empty() ? "" : "<filter>" + text + "</filter>"; };
  return "<properties><property name='org.eclipse.equinox.p2.type.group' value='true'/></properties>\n"
         "    <requires><required namespace='org.eclipse.equinox.p2.iu' name='org.example.one.plugin' range='" +
         range + "'>" + more + "</required></requires></unit>\n  <unit id='org.example.one.plugin' version='1.0.0.v2'>" +
         in_filter(filter);
}

std::string what_there_is(const UnmetRequirement& unmet) {
  if (!unmet.filter.empty()) return ", which the repositories have for other systems only: " + unmet.filter;
  if (unmet.is_of_something_unknown()) {
    return unmet.is_include && unmet.is_certain ? ", which neither a listed repository nor the instance has"
                                                : ", which no listed repository has";
  }
  std::string text = ", but ";
  if (!unmet.offered.empty()) text += "the repositories have " + joined(unmet.offered);
  if (unmet.installed.empty()) return text;
  return text + (unmet.offered.empty() ? "" : ", and ") + "the instance has " + joined(unmet.installed);
}

std::string fix_of(const UnmetRequirement& unmet, const std::string& unnamed) {
  if (!unnamed.empty()) return "add a line with " + in_quotes(unnamed) + " and two tabs";
  if (!unmet.filter.empty()) {
    return "ship one for this system, or give the requirement the same filter, so that it counts only there";
  }
  if (unmet.is_of_something_unknown()) return "publish it in a repository of the component, and name that in a line";
  return "ship it in such a version, or build " + in_quotes(unmet.unit.id) + " with the available version";
}

/// For one that is not certain, one would have to know the instance. `unnamed` is a repository that would meet it, if there is
/// one.
void report_unmet(const UnmetRequirement& unmet, const std::string& unnamed, const NeededUnits& needed, Reporter& reporter) {
  const Requirement& requirement = *unmet.requirement;
  std::string message = in_quotes(text_of(unmet.unit)) + " requires " + text_of_range(requirement.range) + " of " +
                        in_quotes(requirement.name) + what_there_is(unmet);
  if (!unnamed.empty()) message += "; " + in_quotes(unnamed) + " has it, but no line names this repository";
  reporter.report(unmet.is_certain ? Severity::error : Severity::warning, unmet.record->location(1), std::move(message),
                  fix_of(unmet, unnamed));
  if (unmet.is_certain) reporter.fails(needed.records_that_need({unmet.unit}));
}

void check_requirements(const Input& input, Reporter& reporter) {
  if (!input.needed || !input.offered) return;
  const bool is_certain = input.session && input.session->installed;
  for (const NamedFeature& named : input.needed->named()) {
    if (!input.needed->is_for_other_system(named)) continue;
    reporter.report(is_certain ? Severity::error : Severity::warning, named.record->location(1),
                    in_quotes(text_of(named.unit)) + " is for other systems only: " + named.description->filter,
                    "publish it without this filter, or delete the line");
    if (is_certain) reporter.fails({named.record});
  }
  UnnamedRepositories unnamed(input);
  for (const UnmetRequirement& unmet : input.needed->unmet()) {
    const Component* const component = unmet.record->descriptor->component;
    const std::string repository = component == nullptr ? "" : unnamed.that_meets(*unmet.requirement, *component);
    if (!unmet.may_be_met() || !repository.empty()) report_unmet(unmet, repository, *input.needed, reporter);
  }
}

Rule requirement_not_met() {
  return {
      .name = "requirement-not-met",
      .group = Group::features,
      .severity = Severity::error,
      .title =
          "a unit that a feature requires is not available, or not in a suitable version, not for this system, or only in a "
          "repository that no line names",
      .why =
          "The director reports that the requirement could not be found, so the command for all features fails. It does "
          "not load repositories to which others refer (<references>). Lint compares the versions and filters in the "
          "repositories and in the instance, where the director has no choice. Of what is in neither, nor in another "
          "repository of the component, it reports only what a feature includes; another unit may provide anything else. "
          "When the instance is not known, it may have a suitable version, so lint warns only of requirements on one exact "
          "version, and of those between units of the feature's vendor, whose ids begin with the same two words, such as "
          "\"org.example.\".",
      .fix = "ship the required unit, or correct the requirement",
      .bad = component_with_unit("1.0.0", required_unit("[1.0.0.v1,1.0.0.v1]", "")),
      .good = component_with_unit("1.0.0", required_unit("[1.0.0.v2,1.0.0.v2]", "(osgi.os=linux)")),
      .check = check_requirements,
      .concerns_removals = false};
}

// ---- What is left of a feature on this system ----

bool is_empty_in(const Environment& environment, const NamedFeature& named) {
  if (named.description == nullptr || !named.description->is_group) return false;
  const std::string own_jar = named.unit.id.substr(0, named.unit.id.rfind(group_suffix)) + std::string(feature_jar_suffix);
  std::size_t count = 0;
  for (const Requirement& requirement : named.description->requirements) {
    if (requirement.name == own_jar) continue;
    if (fulfils(environment, requirement.filter) != false) return false;
    ++count;
  }
  return count != 0;
}

Rule feature_empty_on_this_system() {
  const std::string for_windows = "<filter>(osgi.os=win32)</filter>";
  return {.name = "feature-empty-on-this-system",
          .group = Group::features,
          .severity = Severity::warning,
          .title = "a feature has bundles for other platforms only",
          .why = "The director installs the feature without a single bundle, and reports success.",
          .fix = "include the bundles for this system, or delete the line",
          .bad = component_with_unit("1.0.0", required_unit("0.0.0", "", for_windows)),
          .good = component_with_unit("1.0.0", required_unit("0.0.0", "", "<filter>(!(osgi.os=win32))</filter>")),
          .check =
              [](const Input& input, Reporter& reporter) {
                if (!input.needed) return;
                for (const NamedFeature& named : input.needed->named()) {
                  if (!is_empty_in(input.needed->environment(), named)) continue;
                  reporter.report(named.record->location(1),
                                  in_quotes(text_of(named.unit)) + " installs none of its bundles on this system");
                }
              },
          .concerns_removals = false};
}

// ---- Qualifiers ----

/// All versions of a unit in the repositories and the instance.
std::vector<std::string> known_versions(const Input& input, const std::string& id) {
  std::vector<std::string> versions;
  if (const auto found = input.known_units->find(id); found != input.known_units->end()) {
    versions.assign(found->second.begin(), found->second.end());
  }
  if (!input.session || !input.session->installed) return versions;
  for (const InstalledUnit& unit : *input.session->installed) {
    if (unit.id == id) versions.push_back(unit.version);
  }
  return versions;
}

void check_qualifiers(const Input& input, const NamedFeature& named, Reporter& reporter) {
  const auto versions = known_versions(input, named.unit.id);
  for (const std::string& newer : versions) {
    const auto older = std::find_if(versions.begin(), versions.end(),
                                    [&](const std::string& version) { return has_lower_number(newer, version); });
    if (older == versions.end()) continue;
    reporter.report(named.record->location(1), "of " + in_quotes(named.unit.id) + ", " + newer + " is higher than " + *older);
    return;
  }
}

Rule qualifiers_compared_as_text() {
  return {.name = "qualifiers-compared-as-text",
          .group = Group::features,
          .severity = Severity::note,
          .title = "p2 orders two versions differently than the numbers in their qualifiers",
          .why = "p2 compares qualifiers as text, so the director takes 1.0.0.b9 rather than 1.0.0.b10.",
          .fix = "write the number with a fixed number of digits, such as b09, or write a time, such as 202401311200",
          .bad = component_with_unit("1.0.0.b9", "</unit>\n  <unit id='org.example.one.feature.group' version='1.0.0.b10'>"),
          .good = component_with_unit("1.0.0.b09", "</unit>\n  <unit id='org.example.one.feature.group' version='1.0.0.b10'>"),
          .check =
              [](const Input& input, Reporter& reporter) {
                if (!input.needed) return;
                for (const NamedFeature& named : input.needed->named()) check_qualifiers(input, named, reporter);
              },
          .concerns_removals = false};
}

}  // namespace

std::vector<Rule> features_units_rules() {
  return {unit_version_invalid(), requirement_not_met(), feature_empty_on_this_system(), qualifiers_compared_as_text()};
}

}  // namespace eclipse_lint
