// Rules about what a component has where the first column leads.
#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>
#include <string_view>
#include <unordered_set>

#include "base/printable.h"
#include "dry_run/command_pieces.h"
#include "lint/needed_jars.h"
#include "lint/needed_units.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"
#include "lint/rules/similar_repositories.h"
#include "lint/texts.h"
#include "p2/artifact_name.h"
#include "p2/git_lfs_pointer.h"
#include "p2/unit_list.h"
#include "p2/xml.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

/// A component with one feature and one repository, "site", that has this metadata.
Sample component_with(const std::string& metadata) { return component(line_of_one, {{"tools/site/content.xml", metadata}}); }

constexpr const char* publish_again = "publish the repository again, and check that it is copied completely";

/// What to do about an error of a file: publishing again helps only where the file is not as it was published.
std::string fix_of(const std::string& error) {
  const std::array<std::pair<std::string, const char*>, 9> fixes = {
      {{" " + std::string(unreadable), "make it readable for the user who runs the installer"},
       {git_lfs::pointer_error, git_lfs::pointer_fix},
       {std::string("it ") + archive_error::not_zip, "pack it as a zip archive, and check that it is copied completely"},
       {archive_error::other_compression, "pack the archive again, with deflate"},
       {archive_error::encrypted, "pack the archive again, without a password"},
       {repository_error::pack200, "publish the repository again, without Pack200"},
       {repository_error::backslashes, "pack the archive again, with a program that writes slashes"},
       {not_utf_8, "save the file in UTF-8, or name its encoding in its first line"},
       {not_in_encoding, "name the encoding of the file in its first line"}}};
  if (error.starts_with(repository_error::excluded)) return "correct the order in p2.index, or delete the file";
  const auto found =
      std::find_if(fixes.begin(), fixes.end(), [&](const auto& fix) { return error.find(fix.first) != std::string::npos; });
  return found == fixes.end() ? publish_again : found->second;
}

/// The names in a directory that are like a name, regardless of case.
template <typename IsLike>
std::vector<std::string> entries_like(const fs::path& directory, const std::string& name, const IsLike& is_like) {
  if (name.empty() || name == "." || name == "..") return {name};
  std::vector<std::string> names;
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
    if (is_like(entry->path().filename().string(), name)) names.push_back(entry->path().filename().string());
  }
  return names;
}

bool differ_in_case(const std::string& one, const std::string& other) { return lower_case(one) == lower_case(other); }

/// Of U+0300 to U+036F, which change the letter before them.
bool is_combining_mark(unsigned char lead, unsigned char next) { return lead == 0xCC || (lead == 0xCD && next < 0xB0); }

/// A name in UTF-8, with one question mark for each letter that is not ASCII, or that a combining mark follows.
std::string without_accents(std::string_view name, bool& has_marks) {
  std::string letters;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const auto byte = static_cast<unsigned char>(name[i]);
    const bool is_mark = i + 1 < name.size() && is_combining_mark(byte, static_cast<unsigned char>(name[i + 1]));
    has_marks = has_marks || is_mark;
    if (is_mark && !letters.empty()) {
      letters.back() = '?';
    } else if ((byte & 0xC0) != 0x80) {
      letters += byte < 0x80 ? name[i] : '?';
    }
  }
  return letters;
}

/// Whether two names look the same, but only one of them has accents as combining marks (Unicode normalization NFD).
bool differ_in_normalization(const std::string& one, const std::string& other) {
  bool has_marks = false;
  bool has_other_marks = false;
  return one == other ||
         (without_accents(one, has_marks) == without_accents(other, has_other_marks) && has_marks != has_other_marks);
}

/// The path below a directory that differs from the given one only as `is_like` admits; empty when there is none, or more than
/// one.
template <typename IsLike>
std::string in_other_spelling(const fs::path& directory, const std::string& path, const IsLike& is_like) {
  std::vector<std::string> meant = {""};
  for (const std::string& name : split(path, '/')) {
    std::vector<std::string> longer;
    for (const std::string& parent : meant) {
      for (const std::string& entry : entries_like(directory / parent, name, is_like)) longer.push_back(parent + entry + "/");
    }
    meant = std::move(longer);
  }
  return meant.size() == 1 ? meant.front().substr(0, meant.front().size() - 1) : "";
}

std::optional<Correction> path_in_other_case(const Record& record) {
  const std::string path = in_other_spelling(record.config->base_dir, std::string(record.repository()), differ_in_case);
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

/// Where a path leads that is a dangling symlink, or is below one; empty for another path.
std::string target_of_dangling_link(const fs::path& path) {
  std::error_code error;
  fs::path above;
  for (const fs::path& name : path) {
    above /= name;
    if (fs::is_symlink(above, error) && !fs::exists(above, error)) return fs::read_symlink(above, error).string();
  }
  return "";
}

constexpr const char* ship_or_correct = "ship the repository with the component, or correct the path";

/// With the repositories that there are.
std::string fix_of_missing(const std::vector<std::string>& others) {
  constexpr std::size_t few = 5;
  const bool are_named = !others.empty() && others.size() <= few;
  return ship_or_correct + (are_named ? "; the component has " + each_in_quotes(others) : "");
}

void report_missing(const Record& record, SimilarRepositories& others, Reporter& reporter) {
  const std::string missing(eclipse_dry_run::path_in(record.placement->url));
  const std::string message = "repository does not exist: " + missing;
  if (const std::string target = target_of_dangling_link(missing); !target.empty()) {
    return reporter.report(record.location(0), message + "; it is, or is below, a dangling symlink to " + in_quotes(target),
                           "ship the repository itself with the component instead of the symlink");
  }
  if (auto correction = path_in_other_case(record)) {
    std::string fix = correction->title + "; paths are case-sensitive";
    return reporter.report(record.location(0), message, std::move(fix), std::move(correction));
  }
  const std::string text(record.repository());
  if (!in_other_spelling(record.config->base_dir, text, differ_in_normalization).empty()) {
    return reporter.report(record.location(0),
                           message + "; an existing path has the same name in another Unicode normalization (NFD or NFC)",
                           "rename it to " + in_quotes(text) + ", as the descriptor file has it");
  }
  std::string path = path_from_component(record);
  const std::string fix = path.empty() ? "" : "write " + in_quotes(path) + "; paths are relative to the component's directory";
  if (path.empty()) path = others.to(record);
  if (path.empty()) return reporter.report(record.location(0), message, fix_of_missing(others.beside(record)));
  std::optional<Correction> correction;
  if (is_utf8(path)) correction = {"write " + path, false, {record.edit(0, 0, record.repository().size(), path)}};
  reporter.report(record.location(0), message, fix.empty() ? "write " + in_quotes(path) : fix, std::move(correction));
}

Rule repository_missing() {
  return {.name = "repository-missing",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository does not exist",
          .why =
              "If the director can load another repository, it only prints that there were errors, and does not find the "
              "features of the missing one. Otherwise it fails.",
          .fix = ship_or_correct,
          .bad = component(line_of_one, {{"tools/Site/content.xml", content_of_one}}),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                SimilarRepositories others(input);
                for_each_looked_into(input, [&](const Record& record) {
                  if (!record.site->exists) report_missing(record, others, reporter);
                });
              },
          .concerns_removals = false,
          .corrects = Corrects::both};
}

/// The file of a directory that differs from one of metadata only in the case of its letters; empty when there is none.
std::string metadata_in_other_case(const fs::path& directory) {
  std::error_code error;
  for (fs::directory_iterator entry(directory, error), end; !error && entry != end; entry.increment(error)) {
    std::string name = entry->path().filename().string();
    if (RepositoryFiles::is_form(Listing::content, lower_case(name)) && lower_case(name) != name) return name;
  }
  return "";
}

void report_no_metadata(const Record& record, Reporter& reporter) {
  std::string message = in_quotes(record.repository()) +
                        " is not a p2 repository: it has no content.jar, no content.xml and no composite of them";
  const std::string nested = in_quotes(record.site->nested);
  const std::string& inner = record.site->inner_archive;
  if (!inner.empty()) {
    const std::string path = (fs::path(record.repository()) / inner).string();
    reporter.report(
        record.location(0), message + "; it holds the archive " + in_quotes(inner),
        is_archive(record) ? "unpack it once: ship " + in_quotes(inner) + " itself, and write its path" : "write " + path);
  } else if (const fs::path path = record.repository(); is_directory_of_artifacts(path)) {
    reporter.report(record.location(0), message, "write the path of the repository, " + in_quotes(path.parent_path().string()));
  } else if (const std::string name = metadata_in_other_case(record.config->base_dir / path); !name.empty()) {
    reporter.report(record.location(0), message + "; names are case-sensitive",
                    "rename " + in_quotes(name) + " to " + in_quotes(lower_case(name)));
  } else if (record.site->nested.empty()) {
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

/// The director takes a location "/a" as relative to the composite.
std::string fix_of_missing_child(const Record& record, const std::string& child) {
  std::error_code error;
  if (child.starts_with('/') && fs::exists(child, error)) {
    const fs::path composite = fs::weakly_canonical(record.config->base_dir / fs::path(record.repository()), error);
    const std::string location = fs::weakly_canonical(child, error).lexically_relative(composite).string();
    return "write " + in_quotes(location) +
           "; the director takes the location as relative to the composite, even with a leading \"/\"";
  }
  const fs::path composite = record.config->base_dir / fs::path(record.repository());
  const std::string with_slashes = replaced(child, "\\", "/");
  const std::string meant = in_other_spelling(composite, with_slashes, differ_in_case);
  if (!meant.empty() && meant != child && fs::is_directory(composite / meant, error)) {
    return "write " + in_quotes(meant) + " in the composite";
  }
  if (lower_case(child).ends_with(".zip") && fs::is_regular_file(composite / child, error)) {
    return "unpack the archive, and write the path of its directory in the composite";
  }
  return "ship that repository, too, or remove it from the composite";
}

bool has_feature(const UnitVersions& units, const Record* record) {
  return std::any_of(record->units.begin(), record->units.end(),
                     [&](const auto& written) { return units.contains(written.unit.id); });
}

/// Whether the feature of a record is in its repository, and in none that can be loaded.
bool is_only_in_its_repository(const Record& record, const Sites& loaded) {
  const auto has_it = [&](const Repository& site) { return site.units && has_feature(*site.units, &record); };
  return has_it(*record.site) &&
         std::none_of(loaded.begin(), loaded.end(), [&](const auto& site) { return has_it(*site.first); });
}

/// A file that is not named like an archive is another rule's.
void check_loads(const Record& record, const Sites& loaded, Reporter& reporter) {
  const Repository& site = *record.site;
  if (!site.error.empty() && (is_archive(record) || site.is_directory)) {
    reporter.report(record.location(0), "cannot load " + in_quotes(record.repository()) + ": " + site.error,
                    site.is_unreadable ? "make it readable for the user who runs the installer" : fix_of(site.error));
    // Only its list of artifacts cannot be read.
    if (is_only_in_its_repository(record, loaded)) reporter.fails({&record});
  }
  for (const std::string& child : site.missing_children) {
    reporter.report(Severity::warning, record.location(0),
                    "cannot load " + in_quotes(child) + ", a child of the composite " + in_quotes(record.repository()),
                    fix_of_missing_child(record, child));
  }
}

Rule repository_not_loadable() {
  return {.name = "repository-not-loadable",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "the p2 metadata of a repository is damaged or unreadable",
          .why =
              "If the director can load another repository, it only prints that there were errors, and does not find the "
              "features of this one. It silently ignores such a child of a composite.",
          .fix = publish_again,
          .bad = component_with("<repository><units>\n"),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                const Sites loaded = loaded_sites(input);
                for_each_looked_into(input, [&](const Record& record) { check_loads(record, loaded, reporter); });
              },
          .concerns_removals = false};
}

constexpr const char* content_of_two =
    "<?xml version='1.0'?>\n<repository><units>\n"
    "  <unit id='org.example.two.feature.group' version='1.0.0'/>\n</units></repository>\n";

std::string fix_of_ignored(const IgnoredMetadata& ignored) {
  const bool is_file = ignored.name.find('<') == std::string::npos;
  const std::string where = ignored.child.empty() ? "" : " in " + in_quotes(ignored.child);
  return is_file ? "delete " + ignored.name + where + ", or recreate " + ignored.read_instead + " from it"
                 : "move its content to the first one";
}

Rule repository_metadata_ignored() {
  return {
      .name = "repository-metadata-ignored",
      .group = Group::repositories,
      .severity = Severity::warning,
      .title = "a repository has metadata that the director ignores",
      .why =
          "The director reads only the first that exists of content.jar, content.xml, content.xml.xz and a composite, unless "
          "p2.index names another order; the same holds for the list of artifacts. Of two <units> elements in a file it reads "
          "the first.",
      .fix = "delete the ignored metadata, or move its content to the file that the director reads",
      .bad = component(line_of_one, {{"tools/site/content.xml", content_of_two},
                                     {.name = "tools/site/content.jar", .entries = {{"content.xml", content_of_one}}}}),
      .good = component(line_of_one, {{"tools/site/content.xml", content_of_one},
                                      {.name = "tools/site/content.jar", .entries = {{"content.xml", content_of_one}}}}),
      .check =
          [](const Input& input, Reporter& reporter) {
            for (const auto& [site, record] : loaded_sites(input)) {
              for (const IgnoredMetadata& ignored : site->ignored_metadata) {
                reporter.report(record->location(0),
                                "the director ignores " + ignored.name + " of " +
                                    (ignored.child.empty() ? "" : in_quotes(ignored.child) + ", a child of the composite ") +
                                    in_quotes(record->repository()) + ", which has different content, since it reads " +
                                    ignored.read_instead,
                                fix_of_ignored(ignored));
              }
            }
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
              "The director may be able to load all of it. Lint does not know its units, so it does not look for the features "
              "of its lines, and reports no missing artifacts and no unused repositories. It does not compare the checksum or "
              "the signature of a jar that is too large.",
          .fix =
              "if the director has access to the whole repository, ignore this finding; otherwise ship all of it with the "
              "component",
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
                if (!input.jars) return;
                for (const NeededJar& jar : input.jars->wrong()) {
                  if (jar.errors.limit.empty()) continue;
                  reporter.report(jar.record->location(0), "cannot examine all of " + in_quotes(jar.record->repository()) +
                                                               ": " + *jar.name + " " + jar.errors.limit);
                }
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

/// The records of the features that need the units of these artifacts.
std::vector<const Record*> records_that_need(const Artifacts& artifacts, const Input& input) {
  if (!input.needed) return {};
  std::vector<Unit> units;
  for (const auto& [artifact, text] : artifacts) units.push_back(unit_of_artifact(artifact));
  return input.needed->records_that_need(units);
}

std::string fix_of_artifacts(const Record& record, const Artifacts& artifacts, const std::string& text) {
  const Repository& site = *record.site;
  if (site.is_composite && !site.lists_artifacts) {
    return "write compositeArtifacts.xml, with the same children as compositeContent.xml";
  }
  const std::string& file = artifacts.begin()->second;
  const fs::path directory = fs::path(record.config->base_dir) / record.repository();
  const std::string other = in_other_spelling(directory, file, differ_in_case);
  if (other.empty() || other == file) return fix_of(text);
  return "rename " + in_quotes(other) + " to " + in_quotes(file) + "; paths are case-sensitive";
}

/// Reports artifacts of each repository, but the director takes an artifact from any repository that has it.
void check_artifacts(const Input& input, Artifacts (*artifacts_of)(const Repository& site),
                     std::string (*text_of)(const Record& record, const Artifacts& artifacts), Reporter& reporter) {
  std::map<const Repository*, const Record*> sites;
  std::set<const Repository*> known;
  std::unordered_set<std::string_view> all;
  bool is_certain = true;
  for_each_placed(input, [&](const Record& record) {
    if (record.site == nullptr || !record.site->is_repository) return;
    if (is_plain_repository(record) && is_archive(record) != record.site->is_directory) sites.emplace(record.site, &record);
    is_certain = is_certain && (record.site->artifacts || !record.site->error.empty());
    const bool is_new = record.site->artifacts && known.insert(record.site).second;
    if (is_new) all.insert(record.site->artifacts->begin(), record.site->artifacts->end());
  });
  if (!is_certain) return;
  for (const auto& [site, record] : sites) {
    auto artifacts = site->error.empty() ? artifacts_of(*site) : Artifacts();
    std::erase_if(artifacts, [&](const auto& artifact) { return all.contains(artifact.first); });
    if (artifacts.empty()) continue;
    const std::string text = text_of(*record, artifacts);
    if (are_for_other_systems(*site, artifacts)) {
      reporter.report(
          Severity::warning, record->location(0), text + "; they are for other operating systems",
          "if the repository is for this system only, ignore this finding; otherwise " + std::string(publish_again));
    } else {
      reporter.report(record->location(0), text, fix_of_artifacts(*record, artifacts, text));
      reporter.fails(records_that_need(artifacts, input));
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
    for (const auto& [name, location] : site->artifacts_elsewhere) listed.insert(name);
  }
  return listed;
}

bool is_in_any(const Sites& sites, const std::string& artifact) {
  return std::any_of(sites.begin(), sites.end(),
                     [&](const auto& site) { return site.first->artifacts && site.first->artifacts->count(artifact) != 0; });
}

/// The director may be able to fetch them on this machine, but not on every one.
void check_elsewhere(const Input& input, Reporter& reporter) {
  if (!input.needed) return;
  const NeededUnits& needed = *input.needed;
  const Sites& sites = needed.sites();
  for (const auto& [site, record] : sites) {
    const auto& elsewhere = site->artifacts_elsewhere;
    const auto found = std::find_if(elsewhere.begin(), elsewhere.end(), [&](const auto& artifact) {
      return needed.has(unit_of_artifact(artifact.first)) && !is_in_any(sites, artifact.first);
    });
    if (found == elsewhere.end()) continue;
    reporter.report(
        Severity::warning, record->location(0),
        in_quotes(record->repository()) + ": a mapping rule of its artifacts.xml leads to " + in_quotes(found->second) +
            ", which is not in the repository",
        "ship the file with the repository, and begin the output of the rule with ${repoUrl}/; if every machine has "
        "access to that location, ignore this finding");
  }
}

/// A repository may list artifacts, but not those that its features need.
void check_lists(const Input& input, Reporter& reporter) {
  if (!input.offered) return;
  const NeededUnits& needed = *input.needed;
  const Sites& sites = needed.sites();
  const auto listed = listed_artifacts(sites);
  if (!listed) return;
  for (const auto& [site, record] : sites) {
    if (!site->lists_artifacts) continue;
    const auto lost = std::find_if(site->needed_artifacts.begin(), site->needed_artifacts.end(), [&](const std::string& name) {
      return needed.has(unit_of_artifact(name)) && listed->count(name) == 0;
    });
    if (lost == site->needed_artifacts.end()) continue;
    const std::string needs = in_quotes(record->repository()) + " needs " + in_quotes(*lost) + ", which no repository lists: ";
    const auto& children = site->children_without_artifacts;
    if (children.empty()) {
      reporter.report(record->location(0), needs + "its content and its artifacts are probably of different builds");
    } else {
      reporter.report(record->location(0),
                      needs + "its list of composite artifacts does not name " + in_quotes(*children.begin()),
                      "name the children of compositeContent in compositeArtifacts, too");
    }
    reporter.fails(needed.records_that_need({unit_of_artifact(*lost)}));
  }
}

Rule repository_without_artifacts() {
  return {.name = "repository-without-artifacts",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository lacks artifacts of its units, or the list of them",
          .why =
              "The director finds the features but not their files, so the command for all features fails. It looks for a file "
              "only where the first matching rule in <mappings> of artifacts.xml leads, even if that is on another machine.",
          .fix = publish_again,
          .bad = component_with(content_of_files),
          .good = component(line_of_one, {{"tools/site/content.xml", content_of_files},
                                          {"tools/site/artifacts.xml", artifacts_of_files},
                                          {"tools/site/plugins/org.example.one.plugin_1.0.0.jar", empty_jar()}}),
          .check =
              [](const Input& input, Reporter& reporter) {
                check_artifacts(input, missing_artifacts, lack_of_artifacts, reporter);
                check_lists(input, reporter);
                check_elsewhere(input, reporter);
              },
          .concerns_removals = false};
}

/// Those in archives, which take their time to unpack.
void check_packed_jars(const Input& input, Reporter& reporter) {
  if (!input.jars) return;
  std::map<const Record*, Artifacts> damaged;
  std::map<const Record*, std::vector<Unit>> units;
  for (const NeededJar& jar : input.jars->wrong()) {
    if (jar.errors.damage.empty()) continue;
    damaged[jar.record].emplace(*jar.name, *jar.name + " " + jar.errors.damage);
    units[jar.record].push_back(jar.unit);
  }
  for (const auto& [record, artifacts] : damaged) {
    const std::string text = damage_of_artifacts(*record, artifacts);
    reporter.report(record->location(0), text, fix_of(text));
    reporter.fails(input.needed->records_that_need(units[record]));
  }
}

Rule artifact_damaged() {
  return {
      .name = "artifact-damaged",
      .group = Group::repositories,
      .severity = Severity::error,
      .title = "a jar of a repository is not a whole zip archive, or has another size than the repository lists",
      .why =
          "If the repository lists a checksum, the director does not accept the jar, so the command for all features fails. "
          "Otherwise it may install the jar and report success, but Eclipse does not start the bundle. In archives, lint "
          "examines only the jars of the named features.",
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
            check_packed_jars(input, reporter);
          },
      .concerns_removals = false};
}

using Records = std::vector<const Record*>;

bool has_all_features(const UnitVersions& units, const Records& records) {
  return std::all_of(records.begin(), records.end(), [&](const Record* record) { return has_feature(units, record); });
}

/// The ids that all records name.
std::set<std::string, std::less<>> ids_in(const Input& input) {
  std::set<std::string, std::less<>> ids;
  for_each_placed(input, [&](const Record& record) {
    for (const WrittenUnit& written : record.units) ids.insert(written.unit.id);
  });
  return ids;
}

bool has_any_of(const UnitVersions& units, const std::set<std::string, std::less<>>& ids) {
  return std::any_of(units.begin(), units.end(), [&](const auto& unit) { return ids.contains(unit.first); });
}

/// Nothing is reported of a repository whose own lines name what no repository has: they are wrong in another way.
void check_use(const Input& input, Reporter& reporter) {
  if (!input.offered) return;
  const auto ids = ids_in(input);
  std::map<const Repository*, Records> by_site;
  for_each_looked_into(input, [&](const Record& record) { by_site[record.site].push_back(&record); });
  for (const auto& [site, records] : by_site) {
    if (has_any_of(*site->units, ids) || !has_all_features(*input.offered, records)) continue;
    if (!offers_features(*site->units)) continue;
    reporter.report(records.front()->location(0), "no listed feature is in " + in_quotes(records.front()->repository()));
  }
}

Rule unused_repository() {
  return {.name = "unused-repository",
          .group = Group::repositories,
          .severity = Severity::warning,
          .title = "a repository has none of the listed features",
          .why =
              "Other repositories have them. Every start of the director loads this one, although it can contribute only units "
              "that the features require.",
          .fix = "list the features that it was shipped for; or, if no feature requires its units, delete its lines",
          .bad = component("site\torg.example.one.feature.group\nother\torg.example.one.feature.group\n",
                           {{"tools/site/content.xml", content_of_one}, {"tools/other/content.xml", content_of_two}}),
          .good = good_component(),
          .check = check_use,
          .concerns_removals = false};
}

}  // namespace

std::vector<Rule> repositories_contents_rules() {
  return {repository_missing(),          repository_without_metadata(),  repository_not_loadable(), repository_not_examined(),
          repository_metadata_ignored(), repository_without_artifacts(), artifact_damaged(),        unused_repository()};
}

}  // namespace eclipse_lint
