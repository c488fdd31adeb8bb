// Rules about what the metadata of repositories says of features: their versions, and what they require.
#include <algorithm>
#include <map>
#include <set>
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
  if (unmet.is_of_something_unknown()) return ", which no listed repository has";
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
  return "ship it in such a version, or build " + in_quotes(unmet.unit.id) + " with the available version";
}

/// For one that is not certain, one would have to know the instance. `unnamed` is a repository that would meet it, if there is
/// one.
void report_unmet(const UnmetRequirement& unmet, const std::string& unnamed, Reporter& reporter) {
  const Requirement& requirement = *unmet.requirement;
  std::string message = in_quotes(text_of(unmet.unit)) + " requires " + text_of_range(requirement.range) + " of " +
                        in_quotes(requirement.name) + what_there_is(unmet);
  if (!unnamed.empty()) message += "; " + in_quotes(unnamed) + " has it, but no line names this repository";
  reporter.report(unmet.is_certain ? Severity::error : Severity::warning, unmet.record->location(1), std::move(message),
                  fix_of(unmet, unnamed));
  if (unmet.is_certain) reporter.fails({unmet.record});
}

void check_requirements(const Input& input, Reporter& reporter) {
  if (!input.needed || !input.offered) return;
  const bool is_certain = input.session && input.session->installed;
  for (const NamedFeature& named : input.needed->named()) {
    if (named.description == nullptr || fulfils(input.needed->environment(), named.description->filter) != false) continue;
    reporter.report(is_certain ? Severity::error : Severity::warning, named.record->location(1),
                    in_quotes(text_of(named.unit)) + " is for other systems only: " + named.description->filter,
                    "publish it without this filter, or delete the line");
    if (is_certain) reporter.fails({named.record});
  }
  UnnamedRepositories unnamed(input);
  for (const UnmetRequirement& unmet : input.needed->unmet()) {
    const Component* const component = unmet.record->descriptor->component;
    const std::string repository = component == nullptr ? "" : unnamed.that_meets(*unmet.requirement, *component);
    if (!unmet.is_of_something_unknown() || !repository.empty()) report_unmet(unmet, repository, reporter);
  }
}

Rule requirement_not_met() {
  return {.name = "requirement-not-met",
          .group = Group::features,
          .severity = Severity::error,
          .title =
              "a unit that a feature requires is available, but not in a suitable version, not for this system, or only in a "
              "repository that no line names",
          .why =
              "The director reports that the requirement could not be found, so the command for all features fails. It does "
              "not load repositories to which others refer (<references>). Lint compares the versions and filters in the "
              "repositories and in the instance, where the director has no choice. It does not report a requirement that is "
              "in neither, nor in another repository of the component. When the instance is not known, it may have a suitable "
              "version, so lint warns only of requirements on one exact version, and of those on units that begin like the one "
              "that requires them, such as \"org.example.\".",
          .fix = "ship the required unit, or correct the requirement",
          .bad = component_with_unit("1.0.0", required_unit("[1.0.0.v1,1.0.0.v1]", "")),
          .good = component_with_unit("1.0.0", required_unit("[1.0.0.v2,1.0.0.v2]", "(osgi.os=linux)")),
          .check = check_requirements,
          .concerns_removals = false};
}

// ---- Singletons ----

/// A bundle that a feature requires in exactly one version, itself or through features that it includes.
struct Pin {
  const NamedFeature* by;
  Unit unit;
  bool is_singleton;
};

/// What a feature pins, and the features that it includes, without those that are settled.
struct Pins {
  std::vector<Pin> bundles;
  std::set<Unit> features;
};

Pins pins_of(const NamedFeature& named, const NeededUnits& needed, const std::set<Unit>& settled) {
  Pins pins;
  std::set<Unit> known = {named.unit};
  std::vector<Unit> open = {named.unit};
  while (!open.empty()) {
    const UnitDescription* const description = needed.description_of(open.back());
    open.pop_back();
    if (description == nullptr) continue;
    for (const Unit& pinned : needed.pinned_by(*description)) {
      const UnitDescription* const of_pinned = needed.description_of(pinned);
      if (of_pinned == nullptr || settled.contains(pinned) || !known.insert(pinned).second) continue;
      if (of_pinned->is_group) {
        open.push_back(pinned);
        pins.features.insert(pinned);
      } else {
        pins.bundles.push_back({&named, pinned, of_pinned->is_singleton});
      }
    }
  }
  return pins;
}

/// In the order in which the director gets them, where one that is installed stays.
std::vector<const NamedFeature*> in_install_order(const NeededUnits& needed) {
  std::vector<const NamedFeature*> features;
  for (const NamedFeature& named : needed.named()) {
    if (named.record->takes_part()) features.push_back(&named);
  }
  std::stable_sort(features.begin(), features.end(), [&](const NamedFeature* one, const NamedFeature* other) {
    const auto key = [&](const NamedFeature* named) {
      return std::pair(!needed.is_installed(named->unit), named->record->placement->slot);
    };
    return key(one) < key(other);
  });
  return features;
}

void report_rival(const Pin& first, const Pin& pin, Reporter& reporter) {
  reporter.report(pin.by->record->location(1), in_quotes(text_of(pin.by->unit)) + " includes " + text_of(pin.unit) + ", but " +
                                                   in_quotes(text_of(first.by->unit)) + " (" + first.by->record->where() +
                                                   ") includes version " + first.unit.version +
                                                   ", and an instance can have only one of them");
  reporter.fails({pin.by->record});
}

/// Those that fail whatever else is installed.
std::set<const Record*> unresolvable(const NeededUnits& needed) {
  std::set<const Record*> records;
  for (const UnmetRequirement& unmet : needed.unmet()) {
    if (unmet.is_certain && !unmet.is_of_something_unknown()) records.insert(unmet.record);
  }
  return records;
}

/// Whether an instance cannot have both: two versions, of which one is a singleton.
bool are_rivals(const Pin& one, const Pin& other) {
  return (one.is_singleton || other.is_singleton) && whole_version(one.unit.version) != whole_version(other.unit.version);
}

/// Of the features so far that can be installed together.
class PinnedBundles {
 public:
  /// Null when there is none. Two versions of one feature are the matter of another rule.
  const Pin* rival_of(const Pin& pin) const {
    const auto first = first_.find(pin.unit.id);
    if (first == first_.end() || first->second.by->unit.id == pin.by->unit.id) return nullptr;
    return are_rivals(first->second, pin) ? &first->second : nullptr;
  }

  void add(const Pins& pins) {
    for (const Pin& pin : pins.bundles) first_.emplace(pin.unit.id, pin);
    settled_.insert(pins.features.begin(), pins.features.end());
  }

  const std::set<Unit>& settled() const { return settled_; }

 private:
  std::map<std::string, Pin> first_;
  std::set<Unit> settled_;  ///< the included features whose bundles are all in first_
};

/// The first two bundles of one feature that are rivals; null when there are none.
std::pair<const Pin*, const Pin*> rivals_in(const Pins& pins) {
  std::map<std::string_view, const Pin*> first;
  for (const Pin& pin : pins.bundles) {
    const Pin* const other = first.emplace(pin.unit.id, &pin).first->second;
    if (are_rivals(*other, pin)) return {other, &pin};
  }
  return {nullptr, nullptr};
}

void report_own_rivals(const Pin& one, const Pin& other, Reporter& reporter) {
  reporter.report(one.by->record->location(1),
                  in_quotes(text_of(one.by->unit)) + " includes both " + text_of(one.unit) + " and " + text_of(other.unit) +
                      ", and an instance can have only one of them",
                  "build the feature with one version of the bundle");
  reporter.fails({one.by->record});
}

void check_singletons(const Input& input, Reporter& reporter) {
  if (!input.needed) return;
  const std::set<const Record*> failing = unresolvable(*input.needed);
  PinnedBundles bundles;
  for (const NamedFeature* const named : in_install_order(*input.needed)) {
    if (failing.contains(named->record)) continue;
    const Pins pins = pins_of(*named, *input.needed, bundles.settled());
    const auto rival = std::find_if(pins.bundles.begin(), pins.bundles.end(),
                                    [&](const Pin& pin) { return bundles.rival_of(pin) != nullptr; });
    if (const auto [one, other] = rivals_in(pins); one != nullptr) {
      report_own_rivals(*one, *other, reporter);
    } else if (rival != pins.bundles.end()) {
      report_rival(*bundles.rival_of(*rival), *rival, reporter);
    } else {
      bundles.add(pins);
    }
  }
}

/// Two features, of which each includes another version of a bundle.
Sample two_features_with_bundle(const std::string& attributes) {
  const auto feature = [](const std::string& name, const std::string& version) {
    return "  <unit id='org.example." + name + ".feature.group' version='1.0.0' singleton='false'>\n" +
           "    <properties><property name='org.eclipse.equinox.p2.type.group' value='true'/></properties>\n"
           "    <requires><required namespace='org.eclipse.equinox.p2.iu' name='org.example.core' range='[" +
           version + "," + version + "]'/></requires></unit>\n";
  };
  return component(std::string(line_of_one) + "site\torg.example.two.feature.group\t\t1\n",
                   {{"tools/site/content.xml", "<?xml version='1.0'?>\n<repository><units>\n" + feature("one", "1.0.0") +
                                                   feature("two", "2.0.0") + "  <unit id='org.example.core' version='1.0.0'" +
                                                   attributes + "/>\n  <unit id='org.example.core' version='2.0.0'" +
                                                   attributes + "/>\n</units></repository>\n"}});
}

Rule singleton_in_two_versions() {
  return {.name = "singleton-in-two-versions",
          .group = Group::features,
          .severity = Severity::error,
          .title = "two features include different versions of a bundle of which an instance can have only one",
          .why =
              "The director reports \"Only one of the following can be installed at once\", so the command for all features "
              "fails. Then the plug-in tries each feature alone, and the later one fails. Lint compares exact versions, which "
              "features have of what they include.",
          .fix = "build both features with the same version of the bundle, or move the bundle to a feature of its own",
          .bad = two_features_with_bundle(""),
          .good = two_features_with_bundle(" singleton='false'"),
          .check = check_singletons,
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
  return {unit_version_invalid(), requirement_not_met(), singleton_in_two_versions(), feature_empty_on_this_system(),
          qualifiers_compared_as_text()};
}

}  // namespace eclipse_lint
