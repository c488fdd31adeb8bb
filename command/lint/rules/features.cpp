// Rules about the second column.
#include <algorithm>
#include <cctype>
#include <map>
#include <set>

#include "base/printable.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"
#include "lint/rules/shell_changes.h"
#include "lint/texts.h"
#include "p2/director_command.h"
#include "p2/installation.h"
#include "p2/profile.h"
#include "p2/unit.h"
#include "p2/version.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using eclipse_p2::group_suffix;
using eclipse_p2::is_osgi_version;
using eclipse_p2::UnitVersions;
using eclipse_p2::whole_version;

namespace eclipse_lint {

namespace {

/// A component with this feature and a repository that has the feature and the bundle of org.example.one.
Sample component_with(const std::string& feature) {
  return component("site\t" + feature + "\n",
                   {{"tools/site/content.xml",
                     "<?xml version='1.0'?>\n<repository><units>\n"
                     "  <unit id='org.example.one.feature.group' version='1.0.0'/>\n"
                     "  <unit id='org.example.one.plugin' version='1.0.0'/>\n</units></repository>\n"}});
}

/// One unit in column 2, which may hold several with commas between them.
struct Unit {
  const Record* record;
  std::string text;
  std::size_t start;  ///< in the column

  std::string id() const { return text.substr(0, text.find('/')); }
  std::optional<std::string> version() const {
    const std::size_t slash = text.find('/');
    return slash == std::string::npos ? std::nullopt : std::optional(text.substr(slash + 1));
  }
  Location location() const { return record->descriptor->location(*record->line, 1, start, text.size()); }
};

bool looks_like_option(std::string_view text) { return text.starts_with('-'); }

/// Each unit whose very text is not another rule's matter.
template <typename Use>
void for_each_unit(const Input& input, const Use& use) {
  for_each_placed(input, [&](const Record& record) {
    std::size_t start = 0;
    for (const std::string& text : split(record.feature(), ',')) {
      const bool is_odd = looks_like_option(text) || text != trimmed(text) || !changes_in_feature(text).empty();
      if (!text.empty() && !is_odd) use(Unit{&record, text, start});
      start += text.size() + 1;
    }
  });
}

std::string list_of(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) list += (list.empty() ? "" : ", ") + in_quotes(text);
  return list;
}

// ---- Ids ----

/// The feature that an id without its suffix means; empty when no repository has it.
std::string group_in(const UnitVersions& units, const std::string& id) {
  for (std::string group : {id + std::string(group_suffix), likely_group(id)}) {
    if (units.count(group) != 0) return group;
  }
  return "";
}

/// Replaces the id before a version.
Correction other_id(const Unit& unit, const std::string& id, bool is_safe) {
  return {"write " + id, is_safe, {unit.record->edit(1, unit.start, unit.id().size(), id)}};
}

void check_group_suffix(const Unit& unit, const UnitVersions* units, Reporter& reporter) {
  const std::string id = unit.id();
  if (id.ends_with(group_suffix)) return;
  const std::string group = units != nullptr ? group_in(*units, id) : likely_group(id);
  if (units != nullptr) {
    if (units->count(id) != 0 || group.empty()) return;
    reporter.report(Severity::error, unit.location(),
                    "no repository has " + in_quotes(id) + ", but one has " + in_quotes(group), "write " + group,
                    other_id(unit, group, true));
  } else {
    const bool is_bundle = id.ends_with(".plugin") || id.ends_with(".bundle");
    reporter.report(
        unit.location(), in_quotes(id) + " does not end in \".feature.group\"",
        is_bundle ? "write the id of the feature that contains it, followed by .feature.group" : "did you mean " + group + "?",
        is_bundle || !is_utf8(group) ? std::nullopt : std::optional(other_id(unit, group, false)));
  }
}

Rule feature_without_group_suffix() {
  return {.name = "feature-without-group-suffix",
          .group = Group::features,
          .severity = Severity::warning,
          .title = "the id of a feature does not end in .feature.group",
          .why =
              "The director knows a feature by its id followed by .feature.group. If it does not find a feature, the command "
              "for all features fails.",
          .fix = "append .feature.group to the id",
          .bad = descriptor("sites/alpha\torg.example.alpha\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_unit(input,
                              [&](const Unit& unit) { check_group_suffix(unit, input.offered_for(*unit.record), reporter); });
              },
          .corrects = Corrects::both};
}

std::string list_of_versions(const std::set<std::string>& versions) {
  std::string list;
  for (const std::string& version : versions) list += (list.empty() ? "" : ", ") + version;
  return list;
}

/// Deletes the slash and the version.
Correction without_version(const Unit& unit) {
  const std::size_t length = unit.id().size();
  return {"remove the version", false, {unit.record->edit(1, unit.start + length, unit.text.size() - length)}};
}

/// Version 0.0.0 means any.
void check_version_found(const Unit& unit, const std::set<std::string>& versions, Severity severity, Reporter& reporter) {
  const auto version = unit.version();
  if (!version || !is_osgi_version(*version) || whole_version(*version) == "0.0.0") return;
  const auto is_version = [&](const std::string& other) { return whole_version(other) == whole_version(*version); };
  if (std::any_of(versions.begin(), versions.end(), is_version)) return;
  reporter.report(severity, unit.location(), "no repository has version " + *version + " of " + in_quotes(unit.id()),
                  "the repositories have version " + list_of_versions(versions) + ": write " + unit.id(),
                  without_version(unit));
}

/// The features that there are, those most like `id` first.
std::vector<std::string> nearest_features(const UnitVersions& units, const std::string& id) {
  std::vector<std::pair<std::size_t, std::string>> ranked;
  const std::string wanted = lower_case(id);
  for (const auto& [unit, versions] : units) {
    if (unit.ends_with(group_suffix)) ranked.emplace_back(distance(wanted, lower_case(unit)), unit);
  }
  std::sort(ranked.begin(), ranked.end());
  ranked.resize(std::min<std::size_t>(ranked.size(), 3));
  std::vector<std::string> nearest(ranked.size());
  std::transform(ranked.begin(), ranked.end(), nearest.begin(), [](const auto& unit) { return unit.second; });
  return nearest;
}

/// The only feature that differs in nothing but the case of its letters.
std::optional<Correction> in_other_case(const UnitVersions& units, const Unit& unit) {
  std::vector<std::string> meant;
  for (const auto& [id, versions] : units) {
    if (lower_case(id) == lower_case(unit.id())) meant.push_back(id);
  }
  return meant.size() == 1 ? std::optional(other_id(unit, meant.front(), true)) : std::nullopt;
}

void check_found(const Unit& unit, const UnitVersions& units, Severity severity, Reporter& reporter) {
  const std::string id = unit.id();
  if (const auto found = units.find(id); found != units.end())
    return check_version_found(unit, found->second, severity, reporter);
  if (!id.ends_with(group_suffix) && !group_in(units, id).empty()) return;
  const auto nearest = nearest_features(units, id);
  reporter.report(severity, unit.location(), "no repository has " + in_quotes(id),
                  nearest.empty() ? "publish the feature; the repositories have none at all"
                                  : "write an id that the repositories have: " + list_of(nearest),
                  in_other_case(units, unit));
}

Rule feature_not_found() {
  return {.name = "feature-not-found",
          .group = Group::features,
          .severity = Severity::error,
          .title = "no repository has a feature, or not in this version",
          .why = "The director does not find the feature, so the command for all features fails.",
          .fix = "correct the id (case-sensitive), or publish the feature",
          .bad = component_with("org.example.One.feature.group"),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                // One that cannot be examined may have it.
                const Severity severity = input.offered ? Severity::error : Severity::warning;
                for_each_unit(input, [&](const Unit& unit) {
                  if (const auto* const units = input.offered_for(*unit.record)) check_found(unit, *units, severity, reporter);
                });
              },
          .concerns_removals = false,
          .corrects = Corrects::both};
}

bool is_category(const Unit& unit) {
  if (unit.record->site == nullptr) return false;
  const auto& descriptions = unit.record->site->descriptions;
  return std::any_of(descriptions.begin(), descriptions.end(),
                     [&](const auto& entry) { return entry.first.id == unit.id() && entry.second.is_category; });
}

/// A feature and its plug-in often share an id, and a feature and its jar nearly do.
void check_kind(const Unit& unit, const UnitVersions& units, Reporter& reporter) {
  const std::string id = unit.id();
  if (id.ends_with(group_suffix) || units.count(id) == 0) return;
  const std::string group = group_in(units, id);
  if (!group.empty()) {
    const std::string kind = id.ends_with(".feature.jar") ? " is only the jar of a feature" : " is only a bundle";
    reporter.report(Severity::error, unit.location(), in_quotes(id) + kind + "; the feature is " + in_quotes(group),
                    "write " + group, other_id(unit, group, false));
  } else if (is_category(unit)) {
    reporter.report(unit.location(), in_quotes(id) + " is a category, not a feature", "list the features that are in it");
  } else {
    reporter.report(unit.location(), in_quotes(id) + " is a bundle or a product, not a feature");
  }
}

Rule unit_not_a_feature() {
  return {.name = "unit-not-a-feature",
          .group = Group::features,
          .severity = Severity::warning,
          .title = "a bundle or a product is listed as a feature",
          .why =
              "The director installs it, but no feature groups it with what it requires. Removing a product may delete the "
              "launcher.",
          .fix = "make a feature that contains it, and write that feature's id followed by .feature.group",
          .bad = component("site\torg.example.one\n",
                           {{"tools/site/content.xml",
                             "<?xml version='1.0'?>\n<repository><units>\n"
                             "  <unit id='org.example.one.feature.group' version='1.0.0'/>\n"
                             "  <unit id='org.example.one' version='1.0.0'/>\n</units></repository>\n"}}),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_unit(input, [&](const Unit& unit) {
                  if (const auto* const units = input.offered_for(*unit.record)) check_kind(unit, *units, reporter);
                });
              },
          .corrects = Corrects::unsafely};
}

// ---- Versions ----

Rule feature_version_invalid() {
  return {.name = "feature-version-invalid",
          .group = Group::features,
          .severity = Severity::error,
          .title = "the text after a feature's slash is not a version",
          .why = "The director aborts with an exception, so the command for all features fails.",
          .fix = "write the id without a version",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group/latest\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_unit(input, [&](const Unit& unit) {
                  const auto version = unit.version();
                  if (!version || is_osgi_version(*version)) return;
                  reporter.report(unit.location(), in_quotes(*version) + " is not a version", without_version(unit));
                });
              },
          .corrects = Corrects::unsafely};
}

Rule feature_pinned() {
  return {.name = "feature-pinned",
          .group = Group::features,
          .severity = Severity::warning,
          .title = "a feature is pinned to a version",
          .why = "When another version has replaced this one, the director does not find it to remove it, and removes nothing.",
          .fix = "write the id without a version",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group/1.0.0\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_unit(input, [&](const Unit& unit) {
                  const auto version = unit.version();
                  if (!version || !is_osgi_version(*version)) return;
                  reporter.report(unit.location(), "the feature is pinned to version " + *version, "write " + unit.id(),
                                  without_version(unit));
                });
              },
          .corrects = Corrects::unsafely};
}

// ---- Texts ----

void check_comma(const Record& record, Reporter& reporter) {
  const std::size_t comma = record.feature().find(',');
  if (comma == std::string_view::npos) return;
  const auto pieces = split(record.feature(), ',');
  const auto count = pieces.size() - static_cast<std::size_t>(std::count(pieces.begin(), pieces.end(), ""));
  const Location location = record.descriptor->location(*record.line, 1, comma, 1);
  if (comma == 0) {
    reporter.report(Severity::error, location, "comma before the feature", "remove the comma");
  } else if (count == 1) {
    reporter.report(location, "comma after the feature", "remove the comma");
  } else {
    reporter.report(location, std::to_string(count) + " features in one line");
  }
}

Rule comma_in_feature() {
  return {
      .name = "comma-in-feature",
      .group = Group::features,
      .severity = Severity::warning,
      .title = "a feature contains a comma",
      .why =
          "The director reads several features, but the plug-in treats them as one: they have one place in the install order, "
          "duplicates of them are not recognised, and when the command for all features fails, they are tried together. "
          "The director ignores a comma after a feature. A comma before a feature becomes part of its id, which is not "
          "found.",
      .fix = "write a line for each feature",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group,org.example.beta.feature.group\n"),
      .good = good_descriptor(),
      .check = [](const Input& input, Reporter& reporter) {
        for_each_placed(input, [&](const Record& record) { check_comma(record, reporter); });
      }};
}

Rule feature_looks_like_option() {
  return {.name = "feature-looks-like-option",
          .group = Group::features,
          .severity = Severity::error,
          .title = "a feature begins with \"-\"",
          .why =
              "The director reads it as an option. If it is the first of the list, the command for all features fails; tried "
              "alone, "
              "it always fails.",
          .fix = "correct the id",
          .bad = descriptor("sites/alpha\t-org.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_placed(input, [&](const Record& record) {
              if (!looks_like_option(record.feature())) return;
              reporter.report(record.descriptor->location(*record.line, 1, 0, 1),
                              in_quotes(record.feature()) + " looks like an option");
            });
          }};
}

std::string fix_of_feature(std::string_view text) {
  const std::size_t slash = text.find('/');
  if (slash != text.npos && text.find_first_of("[(", slash) == slash + 1)
    return "write the id without a version; the director takes no version range here";
  std::vector<std::string> ids = split(replaced(text, ";", " "), ' ');
  std::erase(ids, "");
  if (ids.size() > 1 && std::all_of(ids.begin(), ids.end(), looks_like_feature)) return "write a line for each feature";
  return "correct the id; ids consist of letters, digits, \".\", \"_\" and \"-\"";
}

Rule feature_needs_shell_quoting() {
  return {.name = "feature-needs-shell-quoting",
          .group = Group::features,
          .severity = Severity::error,
          .title = "a feature contains a space or a shell metacharacter",
          .why =
              "The plug-in does not quote it. The shell runs, expands or splits what the package says, and the command for all "
              "features fails.",
          .fix = "correct the id; ids consist of letters, digits, \".\", \"_\" and \"-\"",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group;echo\n"),
          .good = good_descriptor(),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_placed(input, [&](const Record& record) {
              const std::string_view text = record.feature();
              const ShellChanges changes = changes_in_feature(text);
              const auto at = std::find_if_not(changes.begin(), changes.end(),
                                               [&](std::size_t offset) { return is_around_column(text, offset); });
              if (at == changes.end()) return;
              reporter.report(record.descriptor->location(*record.line, 1, *at, 1),
                              name_of_change(text, *at) + " in the feature", fix_of_feature(text));
            });
          }};
}

Rule feature_empty() {
  return {.name = "feature-empty",
          .group = Group::features,
          .severity = Severity::error,
          .title = "a line has a repository but no feature",
          .why =
              "Nothing is installed. The line still takes a place in the install order, and the director still loads its "
              "repository.",
          .fix = "write the feature, or delete the line",
          .bad = descriptor("sites/alpha\t\t\n"),
          .good = good_descriptor(),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_placed(input, [&](const Record& record) {
              if (!record.feature().empty() || !record.cell(2).empty()) return;
              reporter.report(record.location(0), "no feature for " + in_quotes(record.repository()));
            });
          }};
}

Rule feature_from_two_repositories() {
  return {
      .name = "feature-from-two-repositories",
      .group = Group::features,
      .severity = Severity::note,
      .title = "a feature is listed with two repositories",
      .why = "The director does not look for a feature in one repository: it installs the highest version from any of them.",
      .fix = "list it once if both repositories belong to the same product",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\nsites/more\torg.example.alpha.feature.group\n"
                        "sites/more\torg.example.beta.feature.group\n"),
      .good = good_descriptor(),
      .check =
          [](const Input& input, Reporter& reporter) {
            std::map<std::string_view, const Record*> first;
            for_each_placed(input, [&](const Record& record) {
              if (record.feature().empty()) return;
              const Record& other = *first.emplace(record.feature(), &record).first->second;
              if (other.placement->url == record.placement->url) return;
              reporter.report(record.location(1),
                              in_quotes(record.feature()) + " is also in " + other.where() + ", with another repository");
            });
          },
      .concerns_removals = false};
}

// ---- Versions in the instance ----

constexpr const char* profile_name = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/IDE.profile/1.profile";

std::string profile_with_root(const std::string& version) {
  return "<profile><units><unit id='org.example.one.feature.group' version='" + version +
         "'/></units><iusProperties>\n  <iuProperties id='org.example.one.feature.group' version='" + version +
         "'><properties>\n    <property name='org.eclipse.equinox.p2.type.root' value='true'/>\n  "
         "</properties></iuProperties>\n</iusProperties></profile>\n";
}

/// What the first command asks the director to install.
std::set<eclipse_p2::Unit> installed_by(const Input& input) {
  const auto& commands = input.session->run.commands;
  const auto command = commands.empty() ? std::nullopt : eclipse_p2::cut_director_command(commands.at(0));
  const auto units = command ? eclipse_p2::units_named(command->features) : std::vector<eclipse_p2::Unit>();
  return {units.begin(), units.end()};
}

/// What comes along with other units may be replaced, and is not reported.
void check_installed_versions(const Input& input, Reporter& reporter) {
  if (!input.session || !input.offered) return;
  const auto units = installed_by(input);
  if (units.empty()) return;
  const auto installed = eclipse_p2::profile_units(eclipse_p2::instance_directory(input.session->executable()));
  if (!installed) return;
  const eclipse_p2::InstallationForecast forecast(*input.offered, true, *installed);
  for_each_unit(input, [&](const Unit& unit) {
    const eclipse_p2::Unit named = eclipse_p2::unit_called(unit.text);
    const auto found = forecast.of(named);
    if (found.step != eclipse_p2::InstallStep::conflict || !units.contains(named)) return;
    reporter.report(unit.location(), "the instance has version " + found.installed + " of " + in_quotes(unit.id()) +
                                         ", and the run would install " + found.version + " beside it");
  });
}

Rule other_version_installed() {
  return {
      .name = "other-version-installed",
      .group = Group::features,
      .severity = Severity::error,
      .title = "the instance has another version of a feature, which the director does not replace",
      .why =
          "The director does not replace a unit that was installed by name, as a root. Two versions of a feature can be "
          "installed "
          "together only if they have no singleton bundle in common, but nearly all have one. Otherwise the command for all "
          "features fails, and so does the command for this feature alone.",
      .fix = "run \"eclipse-int run --update\", with --allow-downgrade if the installed version is newer",
      .bad = product(internal_session(), {{profile_name, profile_with_root("0.9.0")}}),
      .good = product(internal_session(), {{profile_name, profile_with_root("1.0.0")}}),
      .check = check_installed_versions,
      .concerns_removals = false,
  };
}

}  // namespace

std::vector<Rule> rules_about_features() {
  return {feature_without_group_suffix(),
          feature_not_found(),
          unit_not_a_feature(),
          feature_version_invalid(),
          feature_pinned(),
          comma_in_feature(),
          feature_looks_like_option(),
          feature_needs_shell_quoting(),
          feature_empty(),
          feature_from_two_repositories(),
          other_version_installed()};
}

}  // namespace eclipse_lint
