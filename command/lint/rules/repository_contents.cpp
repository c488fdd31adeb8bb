// Rules about what a component has where the first column leads.
#include <algorithm>
#include <map>
#include <optional>
#include <set>

#include "base/printable.h"
#include "dry_run/command_pieces.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/needed_units.h"
#include "lint/rules/samples.h"
#include "lint/texts.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

/// A component with one feature and one repository, "site", that has this metadata.
Sample component_with(const std::string& metadata) { return component(line_of_one, {{"tools/site/content.xml", metadata}}); }

constexpr const char* publish_again = "publish the repository again, and check that it is copied completely";

/// The names in a directory that are like a name, regardless of case.
std::vector<std::string> entries_like(const fs::path& directory, const std::string& name) {
  if (name.empty() || name == "." || name == "..") return {name};
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
    if (lower_case(entry->path().filename().string()) == lower_case(name)) names.push_back(entry->path().filename().string());
  }
  return names;
}

/// The path below a directory that differs from the given one in the case of its letters only; empty when there is none, or
/// more than one.
std::string in_other_case(const fs::path& directory, const std::string& path) {
  std::vector<std::string> meant = {""};
  for (const std::string& name : split(path, '/')) {
    std::vector<std::string> longer;
    for (const std::string& parent : meant) {
      for (const std::string& entry : entries_like(directory / parent, name)) longer.push_back(parent + entry + "/");
    }
    meant = std::move(longer);
  }
  return meant.size() == 1 ? meant.front().substr(0, meant.front().size() - 1) : "";
}

std::optional<Correction> path_in_other_case(const Record& record) {
  const std::string path = in_other_case(record.config->base_dir, std::string(record.repository()));
  if (path.empty() || path == record.repository() || !is_utf8(path)) return std::nullopt;
  return Correction{"write " + path, true, {record.edit(0, 0, path.size(), path)}};
}

/// Of a path that is written as seen from the directory of the descriptor file, or from the one above the component's: the same
/// as seen from the component's directory. Empty when there is none.
std::string path_from_component(const Record& record) {
  const fs::path base = record.config->base_dir;
  const fs::path written = record.repository();
  std::error_code error;
  const fs::path seen = fs::path(record.descriptor->file).parent_path() / written;
  if (fs::exists(seen, error)) {
    const fs::path path = fs::relative(seen, base, error);
    if (!error && !path.empty() && *path.begin() != "..") return path.string();
  }
  const fs::path rest = written.lexically_relative(base.filename());
  const bool has_own_name = !rest.empty() && *rest.begin() != ".." && fs::exists(base / rest, error);
  return has_own_name ? rest.string() : "";
}

void report_missing(const Record& record, Reporter& reporter) {
  const std::string message = "repository does not exist: " + std::string(eclipse_dry_run::path_in(record.placement->url));
  if (auto correction = path_in_other_case(record)) {
    std::string fix = correction->title + "; paths are case-sensitive";
    return reporter.report(record.location(0), message, std::move(fix), std::move(correction));
  }
  const std::string path = path_from_component(record);
  if (path.empty()) return reporter.report(record.location(0), message);
  std::optional<Correction> correction;
  if (is_utf8(path)) correction = {"write " + path, false, {record.edit(0, 0, record.repository().size(), path)}};
  reporter.report(record.location(0), message, "write " + in_quotes(path) + "; paths are relative to the component's directory",
                  std::move(correction));
}

Rule repository_missing() {
  return {.name = "repository-missing",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository does not exist",
          .why =
              "If the director can load another repository, it only prints that there were errors, and does not find the "
              "features of this one. Otherwise it fails.",
          .fix = "ship the repository with the component, or correct the path",
          .bad = component(line_of_one, {{"tools/Site/content.xml", content_of_one}}),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_looked_into(input, [&](const Record& record) {
                  if (!record.site->exists) report_missing(record, reporter);
                });
              },
          .concerns_removals = false,
          .corrects = Corrects::both};
}

void report_no_metadata(const Record& record, Reporter& reporter) {
  std::string message = in_quotes(record.repository()) +
                        " is not a p2 repository: it has no content.jar, no content.xml and no composite of them";
  const std::string nested = in_quotes(record.site->nested);
  if (record.site->nested.empty()) {
    reporter.report(record.location(0), std::move(message));
  } else {
    reporter.report(record.location(0), std::move(message),
                    is_archive(record) ? "pack the content of its directory " + nested +
                                             ", which is a repository, instead of "
                                             "the directory itself"
                                       : "write the path of its directory " + nested + ", which is a repository");
  }
}

Rule repository_without_metadata() {
  return {.name = "repository-without-metadata",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository has no p2 metadata",
          .why = "The director cannot load it. If it can load another repository, it only prints that there were errors.",
          .fix = "publish it with the p2 publisher, which writes content.jar and artifacts.jar",
          .bad = component(line_of_one, {{"tools/site/repository/content.xml", content_of_one}}),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_looked_into(input, [&](const Record& record) {
                  const Repository& site = *record.site;
                  if (!site.exists || site.is_repository || !site.error.empty()) return;
                  if (is_archive(record) != site.is_directory) report_no_metadata(record, reporter);
                });
              },
          .concerns_removals = false};
}

/// A file that is not named like an archive is another rule's.
void check_loads(const Record& record, Reporter& reporter) {
  const Repository& site = *record.site;
  if (!site.error.empty() && (is_archive(record) || site.is_directory)) {
    reporter.report(record.location(0), "cannot load " + in_quotes(record.repository()) + ": " + site.error,
                    site.is_unreadable ? "make it readable for the user who runs the installer" : publish_again);
  }
  for (const std::string& child : site.missing_children) {
    reporter.report(Severity::warning, record.location(0),
                    "cannot load " + in_quotes(child) + ", a child of the composite " + in_quotes(record.repository()),
                    "ship that repository, too, or remove it from the composite");
  }
}

Rule repository_not_loadable() {
  return {.name = "repository-not-loadable",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "the p2 metadata of a repository is damaged or unreadable",
          .why =
              "The director cannot load it. If it can load another repository, it only prints that there were errors, and "
              "does not find the features of this one. It silently ignores such a child of a composite.",
          .fix = publish_again,
          .bad = component_with("<repository><units>\n"),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_looked_into(input, [&](const Record& record) { check_loads(record, reporter); });
              },
          .concerns_removals = false};
}

constexpr const char* composite_with_remote_child =
    "<?xml version='1.0'?>\n<repository><children>\n"
    "  <child location='https://www.example.org/updates'/>\n</children></repository>\n";

Rule repository_not_examined() {
  return {.name = "repository-not-examined",
          .group = Group::repositories,
          .severity = Severity::note,
          .title = "a repository cannot be examined completely",
          .why =
              "The director may be able to load all of it. What it provides is unknown here, so the features of its lines "
              "are not looked for, and no rule reports missing artifacts or repositories that are not used.",
          .fix = "if the director has access to all of it, do nothing; otherwise ship everything with the component",
          .bad = component(line_of_one, {{"tools/site/compositeContent.xml", composite_with_remote_child}}),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                std::set<const Repository*> known;
                for_each_looked_into(input, [&](const Record& record) {
                  const std::string& reason = record.site->unexamined_because;
                  if (reason.empty() || !known.insert(record.site).second) return;
                  reporter.report(record.location(0),
                                  "cannot examine all of " + in_quotes(record.repository()) + ": " + reason);
                });
              },
          .concerns_removals = false};
}

constexpr const char* content_of_files =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.one.feature.group' version='1.0.0'/>\n"
    "  <unit id='org.example.one.plugin' version='1.0.0'><artifacts>\n"
    "    <artifact classifier='osgi.bundle' id='org.example.one.plugin' version='1.0.0'/></artifacts></unit>\n"
    "</units></repository>\n";
constexpr const char* artifacts_of_files =
    "<?xml version='1.0'?>\n<repository><mappings>\n"
    "  <rule filter='(&amp; (classifier=osgi.bundle))' output='${repoUrl}/plugins/${id}_${version}.jar'/>\n"
    "</mappings><artifacts>\n"
    "  <artifact classifier='osgi.bundle' id='org.example.one.plugin' version='1.0.0'/>\n</artifacts></repository>\n";

/// An end of central directory, which alone is a zip archive without entries.
std::string empty_jar() { return "PK\x05\x06" + std::string(18, '\0'); }

/// The artifacts that a repository should have, each with its file where that is known.
std::map<std::string, std::string> missing_artifacts(const Repository& site) {
  if (site.lists_artifacts) return site.missing_artifacts;
  std::map<std::string, std::string> missing;
  for (const std::string& name : site.needed_artifacts) missing.emplace(name, "");
  return missing;
}

std::string lack_of_artifacts(const Record& record, const std::map<std::string, std::string>& missing) {
  const auto& [name, file] = *missing.begin();
  if (!record.site->lists_artifacts) {
    return in_quotes(record.repository()) +
           " has no artifacts.jar, no artifacts.xml and no composite of them; no repository has " + in_quotes(name);
  }
  const std::size_t others = missing.size() - 1;
  return in_quotes(record.repository()) + " lacks " + in_quotes(file) +
         (others == 0 ? "" : " and " + std::to_string(others) + " more") + ", which its metadata lists";
}

std::string damage_of_artifacts(const Record& record, const std::map<std::string, std::string>& damaged) {
  const std::size_t others = damaged.size() - 1;
  return in_quotes(record.repository()) + ": " + damaged.begin()->second +
         (others == 0 ? "" : "; " + std::to_string(others) + " more of its jars are damaged");
}

/// Artifacts by their names, with what there is to say of them.
using Artifacts = std::map<std::string, std::string>;

bool are_for_other_systems(const Repository& site, const Artifacts& artifacts) {
  return std::all_of(artifacts.begin(), artifacts.end(), [&](const auto& artifact) {
    const auto unit = site.descriptions.find(unit_of_artifact(artifact.first));
    return unit != site.descriptions.end() && unit->second.is_for_other_system;
  });
}

/// Reports artifacts of each repository, but the director takes an artifact from any repository that has it.
void check_artifacts(const Input& input, Artifacts (*artifacts_of)(const Repository& site),
                     std::string (*text_of)(const Record& record, const Artifacts& artifacts), Reporter& reporter) {
  std::map<const Repository*, const Record*> sites;
  std::set<std::string> all;
  bool is_certain = true;
  for_each_placed(input, [&](const Record& record) {
    if (record.site == nullptr || !record.site->is_repository) return;
    if (is_plain_repository(record) && is_archive(record) != record.site->is_directory) sites.emplace(record.site, &record);
    is_certain = is_certain && (record.site->artifacts || !record.site->error.empty());
    if (record.site->artifacts) all.insert(record.site->artifacts->begin(), record.site->artifacts->end());
  });
  if (!is_certain) return;
  for (const auto& [site, record] : sites) {
    auto artifacts = site->error.empty() ? artifacts_of(*site) : Artifacts();
    std::erase_if(artifacts, [&](const auto& artifact) { return all.count(artifact.first) != 0; });
    if (artifacts.empty()) continue;
    const std::string text = text_of(*record, artifacts);
    if (are_for_other_systems(*site, artifacts)) {
      reporter.report(Severity::warning, record->location(0), text + "; they are for other operating systems",
                      "if the repository is for this system only, do nothing; otherwise " + std::string(publish_again));
    } else {
      const bool is_unreadable = text.find(" cannot be read: ") != std::string::npos;
      reporter.report(record->location(0), text,
                      is_unreadable ? "make it readable for the user who runs the installer" : publish_again);
    }
  }
}

/// All artifacts that are listed, whether their files are there or not; nothing when those of a repository are not known.
std::optional<std::set<std::string>> listed_artifacts(const Sites& sites) {
  std::set<std::string> listed;
  for (const auto& [site, record] : sites) {
    if (!site->artifacts) return std::nullopt;
    listed.insert(site->artifacts->begin(), site->artifacts->end());
    for (const auto& [name, file] : site->missing_artifacts) listed.insert(name);
    for (const auto& [name, error] : site->damaged_artifacts) listed.insert(name);
  }
  return listed;
}

/// A repository may list artifacts, but not those that its features need.
void check_lists(const Input& input, Reporter& reporter) {
  const Sites sites = loaded_sites(input);
  const auto listed = input.offered ? listed_artifacts(sites) : std::nullopt;
  if (!listed) return;
  const NeededUnits needed(input, sites);
  for (const auto& [site, record] : sites) {
    if (!site->lists_artifacts) continue;
    const auto lost = std::find_if(site->needed_artifacts.begin(), site->needed_artifacts.end(), [&](const std::string& name) {
      return needed.has(unit_of_artifact(name)) && listed->count(name) == 0;
    });
    if (lost == site->needed_artifacts.end()) continue;
    reporter.report(record->location(0), in_quotes(record->repository()) + " needs " + in_quotes(*lost) +
                                             ", which no repository lists: its content and its artifacts are probably of "
                                             "different builds");
  }
}

Rule repository_without_artifacts() {
  return {.name = "repository-without-artifacts",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository lacks artifacts of its units, or the list of them",
          .why = "The director finds the features but not their files, so the command for all features fails.",
          .fix = publish_again,
          .bad = component_with(content_of_files),
          .good = component(line_of_one, {{"tools/site/content.xml", content_of_files},
                                          {"tools/site/artifacts.xml", artifacts_of_files},
                                          {"tools/site/plugins/org.example.one.plugin_1.0.0.jar", empty_jar()}}),
          .check =
              [](const Input& input, Reporter& reporter) {
                check_artifacts(input, missing_artifacts, lack_of_artifacts, reporter);
                check_lists(input, reporter);
              },
          .concerns_removals = false};
}

Rule artifact_damaged() {
  return {.name = "artifact-damaged",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a jar of a repository is not a zip archive, or has another size than the repository lists",
          .why =
              "The director compares jars with their checksums, and does not accept other files, so the command for all "
              "features fails.",
          .fix = publish_again,
          .bad = component(line_of_one, {{"tools/site/content.xml", content_of_files},
                                         {"tools/site/artifacts.xml", artifacts_of_files},
                                         {"tools/site/plugins/org.example.one.plugin_1.0.0.jar",
                                          "version https://git-lfs.github.com/spec/v1\noid sha256:0000\nsize 582\n"}}),
          .good = component(line_of_one, {{"tools/site/content.xml", content_of_files},
                                          {"tools/site/artifacts.xml", artifacts_of_files},
                                          {"tools/site/plugins/org.example.one.plugin_1.0.0.jar", empty_jar()}}),
          .check =
              [](const Input& input, Reporter& reporter) {
                check_artifacts(
                    input, [](const Repository& site) { return site.damaged_artifacts; }, damage_of_artifacts, reporter);
              },
          .concerns_removals = false};
}

constexpr const char* content_of_two =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.two.feature.group' version='1.0.0'/>\n</units></repository>\n";

using Records = std::vector<const Record*>;

bool has_feature(const UnitVersions& units, const Record* record) {
  const auto named = split(record->feature(), ',');
  return std::any_of(named.begin(), named.end(),
                     [&](const std::string& text) { return units.count(text.substr(0, text.find('/'))) != 0; });
}

bool has_all_features(const UnitVersions& units, const Records& records) {
  return std::all_of(records.begin(), records.end(), [&](const Record* record) { return has_feature(units, record); });
}

bool has_any_feature(const UnitVersions& units, const Records& records) {
  return std::any_of(records.begin(), records.end(), [&](const Record* record) { return has_feature(units, record); });
}

/// A repository without features is there for what others require.
bool offers_features(const UnitVersions& units) {
  return std::any_of(units.begin(), units.end(), [](const auto& unit) { return unit.first.ends_with(group_suffix); });
}

/// Nothing is reported of a repository whose own lines name what no repository has: they are wrong in another way.
void check_use(const Input& input, Reporter& reporter) {
  if (!input.offered) return;
  Records all;
  for_each_placed(input, [&](const Record& record) { all.push_back(&record); });
  std::map<const Repository*, Records> by_site;
  for_each_looked_into(input, [&](const Record& record) { by_site[record.site].push_back(&record); });
  for (const auto& [site, records] : by_site) {
    if (has_any_feature(*site->units, all) || !has_all_features(*input.offered, records)) continue;
    if (!offers_features(*site->units)) continue;
    reporter.report(records.front()->location(0), "no listed feature is in " + in_quotes(records.front()->repository()));
  }
}

Rule unused_repository() {
  return {
      .name = "unused-repository",
      .group = Group::repositories,
      .severity = Severity::warning,
      .title = "a repository has none of the listed features",
      .why =
          "Other repositories have them. Every start of the director loads this one, although it can contribute nothing but "
          "what the features require.",
      .fix = "list the features that it is meant for; or, if no other feature requires what it has, delete its lines",
      .bad = component("site\torg.example.one.feature.group\nother\torg.example.one.feature.group\n",
                       {{"tools/site/content.xml", content_of_one}, {"tools/other/content.xml", content_of_two}}),
      .good = good_component(),
      .check = check_use,
      .concerns_removals = false};
}

}  // namespace

std::vector<Rule> rules_about_repository_contents() {
  return {repository_missing(),      repository_without_metadata(),  repository_not_loadable(),
          repository_not_examined(), repository_without_artifacts(), artifact_damaged(),
          unused_repository()};
}

}  // namespace eclipse_lint
