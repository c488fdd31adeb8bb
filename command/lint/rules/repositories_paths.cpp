// Rules about the first column as a path: where it leads, and whether it is taken for an archive.
#include <map>
#include <set>

#include "base/file.h"
#include "base/printable.h"
#include "base/uri.h"
#include "dry_run/command_pieces.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"
#include "lint/texts.h"
#include "p2/repository_files.h"
#include "p2/repository_url.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

bool is_absolute(std::string_view repository) {
  return (repository.starts_with('/') && !is_comment(repository)) || has_drive_letter(repository);
}

/// The path from the component's directory of a repository in it that is written with all of its path; else empty.
std::string path_below_component(const Record& record) {
  std::error_code error;
  const fs::path repository = fs::weakly_canonical(fs::path(record.repository()), error);
  const fs::path path = repository.lexically_relative(fs::weakly_canonical(absolute_path(record.config->base_dir), error));
  const bool is_below = !error && !path.empty() && *path.begin() != ".." && fs::exists(repository, error);
  return is_below ? path.string() : "";
}

Rule absolute_repository() {
  return {.name = "absolute-repository",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository is an absolute path",
          .why =
              "The plug-in appends every path to the component's directory, so the director gets a path that usually does not "
              "exist. If it can load another repository, it only prints that there were errors, and does not find the "
              "features of this one. Otherwise it fails.",
          .fix = "ship the repository with the component, and write its path relative to the component's directory",
          .bad = descriptor("/opt/site\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_placed(input, [&](const Record& record) {
                  if (!is_absolute(record.repository())) return;
                  std::string message = "absolute path " + in_quotes(record.repository());
                  if (input.has_components)
                    message += " is read as " + std::string(eclipse_dry_run::path_in(record.placement->url));
                  if (record.site != nullptr && record.site->exists) {
                    reporter.report(Severity::warning, record.location(0), message + ", which exists",
                                    "remove the leading slash");
                  } else if (const std::string path = path_below_component(record); !path.empty()) {
                    reporter.report(record.location(0), std::move(message), "write " + in_quotes(path));
                  } else {
                    reporter.report(record.location(0), std::move(message));
                  }
                });
              },
          .concerns_removals = false};
}

Rule url_repository() {
  return {.name = "url-repository",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository is a URL",
          .why = "The plug-in reads it as a path relative to the component's directory, where it does not exist.",
          .fix = "ship the repository with the component, and write its path relative to the component's directory",
          .bad = descriptor("https://example.org/site\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_placed(input, [&](const Record& record) {
                  if (!has_scheme(record.repository()) || (record.site != nullptr && record.site->exists)) return;
                  reporter.report(record.location(0), "URL " + in_quotes(record.repository()) + " is read as a path");
                });
              },
          .concerns_removals = false};
}

/// The end of a name that is an archive's but is not recognised; empty when there is none.
std::string_view other_archive_ending(std::string_view repository) {
  const std::string name = lower_case(repository);
  for (const std::string_view ending : {".zip", ".jar", ".tar", ".tar.gz", ".tgz", ".tar.xz", ".7z"}) {
    if (name.ends_with(ending) && !has_scheme(name)) return repository.substr(repository.size() - ending.size());
  }
  return "";
}

/// Whether a record's repository exists when it is spelled like this; nothing where that cannot be known.
std::optional<bool> exists_as(const Record& record, const std::string& repository) {
  if (record.site == nullptr) return std::nullopt;
  std::error_code error;
  return fs::exists(fs::path(record.config->base_dir) / repository, error);
}

/// Unless the file itself has the wrong name.
std::optional<Correction> zip_in_lower_case(const Record& record, std::size_t start, std::string_view ending) {
  if (lower_case(ending) != ".zip") return std::nullopt;
  const auto exists = exists_as(record, std::string(record.repository().substr(0, start)) + ".zip");
  if (exists == false || (record.site != nullptr && record.site->exists)) return std::nullopt;
  return Correction{"write .zip", exists.has_value(), {record.edit(0, start, ending.size(), ".zip")}};
}

/// The directory of a repository, of which a path names a file of metadata or a jar; empty for another path.
std::string directory_of_repository(std::string_view repository) {
  const fs::path path(repository);
  const std::string name = path.filename().string();
  if (RepositoryFiles::is_form(Listing::content, name) || RepositoryFiles::is_form(Listing::artifacts, name)) {
    return path.parent_path().string();
  }
  const bool is_artifact = path.extension() == ".jar" && is_directory_of_artifacts(path.parent_path());
  return is_artifact ? path.parent_path().parent_path().string() : "";
}

void check_archive_name(const Record& record, Reporter& reporter) {
  if (is_archive(record) || (record.site != nullptr && record.site->is_directory)) return;
  if (const std::string directory = directory_of_repository(record.repository()); !directory.empty()) {
    return reporter.report(record.location(0), in_quotes(record.repository()) + " is a file of a repository",
                           "write the path of the repository, " + in_quotes(directory),
                           Correction{"write " + directory, false, {record.edit(0, 0, record.repository().size(), directory)}});
  }
  const std::string_view ending = other_archive_ending(record.repository());
  if (!ending.empty()) {
    const std::size_t start = record.repository().size() - ending.size();
    reporter.report(record.descriptor->location(*record.line, 0, start, ending.size()),
                    in_quotes(ending) + " is not recognised as the end of an archive's name",
                    zip_in_lower_case(record, start, ending));
  } else if (record.site != nullptr && record.site->exists && is_plain_repository(record)) {
    reporter.report(record.location(0), in_quotes(record.repository()) + " is a file whose name does not end in \".zip\"");
  }
}

Rule archive_not_recognised() {
  return {.name = "archive-not-recognised",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "the name of an archive does not end in .zip (case-sensitive)",
          .why = "The plug-in passes it to the director as a directory, which the director cannot load.",
          .fix = "use a zip archive whose name ends in .zip, in lower case",
          .bad = descriptor("sites/alpha.ZIP\torg.example.alpha.feature.group\n"),
          .good = descriptor("sites/alpha.zip\torg.example.alpha.feature.group\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_placed(input, [&](const Record& record) { check_archive_name(record, reporter); });
              },
          .concerns_removals = false,
          .corrects = Corrects::both};
}

Rule directory_named_zip() {
  return {.name = "directory-named-zip",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "the name of a directory ends in .zip",
          .why = "The plug-in passes it to the director as an archive, which the director cannot load.",
          .fix = "rename the directory, or pack it into a zip archive",
          .bad = component("site.zip\torg.example.one.feature.group\n", {{"tools/site.zip/content.xml", content_of_one}}),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_looked_into(input, [&](const Record& record) {
                  if (!is_archive(record) || !is_of_other_kind(*record.site, true)) return;
                  reporter.report(record.location(0), in_quotes(record.repository()) + " is a directory, not an archive");
                });
              },
          .concerns_removals = false};
}

/// If a directory in the path is a symbolic link, the two may differ.
std::optional<Correction> spelled_like(const Record& other, const Record& record) {
  const std::string spelling(other.repository());
  if (!is_utf8(spelling)) return std::nullopt;
  return Correction{"write " + spelling, false, {record.edit(0, 0, record.repository().size(), spelling)}};
}

Rule repository_spelled_differently() {
  return {.name = "repository-spelled-differently",
          .group = Group::repositories,
          .severity = Severity::warning,
          .title = "one repository is spelled in several ways",
          .why = "The director gets the repository once or several times, depending on how the installer normalises paths.",
          .fix = "spell it the same way everywhere",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\n./sites/alpha\torg.example.beta.feature.group\n"),
          .good = descriptor("sites/alpha\torg.example.alpha.feature.group\nsites/alpha\torg.example.beta.feature.group\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                std::map<std::string, const Record*> first;
                std::set<std::pair<std::string_view, std::string_view>> spellings;
                for_each_placed(input, [&](const Record& record) {
                  const std::string_view text = record.repository();
                  if (is_absolute(text) || has_scheme(text) || is_comment(text)) return;
                  const std::string& base = record.config->base_dir;
                  if (!spellings.emplace(base, record.repository()).second) return;
                  std::string normal = fs::path(base + "/" + record.config->repository).lexically_normal().string();
                  if (normal.ends_with('/')) normal.pop_back();
                  const auto [known, is_new] = first.emplace(std::move(normal), &record);
                  const Record& other = *known->second;
                  if (is_new || other.config->base_dir != base) return;
                  reporter.report(record.location(0), "same path as " + in_quotes(other.repository()) + " in " + other.where(),
                                  spelled_like(other, record));
                });
              },
          .concerns_removals = false,
          .corrects = Corrects::unsafely};
}

}  // namespace

std::vector<Rule> repositories_paths_rules() {
  return {absolute_repository(), url_repository(), archive_not_recognised(), directory_named_zip(),
          repository_spelled_differently()};
}

}  // namespace eclipse_lint
