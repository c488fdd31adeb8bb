// Rules about repositories that are elsewhere on another machine, for another user or without symbolic links.
#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>

#include "base/canonical_paths.h"
#include "base/file.h"
#include "base/printable.h"
#include "dry_run/command_pieces.h"
#include "lint/input.h"
#include "lint/open_to_others.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"
#include "lint/texts.h"
#include "p2/artifact_file.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

/// The component whose directory a path is in; null when it is in none.
const std::string* component_around(const Input& input, const fs::path& path) {
  const auto is_around = [&](const std::string& directory) {
    const fs::path below = path.lexically_relative(directory);
    return !below.empty() && *below.begin() != "..";
  };
  const auto& directories = input.component_directories;
  const auto found = std::find_if(directories.begin(), directories.end(), is_around);
  return found == directories.end() ? nullptr : &*found;
}

bool is_below(const fs::path& path, const fs::path& directory) {
  const fs::path below = path.lexically_relative(directory);
  return !below.empty() && *below.begin() != "..";
}

/// The path of an artifact without symbolic links; empty when there is an error.
fs::path canonical_path_of(const eclipse_p2::ArtifactFile& file, CanonicalPaths& canonical) {
  if (!file.facts || file.facts->is_link) return canonical.of(file.path);
  const fs::path& directory = canonical.of(file.path.parent_path());
  return directory.empty() ? fs::path() : directory / file.path.filename();
}

/// The first file of a repository that a link takes from outside the component's directory. Where the metadata leads out of it
/// is another finding.
void check_files(const Record& record, const fs::path& base, CanonicalPaths& canonical, Reporter& reporter) {
  for (const auto& [artifact, file] : record.site->artifact_files) {
    const fs::path path = canonical_path_of(file, canonical);
    const bool has_links = !path.empty() && path.native() != file.path.native();
    if (!has_links || is_below(path, base) || !is_below(file.path, base)) continue;
    return reporter.report(record.location(0),
                           in_quotes(record.repository()) + ": " + file.name +
                               " is outside of the component's directory: a symbolic link leads to " + path.string(),
                           "put the file itself in the place of the link");
  }
}

/// What was examined for earlier lines.
struct Examined {
  std::set<const eclipse_p2::Repository*> repositories;  ///< their files
  CanonicalPaths canonical;
};

/// Whether what a path leads to is outside of the component, and a composite's children are where they are on this machine.
void check_links(const Record& record, Examined& examined, Reporter& reporter) {
  const fs::path& base = examined.canonical.of(record.config->base_dir);
  const fs::path& site = examined.canonical.of(base / record.repository());
  if (site.empty() || !is_plain_repository(record)) return;
  if (is_below(site, base)) {
    if (examined.repositories.insert(record.site).second) check_files(record, base, examined.canonical, reporter);
  } else {
    reporter.report(
        record.location(0),
        in_quotes(record.repository()) + " is outside of the component's directory: a symbolic link leads to " + site.string());
  }
  for (const std::string& child : record.site->absolute_children) {
    reporter.report(record.location(0),
                    "the composite " + in_quotes(record.repository()) + " has the absolute location " + in_quotes(child),
                    "ship that repository with the component, and write its location relative to the composite");
  }
  if (!record.site->absolute_artifact.empty()) {
    reporter.report(record.location(0),
                    "a mapping rule in artifacts.xml of " + in_quotes(record.repository()) +
                        " leads to the absolute location " + in_quotes(record.site->absolute_artifact),
                    "ship that file in the repository, and begin the output of the rule with ${repoUrl}/");
  }
}

/// A path that does not exist is another rule's.
void check_is_inside(const Input& input, const Record& record, Examined& examined, Reporter& reporter) {
  const std::string_view text = record.repository();
  const bool leads_out = !text.starts_with('/') && *fs::path(text).lexically_normal().begin() == "..";
  if (!leads_out && record.site != nullptr) return check_links(record, examined, reporter);
  if (!leads_out || (record.site != nullptr && !record.site->exists)) return;
  const std::string message = in_quotes(text) + " is outside of the component's directory";
  if (!input.has_components) return reporter.report(record.location(0), message);
  const fs::path path = fs::path(eclipse_dry_run::path_in(record.placement->url)).lexically_normal();
  const std::string* const other = component_around(input, path);
  if (other == nullptr) return reporter.report(record.location(0), message + ", in " + path.parent_path().string());
  if (*other == record.config->base_dir) {
    return reporter.report(record.location(0), in_quotes(text) + " leads out of the component's directory and back",
                           "write " + in_quotes(path.lexically_relative(*other).string()));
  }
  reporter.report(
      Severity::note, record.location(0), message + ", in that of another component, " + *other,
      "if that component is always installed beside this one, ignore this finding; otherwise ship the repository with both");
}

Rule repository_outside_component() {
  return {.name = "repository-outside-component",
          .group = Group::repositories,
          .severity = Severity::warning,
          .title = "a repository, or a part of it, is outside of the component's directory",
          .why =
              "The component does not ship it. If the component is installed into another directory, or without its "
              "neighbours, the repository is missing or a different one.",
          .fix = "ship the repository with the component, and write its path relative to the component's directory",
          .bad = component("../base/site\torg.example.one.feature.group\n", {{"base/site/content.xml", content_of_one}}),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                Examined examined;
                for (const Record& record : input.records) {
                  if (record.placement && !record.repository().empty()) check_is_inside(input, record, examined, reporter);
                }
              },
          .concerns_removals = false};
}

// ---- Permissions ----

/// If others may not read the descriptor file, the product is probably not yet as it is shipped.
void check_permissions(const Record& record, OpenToOthers& open, Reporter& reporter) {
  if (!open.closed_part(*record.descriptor, record.config->base_dir).empty()) return;
  const fs::path closed = open.closed_part(record);
  if (closed.empty()) return;
  reporter.report(record.location(0),
                  "other users may not read all of " + in_quotes(record.repository()) + ", but the descriptor file",
                  "run chmod -R a+rX " + closed.string());
}

Rule repository_not_readable_by_others() {
  return {
      .name = "repository-not-readable-by-others",
      .group = Group::repositories,
      .severity = Severity::warning,
      .title = "only its owner can read a repository, but everyone can read the descriptor file beside it",
      .why =
          "An archive or a package keeps the permissions. If the installer then runs as another user, the director cannot "
          "load the repository, or cannot read its artifacts.",
      .fix = "run chmod -R a+rX on the directory of the repository",
      .bad = component(line_of_one, {{"tools/site/content.xml", content_of_one}, {.name = "tools/site/", .permissions = 0700}}),
      .good = good_component(),
      .check =
          [](const Input& input, Reporter& reporter) {
            if (!input.has_components) return;
            std::set<const eclipse_p2::Repository*> known;
            OpenToOthers open;
            for_each_looked_into(input, [&](const Record& record) {
              const bool is_loaded = record.placement && record.site->is_loadable();
              if (is_loaded && known.insert(record.site).second) check_permissions(record, open, reporter);
            });
          },
      .concerns_removals = false};
}

// ---- Links ----

/// The repository that a file names as a symbolic link would; empty when it names none.
std::string target_in(const Record& record) {
  constexpr std::size_t longest = 4096;
  const fs::path file = fs::path(record.config->base_dir) / record.repository();
  const FileContent content = read_beginning(file, longest);
  if (!content.error.empty() || content.bytes.empty() || content.bytes.size() == longest) return "";
  if (content.bytes.find_first_of(std::string_view("\n\0", 2)) != std::string::npos) return "";
  std::error_code error;
  const fs::path target = (fs::path(record.repository()).parent_path() / content.bytes).lexically_normal();
  return fs::exists(fs::path(record.config->base_dir) / target, error) ? target.string() : "";
}

Rule link_as_text() {
  return {.name = "link-as-text",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository is a text file that contains the target of a symbolic link",
          .why =
              "Version control on a system without symbolic links checks them out as such files. The director cannot load "
              "them.",
          .fix = "check it out as a symbolic link, or write the path of its target",
          .bad = component(line_of_one, {{"tools/site", "1.0.0"}, {"tools/1.0.0/content.xml", content_of_one}}),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_looked_into(input, [&](const Record& record) {
                  if (!record.site->exists || record.site->is_directory) return;
                  const std::string target = target_in(record);
                  if (target.empty()) return;
                  reporter.report(record.location(0),
                                  in_quotes(record.repository()) + " is a text file that names " + in_quotes(target),
                                  "check it out as a symbolic link, or write " + in_quotes(target));
                });
              },
          .concerns_removals = false,
          .supersedes = Supersedes::line};
}

}  // namespace

std::vector<Rule> repositories_places_rules() {
  return {repository_outside_component(), repository_not_readable_by_others(), link_as_text()};
}

}  // namespace eclipse_lint
