// The rule about bundles of which an instance can have only one version.
#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/printable.h"
#include "lint/input.h"
#include "lint/needed_units.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "p2/profile.h"
#include "p2/unit.h"
#include "p2/version.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace eclipse_lint {

namespace {

constexpr const char* fix_of_singletons =
    "build both features with the same version of the bundle, or move the bundle to a feature of its own";

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

/// `other` is what requires this version.
void report_rival(const Pin& pin, const std::string& other, const std::string& version, const std::string& fix,
                  Reporter& reporter) {
  reporter.report(pin.by->record->location(1),
                  in_quotes(text_of(pin.by->unit)) + " includes " + text_of(pin.unit) + ", but " + other + " version " +
                      version + ", and an instance can have only one of them",
                  fix);
  reporter.fails({pin.by->record});
}

/// Whether an instance cannot have both: two versions, of which one is a singleton.
bool are_rivals(const Pin& pin, const std::string& other_version, bool is_other_singleton) {
  return (pin.is_singleton || is_other_singleton) && whole_version(pin.unit.version) != whole_version(other_version);
}
bool are_rivals(const Pin& pin, const Pin& other) { return are_rivals(pin, other.unit.version, other.is_singleton); }

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

/// Those in the instance that a feature requires which the session does not name.
class InstalledBundles {
 public:
  explicit InstalledBundles(const Input& input) : needed_(*input.needed) {
    if (!input.session || !input.session->installed) return;
    std::set<std::string_view> named;
    for (const NamedFeature& feature : needed_.named()) {
      if (feature.record->takes_part()) named.insert(feature.unit.id);
    }
    for (const InstalledUnit& unit : *input.session->installed) {
      if (!unit.pinned_by.empty() && !named.contains(unit.pinned_by)) pinned_.emplace(unit.id, &unit);
    }
  }

  /// Null when there is none.
  const InstalledUnit* rival_of(const Pin& pin) const {
    const auto found = pinned_.find(pin.unit.id);
    if (found == pinned_.end() || needed_.is_installed(pin.unit)) return nullptr;
    return are_rivals(pin, found->second->version, found->second->is_singleton) ? found->second : nullptr;
  }

 private:
  const NeededUnits& needed_;
  std::map<std::string_view, const InstalledUnit*> pinned_;
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

/// Whether there is one.
bool report_first_rival(const Pins& pins, const PinnedBundles& bundles, const InstalledBundles& installed, Reporter& reporter) {
  if (const auto [one, other] = rivals_in(pins); one != nullptr) {
    report_own_rivals(*one, *other, reporter);
    return true;
  }
  for (const Pin& pin : pins.bundles) {
    if (const Pin* const rival = bundles.rival_of(pin)) {
      const std::string other = in_quotes(text_of(rival->by->unit)) + " (" + rival->by->record->where() + ") includes";
      report_rival(pin, other, rival->unit.version, fix_of_singletons, reporter);
      return true;
    }
    if (const InstalledUnit* const rival = installed.rival_of(pin)) {
      report_rival(
          pin, in_quotes(rival->pinned_by) + ", which was installed by name, requires", rival->version,
          "build the feature with this version of the bundle, or first remove or update " + in_quotes(rival->pinned_by),
          reporter);
      return true;
    }
  }
  return false;
}

void check_singletons(const Input& input, Reporter& reporter) {
  if (!input.needed) return;
  const std::set<const Record*> impossible = input.needed->impossible_records();
  const InstalledBundles installed(input);
  PinnedBundles bundles;
  for (const NamedFeature* const named : in_install_order(*input.needed)) {
    if (impossible.contains(named->record)) continue;
    const Pins pins = pins_of(*named, *input.needed, bundles.settled());
    if (!report_first_rival(pins, bundles, installed, reporter)) bundles.add(pins);
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
              "features have of what they include. Of what is installed already, it knows what features include directly that "
              "were installed by name.",
          .fix = fix_of_singletons,
          .bad = two_features_with_bundle(""),
          .good = two_features_with_bundle(" singleton='false'"),
          .check = check_singletons,
          .concerns_removals = false};
}

}  // namespace

std::vector<Rule> features_singletons_rules() { return {singleton_in_two_versions()}; }

}  // namespace eclipse_lint
