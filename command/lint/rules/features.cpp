// Rules about the second column.
#include <algorithm>
#include <cctype>
#include <compare>
#include <functional>
#include <map>
#include <set>

#include "base/printable.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"
#include "lint/rules/shell_changes.h"
#include "lint/texts.h"
#include "p2/brought_versions.h"
#include "p2/director_start.h"
#include "p2/installation.h"
#include "p2/profile.h"
#include "p2/unit.h"
#include "p2/unit_list.h"
#include "p2/version.h"
#include "shell/shell_reading.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace eclipse_lint {

namespace {

/// A component with this feature and a repository that has the feature and the bundle of org.example.one.
Sample component_with_feature(const std::string& feature) {
  return component("site\t" + feature + "\n",
                   {{"tools/site/content.xml",
                     "<?xml version='1.0'?>\n<repository><units>\n"
                     "  <unit id='org.example.one.feature.group' version='1.0.0'/>\n"
                     "  <unit id='org.example.one.plugin' version='1.0.0'/>\n</units></repository>\n"}});
}

/// One unit in column 2, which may hold several with commas between them.
struct NamedUnit : WrittenUnit {
  const Record* record;

  const std::string& id() const { return unit.id; }
  const std::string& version() const { return unit.version; }
  bool is_pinned() const { return eclipse_p2::is_pinned(unit) && is_osgi_version(version()); }
  Location location() const {
    return start ? record->descriptor->location(*record->line, 1, *start, text.size()) : record->location(1);
  }
  /// Replaces a part of the text; nothing if it is not written like this.
  std::optional<Correction> correction(std::string title, bool is_safe, std::size_t begin, std::size_t length,
                                       std::string replacement) const {
    if (!start) return std::nullopt;
    return Correction{std::move(title), is_safe, {record->edit(1, *start + begin, length, std::move(replacement))}};
  }
};

constexpr std::string_view begins_range = "[(<>=~^";

/// Where a version begins that follows an id otherwise than after a slash, or a version range; npos if there is none.
std::size_t foreign_version_in(std::string_view column) {
  std::size_t end = column.size();
  const std::string ends = std::string(" /") += begins_range;
  for (const char byte : ends) end = std::min(end, column.substr(0, end).find(byte));
  if (end == column.size() || !looks_like_feature(column.substr(0, end))) return column.npos;
  const std::size_t begin = std::min(column.find_first_not_of(" /", end), column.size());
  const char first = begin == column.size() ? ' ' : column[begin];
  const bool has_space = column.substr(end, begin - end).find(' ') != column.npos;
  const bool is_usual = !has_space && begins_range.find(first) == begins_range.npos;
  const std::size_t number = column.find_first_not_of(std::string(" ") += begins_range, begin);
  const bool is_version = number != column.npos && column[number] >= '0' && column[number] <= '9';
  const bool has_others = column.find_first_of("&|;$`\"'\\*?{}#!", begin) != column.npos;
  return is_version && !is_usual && !has_others ? begin : column.npos;
}

bool has_foreign_version(const Record& record) { return foreign_version_in(record.feature()) != std::string_view::npos; }

/// Each unit that the director looks for. What else it or the shell makes of a column is reported by other rules.
template <typename Use>
void for_each_unit(const Input& input, const Use& use) {
  for_each_placed(input, [&](const Record& record) {
    const std::string_view column = record.feature();
    const bool is_word = eclipse_shell::is_plain(column) || eclipse_shell::word_of(std::string(column));
    if (!is_word || is_read_as_option(column) || begins_with_comma(column)) return;
    if (has_foreign_version(record)) return;
    for (const WrittenUnit& written : record.units) use(NamedUnit{written, &record});
  });
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
std::optional<Correction> other_id(const NamedUnit& unit, const std::string& id, bool is_safe) {
  return unit.correction("write " + id, is_safe, 0, unit.id().size(), id);
}

void check_group_suffix(const NamedUnit& unit, const UnitVersions* units, Reporter& reporter) {
  const std::string& id = unit.id();
  if (id.ends_with(group_suffix)) return;
  const std::string group = units != nullptr ? group_in(*units, id) : likely_group(id);
  if (units != nullptr) {
    if (units->count(id) != 0 || group.empty()) return;
    reporter.report(Severity::error, unit.location(),
                    "no repository has " + in_quotes(id) + ", but one has " + in_quotes(group), "write " + group,
                    other_id(unit, group, true));
  } else {
    const bool is_bundle = id.ends_with(".plugin") || id.ends_with(".bundle");
    reporter.report(unit.location(), in_quotes(id) + " does not end in \".feature.group\"",
                    is_bundle ? "write the id of the feature that contains it, followed by .feature.group" : "write " + group,
                    is_bundle || !is_utf8(group) || id.find('.') == id.npos ? std::nullopt : other_id(unit, group, false));
  }
}

Rule feature_without_group_suffix() {
  return {.name = "feature-without-group-suffix",
          .group = Group::features,
          .severity = Severity::warning,
          .title = "the id of a feature does not end in .feature.group",
          .why =
              "The director knows a feature only by its id followed by .feature.group. If it does not find a feature, the "
              "command for all features fails.",
          .fix = "append .feature.group to the id",
          .bad = descriptor("sites/alpha\torg.example.alpha\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_unit(
                    input, [&](const NamedUnit& unit) { check_group_suffix(unit, input.offered_for(*unit.record), reporter); });
              },
          .corrects = Corrects::both};
}

/// Deletes the slash and the version.
std::optional<Correction> without_version(const NamedUnit& unit) {
  const std::size_t length = unit.id().size();
  if (unit.id().find('.') == std::string::npos) return std::nullopt;
  return unit.correction("remove the version", false, length, unit.text.size() - length, "");
}

/// A feature that no repository has.
struct MissingFeature {
  const NamedUnit& unit;
  Severity severity;
  bool is_kept;  ///< by the director, since the instance has it

  std::string but() const { return is_kept ? ", but the instance has it, so the director keeps it" : ""; }
};

void report_version(const MissingFeature& missing, const std::set<std::string>& versions, Reporter& reporter) {
  const NamedUnit& unit = missing.unit;
  if (!is_osgi_version(unit.version())) return;
  reporter.report(missing.severity, unit.location(),
                  "no repository has version " + unit.version() + " of " + in_quotes(unit.id()) + missing.but(),
                  "the repositories have version " + joined(versions) + ": write " + unit.id(), without_version(unit));
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
std::optional<Correction> in_other_case(const UnitVersions& units, const NamedUnit& unit) {
  std::vector<std::string> meant;
  for (const auto& [id, versions] : units) {
    if (lower_case(id) == lower_case(unit.id())) meant.push_back(id);
  }
  return meant.size() == 1 ? other_id(unit, meant.front(), true) : std::nullopt;
}

void report_missing(const MissingFeature& missing, const UnitVersions& units, Reporter& reporter) {
  const std::string& id = missing.unit.id();
  if (const auto found = units.find(id); found != units.end()) return report_version(missing, found->second, reporter);
  if (!id.ends_with(group_suffix) && !group_in(units, id).empty()) return;
  const auto nearest = nearest_features(units, id);
  reporter.report(missing.severity, missing.unit.location(), "no repository has " + in_quotes(id) + missing.but(),
                  nearest.empty() ? "publish the feature; the repositories offer no features"
                                  : "write an id that the repositories have: " + each_in_quotes(nearest),
                  in_other_case(units, missing.unit));
}

Rule feature_not_found() {
  return {.name = "feature-not-found",
          .group = Group::features,
          .severity = Severity::error,
          .title = "no repository has a feature, or not in this version",
          .why =
              "The director does not find the feature, so the command for all features fails. If the instance has the feature, "
              "the director keeps it.",
          .fix = "correct the id (case-sensitive), or publish the feature",
          .bad = component_with_feature("org.example.One.feature.group"),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                // One that cannot be examined may have it.
                const Severity severity = input.offered ? Severity::error : Severity::warning;
                const auto forecast = input.forecast();
                for_each_unit(input, [&](const NamedUnit& unit) {
                  if (input.session && !is_readable_in_locale(unit.text)) {
                    reporter.report(unit.location(), in_quotes(unit.text) + " has " + unreadable_in_locale, locale_fix);
                    return;
                  }
                  const auto* const units = input.offered_for(*unit.record);
                  if (units == nullptr || highest_offered(unit.unit, *units)) return;
                  const bool is_kept = forecast.of(unit.unit).step == InstallStep::keep;
                  report_missing({unit, is_kept ? Severity::warning : severity, is_kept}, *units, reporter);
                });
              },
          .concerns_removals = false,
          .corrects = Corrects::both};
}

bool is_category(const NamedUnit& unit) {
  if (unit.record->site == nullptr) return false;
  const auto& descriptions = unit.record->site->descriptions;
  return std::any_of(descriptions.begin(), descriptions.end(),
                     [&](const auto& entry) { return entry.first.id == unit.id() && entry.second.is_category; });
}

/// The only feature in the repository of a unit that includes it; empty when there is none, or more than one.
std::string feature_with(const NamedUnit& unit) {
  if (unit.record->site == nullptr) return "";
  std::set<std::string> features;
  for (const auto& [described, description] : unit.record->site->descriptions) {
    const auto includes_unit = [&](const Requirement& required) {
      return required.filter.empty() && required.name == unit.id();
    };
    if (description.is_group && std::ranges::any_of(description.requirements, includes_unit)) features.insert(described.id);
  }
  return features.size() == 1 ? *features.begin() : "";
}

/// A feature and its plug-in often share an id, and a feature and its jar nearly do.
void check_kind(const NamedUnit& unit, const UnitVersions& units, Reporter& reporter) {
  const std::string& id = unit.id();
  if (id.ends_with(group_suffix) || units.count(id) == 0) return;
  const std::string group = group_in(units, id);
  if (!group.empty()) {
    const std::string kind = id.ends_with(feature_jar_suffix) ? " is only the jar of a feature" : " is only a bundle";
    reporter.report(Severity::error, unit.location(), in_quotes(id) + kind + "; the feature is " + in_quotes(group),
                    "write " + group, other_id(unit, group, false));
  } else if (is_category(unit)) {
    reporter.report(unit.location(), in_quotes(id) + " is a category, not a feature", "list the features that are in it");
  } else if (const std::string feature = feature_with(unit); !feature.empty()) {
    reporter.report(unit.location(), in_quotes(id) + " is not a feature; " + in_quotes(feature) + " contains it",
                    "write " + feature, other_id(unit, feature, false));
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
              "The director installs it, but no feature groups it with the units that it requires. If it is a product, its "
              "removal may delete the launcher.",
          .fix = "make a feature that contains it, and write that feature's id followed by .feature.group",
          .bad = component("site\torg.example.one\n",
                           {{"tools/site/content.xml",
                             "<?xml version='1.0'?>\n<repository><units>\n"
                             "  <unit id='org.example.one.feature.group' version='1.0.0'/>\n"
                             "  <unit id='org.example.one' version='1.0.0'/>\n</units></repository>\n"}}),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_unit(input, [&](const NamedUnit& unit) {
                  if (const auto* const units = input.offered_for(*unit.record)) check_kind(unit, *units, reporter);
                });
              },
          .corrects = Corrects::unsafely};
}

// ---- Versions ----

/// The places of several features in one column.
std::vector<std::pair<std::size_t, std::size_t>> features_in_one(std::string_view column) {
  constexpr std::string_view separators = " ,;|+&";
  std::vector<std::pair<std::size_t, std::size_t>> places;
  for (std::size_t begin = 0; (begin = column.find_first_not_of(separators, begin)) != column.npos;) {
    const std::size_t end = std::min(column.find_first_of(separators, begin), column.size());
    if (!looks_like_feature(unit_called(column.substr(begin, end - begin)).id)) return {};
    places.emplace_back(begin, end - begin);
    begin = end;
  }
  return places;
}

void check_foreign_version(const Record& record, Reporter& reporter) {
  const std::string_view column = record.feature();
  const std::size_t begin = foreign_version_in(column);
  if (begin == column.npos) return;
  const std::size_t end_of_id = column.find_last_not_of(" /", begin - 1) + 1;
  const std::string_view version = column.substr(begin);
  const bool is_range = version.find_first_of(",<>=~^") != version.npos;
  std::optional<Correction> correction;
  if (features_in_one(version).empty()) {
    correction = {"remove the version", false, {record.edit(1, end_of_id, column.size() - end_of_id)}};
  }
  reporter.report(record.descriptor->location(*record.line, 1, begin, version.size()),
                  in_quotes(version) + (is_range ? " is a version range" : " does not directly follow a slash"),
                  "write the id without a version", std::move(correction));
}

Rule feature_version_invalid() {
  return {
      .name = "feature-version-invalid",
      .group = Group::features,
      .severity = Severity::error,
      .title = "a feature is followed by something else than a slash and a version, such as a version range",
      .why =
          "The director takes no version ranges: it aborts with an exception, as with any text after the slash that is not a "
          "version. The shell splits the feature at a space, and takes parentheses for syntax errors. The command for all "
          "features fails.",
      .fix = "write the id without a version",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group/latest\n"),
      .good = good_descriptor(),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_placed(input, [&](const Record& record) { check_foreign_version(record, reporter); });
            for_each_unit(input, [&](const NamedUnit& unit) {
              if (unit.version().empty() || is_osgi_version(unit.version())) return;
              reporter.report(unit.location(), in_quotes(unit.version()) + " is not a version", without_version(unit));
            });
          },
      .corrects = Corrects::unsafely};
}

/// What the director takes for each of these units. A removal takes nothing.
std::vector<BroughtVersion> versions_brought_by(const Input& input, const std::vector<NamedUnit>& units) {
  std::vector<Unit> named(units.size());
  std::transform(units.begin(), units.end(), named.begin(), [](const NamedUnit& unit) { return unit.unit; });
  if (input.is_removal()) return std::vector<BroughtVersion>(units.size());
  return eclipse_p2::versions_brought_by(named, input.forecast());
}

/// Of the run, or of what it leaves out.
void check_pinned(const Input& input, bool takes_part, Reporter& reporter) {
  std::vector<NamedUnit> units;
  for_each_unit(input, [&](NamedUnit unit) {
    if (unit.record->takes_part() == takes_part) units.push_back(std::move(unit));
  });
  if (std::none_of(units.begin(), units.end(), std::mem_fn(&NamedUnit::is_pinned))) return;
  const auto brought = versions_brought_by(input, units);
  for (std::size_t i = 0; i < units.size(); ++i) {
    const NamedUnit& unit = units[i];
    if (!unit.is_pinned()) continue;
    const std::string message = "the feature is pinned to version " + unit.version();
    if (!brought[i].rival) {
      reporter.report(unit.location(), message, without_version(unit));
      continue;
    }
    const std::size_t rival = *brought[i].rival;
    reporter.report(
        Severity::error, unit.location(),
        message + ", but the director takes version " + brought[rival].version + " for " + units[rival].record->where(),
        "remove the version in all lines", without_version(unit));
  }
}

Rule feature_pinned() {
  return {
      .name = "feature-pinned",
      .group = Group::features,
      .severity = Severity::warning,
      .title = "a feature is pinned to a version",
      .why =
          "Once another version has replaced this one, the director does not find this one to remove it, and removes nothing. "
          "Two versions of a feature cannot be installed together: the command for all features fails, and so does the retry "
          "for the second version.",
      .fix = "remove the version",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group/1.0.0\n"),
      .good = good_descriptor(),
      .check =
          [](const Input& input, Reporter& reporter) {
            check_pinned(input, true, reporter);
            check_pinned(input, false, reporter);
          },
      .corrects = Corrects::unsafely};
}

// ---- Texts ----

/// Other columns would be for one of the features only.
std::optional<Correction> line_for_each_feature(const Record& record) {
  const auto places = features_in_one(record.feature());
  const std::string repository(record.repository());
  if (places.size() < 2 || record.line->columns.size() != 2 || !is_utf8(repository)) return std::nullopt;
  Correction correction{"write a line for each feature", false, {}};
  for (std::size_t i = 0; i < places.size(); ++i) {
    const std::size_t begin = i == 0 ? 0 : places[i - 1].first + places[i - 1].second;
    const std::string between = i == 0 ? "" : "\n" + repository + "\t";
    correction.edits.push_back(record.edit(1, begin, places[i].first - begin, between));
  }
  const std::size_t end = places.back().first + places.back().second;
  correction.edits.push_back(record.edit(1, end, record.feature().size() - end));
  return correction;
}

/// What the shell changes is another rule's.
void check_comma(const Record& record, Reporter& reporter) {
  const std::string_view column = record.feature();
  const std::size_t comma = column.find(',');
  if (comma == column.npos || has_foreign_version(record)) return;
  if (features_in_one(column).size() > 1 && !changes_in_feature(column).empty()) return;
  const std::size_t count = record.units.size();
  const Location location = record.descriptor->location(*record.line, 1, comma, 1);
  if (begins_with_comma(column)) {
    reporter.report(Severity::error, location, "comma before the feature", "remove the comma");
  } else if (count == 1) {
    reporter.report(location, "comma after the feature", "remove the comma");
  } else {
    reporter.report(location, std::to_string(count) + " features in one line", line_for_each_feature(record));
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
          "the plug-in does not recognise duplicates of them, and it tries them together if the command for all features "
          "fails. The director ignores a comma after a feature. A comma before a feature becomes part of its id, which is not "
          "found.",
      .fix = "write a line for each feature",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group,org.example.beta.feature.group\n"),
      .good = good_descriptor(),
      .check = [](const Input& input,
                  Reporter& reporter) { for_each_placed(input, [&](const Record& record) { check_comma(record, reporter); }); },
      .corrects = Corrects::unsafely};
}

Rule feature_looks_like_option() {
  return {.name = "feature-looks-like-option",
          .group = Group::features,
          .severity = Severity::error,
          .title = "a feature begins with \"-\"",
          .why =
              "The director reads it as an option. If it is first in the list, the command for all features fails; tried "
              "alone, it always fails.",
          .fix = "correct the id",
          .bad = descriptor("sites/alpha\t-org.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_placed(input, [&](const Record& record) {
              if (!is_read_as_option(record.feature())) return;
              reporter.report(record.descriptor->location(*record.line, 1, 0, 1),
                              in_quotes(record.feature()) + " looks like an option");
            });
          }};
}

constexpr const char* correct_the_id = "correct the id; ids consist of letters, digits, \".\", \"_\" and \"-\"";

void check_shell_changes(const Input& input, const Record& record, Reporter& reporter) {
  const std::string_view text = record.feature();
  if (has_foreign_version(record)) return;
  ShellChanges changes = changes_in_feature(text);
  std::erase_if(changes, [&](std::size_t offset) { return is_around_column(text, offset); });
  const bool is_changed = !changes.empty();
  if (!is_changed) changes = idle_globs_in_feature(text);
  if (changes.empty()) return;
  const Severity severity = is_changed ? severity_of_changed_feature(input, text) : Severity::warning;
  const Location location = record.descriptor->location(*record.line, 1, changes.front(), 1);
  const std::string change = name_of_change(text, changes.front());
  const std::size_t count = features_in_one(text).size();
  if (count > 1) {
    reporter.report(severity, location, std::to_string(count) + " features in one line, with a " + change + " between them",
                    "write a line for each feature", line_for_each_feature(record));
  } else {
    reporter.report(severity, location, change + " in the feature", correct_the_id);
  }
}

Rule feature_needs_shell_quoting() {
  return {.name = "feature-needs-shell-quoting",
          .group = Group::features,
          .severity = Severity::error,
          .title = "a feature contains a space or a shell metacharacter",
          .why =
              "The plug-in does not quote it. The shell splits the feature, expands it or runs a part of it, and the command "
              "for all features fails.",
          .fix = correct_the_id,
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group;org.example.beta.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_placed(input, [&](const Record& record) { check_shell_changes(input, record, reporter); });
              },
          .corrects = Corrects::unsafely};
}

/// Whether there are features elsewhere, which may require something in a repository without one.
bool may_serve_other_lines(const Input& input) {
  const auto has_feature = [](const Record& record) { return record.placement && !record.feature().empty(); };
  return input.component_directories.size() > 1 || std::any_of(input.records.begin(), input.records.end(), has_feature);
}

bool may_offer_features(const Record& record) {
  if (record.site == nullptr || !record.site->units) return true;
  return offers_features(*record.site->units);
}

Rule feature_empty() {
  return {.name = "feature-empty",
          .group = Group::features,
          .severity = Severity::error,
          .title = "a line has a repository but no feature",
          .why =
              "The director loads the repository and takes from it the units that features of other lines require. It installs "
              "none of the repository's features by name.",
          .fix = "write the feature, or delete the line",
          .bad = descriptor("sites/alpha\t\t\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                const bool serves_others = may_serve_other_lines(input);
                for_each_placed(input, [&](const Record& record) {
                  if (!record.feature().empty() || !record.cell(2).empty()) return;
                  std::string message = "no feature for " + in_quotes(record.repository());
                  if (!serves_others) return reporter.report(record.location(0), std::move(message));
                  if (!may_offer_features(record)) return;
                  reporter.report(Severity::note, record.location(0), std::move(message),
                                  "if the repository only has units that features of other lines require, ignore this finding; "
                                  "otherwise write the feature");
                });
              },
          .concerns_removals = false};
}

/// The highest version that its repository has of a record's feature; empty when that is not known, or it names several.
std::string highest_version(const Record& record) {
  if (record.site == nullptr || !record.site->units || record.units.size() != 1) return "";
  return highest_offered(record.units.front().unit, *record.site->units).value_or("");
}

/// Which of two repositories brings the feature that both have; empty when they bring the same version, or that is not known.
std::string winner_of(const Record& one, const Record& other) {
  const std::string version = highest_version(one);
  const std::string other_version = highest_version(other);
  if (version.empty() || other_version.empty()) return "";
  const auto order = compare_versions(version, other_version);
  if (std::is_eq(order)) return "";
  const auto text = [](const std::string& each, const Record& record) {
    return each + " of " + shown_path(eclipse_dry_run::path_in(record.placement->url));
  };
  return std::is_gt(order) ? text(version, one) + " wins over " + text(other_version, other)
                           : text(other_version, other) + " wins over " + text(version, one);
}

Rule feature_from_two_repositories() {
  return {
      .name = "feature-from-two-repositories",
      .group = Group::features,
      .severity = Severity::note,
      .title = "a feature is listed with two repositories",
      .why =
          "The director does not look for a feature in the repository of its line: it installs the highest version from any "
          "repository.",
      .fix = "list it once if both repositories belong to the same product",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\nsites/more\torg.example.alpha.feature.group\n"
                        "sites/more\torg.example.beta.feature.group\n"),
      .good = good_descriptor(),
      .check =
          [](const Input& input, Reporter& reporter) {
            std::map<std::string_view, const Record*> first;
            for_each_placed(input, [&](const Record& record) {
              if (record.feature().empty() || !record.takes_part()) return;
              const Record& other = *first.emplace(record.feature(), &record).first->second;
              if (other.placement->url == record.placement->url) return;
              const std::string message =
                  in_quotes(record.feature()) + " is also in " + other.where() + ", with another repository";
              const std::string winner = winner_of(record, other);
              if (winner.empty()) return reporter.report(record.location(1), message);
              reporter.report(Severity::warning, record.location(1), message + ": " + winner,
                              "list it once, with the repository of the version that is meant");
            });
          },
      .concerns_removals = false};
}

// ---- Versions in the instance ----

std::string profile_with_root(const std::string& version) {
  return "<profile><units><unit id='org.example.one.feature.group' version='" + version +
         "'/></units><iusProperties>\n  <iuProperties id='org.example.one.feature.group' version='" + version +
         "'><properties>\n    <property name='org.eclipse.equinox.p2.type.root' value='true'/>\n  "
         "</properties></iuProperties>\n</iusProperties></profile>\n";
}

/// Whether the run replaces the installed version before it installs anything.
bool is_replaced(const Installation& installation, Replaces replaces) {
  return replaces == Replaces::all || (replaces == Replaces::older && !installation.installed_newer);
}

/// What comes along with other units may be replaced, and is not reported.
void check_installed_versions(const Input& input, Reporter& reporter) {
  if (!input.session || !input.offered) return;
  const auto& named = input.session->named_units;
  const std::set<Unit> units(named.begin(), named.end());
  if (units.empty()) return;
  const InstallationForecast forecast = input.forecast();
  for_each_unit(input, [&](const NamedUnit& unit) {
    const auto found = forecast.of(unit.unit);
    if (found.step != InstallStep::conflict || !units.contains(unit.unit)) return;
    if (!unit.record->takes_part() || is_replaced(found, input.replaces)) return;
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
          "\"eclipse-int run\" refuses the run if the installed version is older. With another installer, the command for all "
          "features fails, unless the two versions have no singleton bundle in common.",
      .fix = "run \"eclipse-int run --update\", with --allow-downgrade if the installed version is newer",
      .bad = product(internal_session(), {{profile_name, profile_with_root("0.9.0")}}),
      .good = product(internal_session(), {{profile_name, profile_with_root("1.0.0")}}),
      .check = check_installed_versions,
      .concerns_removals = false,
  };
}

}  // namespace

std::vector<Rule> features_rules() {
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
