// Rules about the second column.
#include <algorithm>
#include <cctype>
#include <map>

#include "base/json_document.h"
#include "lint/rule.h"
#include "lint/texts.h"
#include "p2/version.h"

using eclipse_base::in_quotes;
using eclipse_p2::whole_version;

namespace eclipse_lint {

namespace {

constexpr std::string_view group_suffix = ".feature.group";
constexpr const char* offer =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.one.feature.group' version='1.0.0'/>\n"
    "  <unit id='org.example.one.plugin' version='1.0.0'/>\n</units></repository>\n";

/// A descriptor file by itself.
Sample lines(const std::string& content) { return {"tools.txt", {{"tools.txt", content}}}; }

/// A component's directory with a descriptor file and its site.
Sample directory(const std::string& descriptor) {
  return {"tools", {{"tools/etc/eclipse/tools.txt", descriptor}, {"tools/site/content.xml", offer}}};
}

Sample good_lines() { return lines("sites/alpha\torg.example.alpha.feature.group\n"); }
Sample good_directory() { return directory("site\torg.example.one.feature.group\n"); }

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

/// Where the shell reads something of its own in a feature; npos where it does not.
std::size_t special_in_feature(std::string_view text) {
  return text.starts_with('~') ? 0 : text.find_first_of(std::string(special_without_quotes) + "? \\");
}

bool begins_like_option(std::string_view text) { return text.starts_with('-') || text.starts_with('#'); }

/// Each unit whose very text is no other rule's matter.
template <typename Use>
void for_each_unit(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    if (!record.placement) continue;
    std::size_t start = 0;
    for (const std::string& text : split(record.feature(), ',')) {
      const bool is_odd = begins_like_option(text) || text != without_spaces(text) || special_in_feature(text) != text.npos;
      if (!text.empty() && !is_odd) use(Unit{&record, text, start});
      start += text.size() + 1;
    }
  }
}

std::string list_of(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) list += (list.empty() ? "" : ", ") + in_quotes(text);
  return list;
}

/// The features that are offered, those most like `id` first.
std::vector<std::string> nearest_features(const eclipse_p2::Units& units, const std::string& id) {
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

/// The one that an id without its suffix means; empty when none is offered.
std::string offered_group(const eclipse_p2::Units& units, const std::string& id) {
  for (std::string group : {id + std::string(group_suffix), likely_group(id)}) {
    if (units.count(group) != 0) return group;
  }
  return "";
}

void check_group_suffix(const Input& input, Reporter& reporter) {
  const auto& units = input.offered;
  for_each_unit(input, [&](const Unit& unit) {
    const std::string id = unit.id();
    if (id.ends_with(group_suffix)) return;
    const std::string message = in_quotes(id) + " does not end in \".feature.group\"";
    const std::string group = units ? offered_group(*units, id) : likely_group(id);
    if (units && units->count(id) == 0 && !group.empty()) {
      reporter.report(Severity::error, unit.location(),
                      "no site offers " + in_quotes(id) + ", but one offers " + in_quotes(group), "write " + group);
    } else if (!units && (id.ends_with(".plugin") || id.ends_with(".bundle"))) {
      reporter.report(unit.location(), message, "write the id of the feature that holds it, with .feature.group behind it");
    } else if (!units) {
      reporter.report(unit.location(), message, "did you mean " + group + "?");
    }
  });
}

/// MAJOR[.MINOR[.MICRO[.QUALIFIER]]]
bool is_osgi_version(std::string_view version) {
  const auto parts = split(version, '.');
  if (parts.size() > 4) return false;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const auto belongs = [&](char byte) {
      const auto code = static_cast<unsigned char>(byte);
      return i < 3 ? std::isdigit(code) != 0 : std::isalnum(code) != 0 || byte == '_' || byte == '-';
    };
    if (parts[i].empty() || !std::all_of(parts[i].begin(), parts[i].end(), belongs)) return false;
  }
  return true;
}

std::string list_of_versions(const std::set<std::string>& versions) {
  std::string list;
  for (const std::string& version : versions) list += (list.empty() ? "" : ", ") + version;
  return list;
}

/// Version 0.0.0 stands for any.
void check_offered_version(const Unit& unit, const std::set<std::string>& versions, Reporter& reporter) {
  const auto version = unit.version();
  if (!version || !is_osgi_version(*version) || whole_version(*version) == "0.0.0") return;
  if (std::any_of(versions.begin(), versions.end(),
                  [&](const std::string& offered) { return whole_version(offered) == whole_version(*version); }))
    return;
  reporter.report(unit.location(), "no site offers version " + *version + " of " + in_quotes(unit.id()),
                  "the sites offer version " + list_of_versions(versions) + ": write " + unit.id());
}

void check_offered(const Input& input, Reporter& reporter) {
  const auto& units = input.offered;
  if (!units) return;
  for_each_unit(input, [&](const Unit& unit) {
    const std::string id = unit.id();
    if (const auto found = units->find(id); found != units->end()) {
      check_offered_version(unit, found->second, reporter);
      return;
    }
    if (!id.ends_with(group_suffix) && !offered_group(*units, id).empty()) return;
    const auto nearest = nearest_features(*units, id);
    reporter.report(unit.location(), "no site offers " + in_quotes(id),
                    nearest.empty() ? "the sites offer no feature at all; publish it" : "the sites offer " + list_of(nearest));
  });
}

void check_is_feature(const Input& input, Reporter& reporter) {
  const auto& units = input.offered;
  if (!units) return;
  for_each_unit(input, [&](const Unit& unit) {
    if (unit.id().ends_with(group_suffix) || units->count(unit.id()) == 0) return;
    reporter.report(unit.location(), in_quotes(unit.id()) + " is a bundle or a product, not a feature");
  });
}

// ---- Versions ----

void check_version(const Input& input, Reporter& reporter) {
  for_each_unit(input, [&](const Unit& unit) {
    const auto version = unit.version();
    if (version && !is_osgi_version(*version)) reporter.report(unit.location(), in_quotes(*version) + " is no version");
  });
}

void check_pinned(const Input& input, Reporter& reporter) {
  for_each_unit(input, [&](const Unit& unit) {
    const auto version = unit.version();
    if (!version || !is_osgi_version(*version)) return;
    reporter.report(unit.location(), "the feature is pinned to version " + *version, "write " + unit.id());
  });
}

// ---- Texts ----

/// The director passes over a comma that stands behind a feature, but not over one at the very front.
void check_comma(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    const std::size_t comma = record.feature().find(',');
    if (!record.placement || comma == std::string_view::npos) continue;
    const auto pieces = split(record.feature(), ',');
    const auto count = pieces.size() - static_cast<std::size_t>(std::count(pieces.begin(), pieces.end(), ""));
    const Location location = record.descriptor->location(*record.line, 1, comma, 1);
    if (comma == 0) {
      reporter.report(Severity::error, location, "a comma stands before the feature, and becomes part of its id",
                      "take it out");
    } else if (count == 1) {
      reporter.report(location, "a comma stands behind the feature", "take it out");
    } else {
      reporter.report(location, std::to_string(count) + " features stand in one cell");
    }
  }
}

void check_begin(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (!record.placement || !begins_like_option(record.feature())) continue;
    reporter.report(record.descriptor->location(*record.line, 1, 0, 1),
                    "a feature cannot begin with " + in_quotes(record.feature().substr(0, 1)));
  }
}

/// Spaces at the ends and quotes at the beginning are other rules' matter.
void check_shell(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    const std::string_view text = record.feature();
    if (!record.placement || text != without_spaces(text) || text.starts_with('"') || text.starts_with('\'')) continue;
    const std::size_t at = special_in_feature(text);
    if (at == text.npos) continue;
    reporter.report(record.descriptor->location(*record.line, 1, at, 1), "the shell's own character in the feature");
  }
}

void check_empty(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (!record.placement || !record.feature().empty() || !record.cell(2).empty()) continue;
    reporter.report(record.location(0), "the feature is empty: there is nothing to install in this line");
  }
}

void check_two_sites(const Input& input, Reporter& reporter) {
  std::map<std::string_view, const Record*> first;
  for (const Record& record : input.records) {
    if (!record.placement || record.feature().empty()) continue;
    const Record& other = *first.emplace(record.feature(), &record).first->second;
    if (other.placement->url == record.placement->url) continue;
    reporter.report(record.location(1),
                    in_quotes(record.feature()) + " is also listed by " + other.where() + ", from another site");
  }
}

}  // namespace

std::vector<Rule> rules_for_features() {
  return {
      {.name = "feature-without-group-suffix",
       .group = Group::features,
       .severity = Severity::warning,
       .title = "a feature's id does not end in \".feature.group\"",
       .why =
           "The director knows a feature by its id with .feature.group behind it. What it does not find makes the run for all "
           "features at once fail; then each is tried alone, the good ones go in, and the user sees the failure heading.",
       .fix = "write .feature.group behind the id",
       .bad = lines("sites/alpha\torg.example.alpha\n"),
       .good = good_lines(),
       .check = check_group_suffix},
      {.name = "feature-not-offered",
       .group = Group::features,
       .severity = Severity::error,
       .title = "no site offers a feature, or not in this version",
       .why = "The director does not find it, so the run for all features at once fails; then each is tried alone, the good "
              "ones go in, and the user sees the failure heading.",
       .fix = "correct the id, letter case included, or publish the feature",
       .bad = directory("site\torg.example.One.feature.group\n"),
       .good = good_directory(),
       .check = check_offered,
       .concerns_removals = false},
      {.name = "unit-is-no-feature",
       .group = Group::features,
       .severity = Severity::warning,
       .title = "a bundle or a product stands where a feature should be",
       .why =
           "It is installed, but nothing groups it with what it needs, and the removal of a product may delete the launcher.",
       .fix = "make a feature of it and write its id with .feature.group",
       .bad = directory("site\torg.example.one.plugin\n"),
       .good = good_directory(),
       .check = check_is_feature},
      {.name = "feature-version-invalid",
       .group = Group::features,
       .severity = Severity::error,
       .title = "what stands behind a feature's slash is no version",
       .why = "The director breaks off with an exception, so the run for all features at once fails; then each is tried "
              "alone, and the user sees the failure heading.",
       .fix = "write the id without a version",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group/latest\n"),
       .good = good_lines(),
       .check = check_version},
      {.name = "feature-pinned",
       .group = Group::features,
       .severity = Severity::warning,
       .title = "a feature is pinned to a version",
       .why = "Once another version has taken its location, its removal does not find it, and then nothing at all is removed.",
       .fix = "write the id without a version",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group/1.0.0\n"),
       .good = good_lines(),
       .check = check_pinned},
      {.name = "comma-in-feature",
       .group = Group::features,
       .severity = Severity::warning,
       .title = "a comma stands in a feature's cell",
       .why = "The director takes the features on its sides for several. But they have one place in the order, count as one in "
              "the search for duplicates, and are tried together when all at once failed. It passes over a comma with nothing "
              "behind it; but one with nothing before it becomes part of the id, which is not found.",
       .fix = "write a line for each feature",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group,org.example.beta.feature.group\n"),
       .good = lines("sites/alpha\torg.example.alpha.feature.group\nsites/alpha\torg.example.beta.feature.group\n"),
       .check = check_comma},
      {.name = "feature-begins-with-option",
       .group = Group::features,
       .severity = Severity::error,
       .title = "a feature begins with \"-\" or \"#\"",
       .why = "Behind -i the director takes \"-\" for the next option; for the shell \"#\" makes a comment of the rest of "
              "the command. As the first of the list it makes the run for all features at once fail, and alone its own.",
       .fix = "correct the id",
       .bad = lines("sites/alpha\t-org.example.alpha.feature.group\n"),
       .good = good_lines(),
       .check = check_begin},
      {.name = "feature-needs-shell-quoting",
       .group = Group::features,
       .severity = Severity::error,
       .title = "a feature holds a character that the shell interprets",
       .why = "Nothing is quoted: the shell runs, expands or splits what stands there. What a package says is then "
              "executed, and the run for all features at once fails.",
       .fix = "correct the id; ids have letters, digits, dots, \"_\" and \"-\" only",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group;echo\n"),
       .good = good_lines(),
       .check = check_shell},
      {.name = "feature-empty",
       .group = Group::features,
       .severity = Severity::error,
       .title = "a line has a repository but an empty feature",
       .why = "Nothing is installed. The line takes a place in the order, and its repository is loaded all the same.",
       .fix = "write the feature, or take the line out",
       .bad = lines("sites/alpha\t\t\n"),
       .good = good_lines(),
       .check = check_empty},
      {.name = "feature-from-two-sites",
       .group = Group::features,
       .severity = Severity::note,
       .title = "a feature is listed with two sites",
       .why = "The director does not look into one site for one feature: it takes the highest version of any site.",
       .fix = "list it once if both sites are of the same product",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\nsites/more\torg.example.alpha.feature.group\n"
                    "sites/more\torg.example.beta.feature.group\n"),
       .good = lines("sites/alpha\torg.example.alpha.feature.group\nsites/more\torg.example.beta.feature.group\n"),
       .check = check_two_sites,
       .concerns_removals = false},
  };
}

}  // namespace eclipse_lint
