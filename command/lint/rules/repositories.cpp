// Rules about the first column.
#include <algorithm>
#include <map>
#include <set>

#include "base/printable.h"
#include "dry_run/command_pieces.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "lint/rules/shell_changes.h"
#include "lint/texts.h"
#include "p2/repository_files.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

/// A component with one feature and one repository, "site", that has this metadata.
Sample component_with(const std::string& metadata) { return component(line_of_one, {{"tools/site/content.xml", metadata}}); }

/// What comes before the repository in its URL: the component's directory.
std::string_view base_of(const Input& input, const Record& record) {
  return input.has_components ? std::string_view(record.config->base_dir) : std::string_view();
}

/// Those that are not passed over.
template <typename Use>
void for_each_placed(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    if (record.placement) use(record);
  }
}

/// Those whose repository is a plain path, so that a mistake in its text is not reported as one on disk.
template <typename Use>
void for_each_looked_into(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    if (record.site != nullptr && is_plain_repository(record)) use(record);
  }
}

std::string in_directory_of(const Record& record) {
  return " in the component's directory, " + in_quotes(record.config->base_dir);
}

// ---- Paths ----

bool is_absolute(std::string_view repository) {
  return (repository.starts_with('/') && !is_comment(repository)) || has_drive_letter(repository);
}

Rule absolute_repository() {
  return {.name = "absolute-repository",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository is an absolute path",
          .why = "The plug-in reads it as relative to the component's directory, where it does not exist.",
          .fix = "write the path relative to the component's directory",
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
                  if (!has_scheme(record.repository())) return;
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

/// The directory of a path that ends in the name of a metadata file; empty for another path.
std::string directory_of_metadata(std::string_view repository) {
  const std::size_t slash = repository.rfind('/');
  if (slash == repository.npos || slash == 0) return "";
  const std::string_view name = repository.substr(slash + 1);
  const bool is_metadata =
      RepositoryFiles::is_form(Listing::content, name) || RepositoryFiles::is_form(Listing::artifacts, name);
  return is_metadata ? std::string(repository.substr(0, slash)) : "";
}

void check_archive_name(const Record& record, Reporter& reporter) {
  if (is_archive(record) || (record.site != nullptr && record.site->is_directory)) return;
  if (const std::string directory = directory_of_metadata(record.repository()); !directory.empty()) {
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
                  if (!is_archive(record) || !record.site->is_directory) return;
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
          .why = "How the installer normalises paths decides whether the director gets the repository once or several times.",
          .fix = "spell it the same way everywhere",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\n./sites/alpha\torg.example.beta.feature.group\n"),
          .good = descriptor("sites/alpha\torg.example.alpha.feature.group\nsites/alpha\torg.example.beta.feature.group\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                std::map<std::string, const Record*> first;
                std::set<std::pair<std::string_view, std::string_view>> spellings;
                for_each_placed(input, [&](const Record& record) {
                  if (is_absolute(record.repository()) || has_scheme(record.repository())) return;
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

// ---- What the shell changes ----

using IsOfRule = bool (*)(const Record& record, char byte);

bool is_space(const Record&, char byte) { return byte == ' '; }

bool is_glob(const Record&, char byte) { return byte == '*' || byte == '?' || byte == '['; }

/// The shell removes a backslash also from a directory, but there it is a separator more often than not.
bool is_other_metacharacter(const Record& record, char byte) {
  return !is_space(record, byte) && !is_glob(record, byte) && (byte != '\\' || is_archive(record));
}

/// Reports the first change that is the rule's, in column 1 or else in the component's directory.
void check_changes(const Input& input, IsOfRule is_of_rule, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    const std::string_view text = record.repository();
    for (const std::size_t at : changes_in_repository(record)) {
      if (is_around_column(text, at) || !is_of_rule(record, text[at])) continue;
      return reporter.report(record.descriptor->location(*record.line, 0, at, 1),
                             name_of_change(text, at) + " in the repository");
    }
    if (!input.has_components) return;
    for (const std::size_t at : changes_in_directory(record)) {
      const std::string& directory = record.config->base_dir;
      if (!is_of_rule(record, directory[at])) continue;
      return reporter.report(record.location(0), name_of_change(directory, at) + in_directory_of(record));
    }
  });
}

Rule space_in_repository() {
  return {.name = "space-in-repository",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "the path of a directory contains a space",
          .why =
              "The plug-in does not quote directories. The shell splits the director command at the space, so every command "
              "of the session fails, including those for other components. Archives are quoted.",
          .fix = "use a .zip archive, or a path without spaces",
          .bad = descriptor("my site\torg.example.alpha.feature.group\n"),
          .good = descriptor("my site.zip\torg.example.alpha.feature.group\n"),
          .check = [](const Input& input, Reporter& reporter) { check_changes(input, is_space, reporter); },
          .concerns_removals = false};
}

Rule repository_needs_shell_quoting() {
  return {.name = "repository-needs-shell-quoting",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository contains a shell metacharacter",
          .why =
              "The plug-in does not quote it. The shell runs, expands or redirects what the package says, or finds a syntax "
              "error, and every command of the session fails. Archives are in double quotes, where only \"$\", \"`\", \"\\\" "
              "and quotes are metacharacters.",
          .fix = "rename the repository",
          .bad = descriptor("sites/a;b\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check = [](const Input& input, Reporter& reporter) { check_changes(input, is_other_metacharacter, reporter); },
          .concerns_removals = false};
}

/// It would have to match the whole URL, read as a path from the working directory.
Rule glob_in_repository() {
  return {
      .name = "glob-in-repository",
      .group = Group::repositories,
      .severity = Severity::warning,
      .title = "the path of a directory contains a shell glob",
      .why =
          "The plug-in does not quote directories. The shell expands \"*\", \"?\" and \"[\" to matching file names; the path "
          "is unchanged only because no file name matches the whole URL. Archives are quoted.",
      .fix = "rename the repository",
      .bad = component("si*te\torg.example.one.feature.group\n", {{"tools/si*te/content.xml", content_of_one}}),
      .good = good_component(),
      .check = [](const Input& input, Reporter& reporter) { check_changes(input, is_glob, reporter); },
      .concerns_removals = false};
}

// ---- What the director does not read as it is meant ----

/// Where the column has the character, or else that the component's directory has it.
void report_character(const Input& input, const Record& record, char character, const std::string& name, Reporter& reporter,
                      std::optional<Correction> correction = {}) {
  const std::size_t at = record.repository().find(character);
  if (at != std::string_view::npos) {
    reporter.report(record.descriptor->location(*record.line, 0, at, 1), name + " in the repository", std::move(correction));
  } else if (base_of(input, record).find(character) != std::string_view::npos) {
    reporter.report(record.location(0), name + in_directory_of(record));
  }
}

/// Of a text that is not UTF-8.
std::size_t first_invalid_byte(std::string_view text) {
  std::size_t start = 0;
  while (character_length(text.substr(start)) != 0) start += character_length(text.substr(start));
  return start;
}

Rule repository_not_utf_8() {
  return {.name = "repository-not-utf-8",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository is not valid UTF-8",
          .why = "The director reads the invalid bytes as other characters, so it cannot load the repository.",
          .fix = "rename the repository, preferably with ASCII characters only",
          .bad = descriptor("sites/b\xE4r\torg.example.alpha.feature.group\n"),
          .good = descriptor("sites/b\xC3\xA4r\torg.example.alpha.feature.group\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_placed(input, [&](const Record& record) {
                  const std::string_view text = record.repository();
                  if (!is_utf8(text)) {
                    const std::size_t at = first_invalid_byte(text);
                    reporter.report(record.descriptor->location(*record.line, 0, at, 1),
                                    "invalid UTF-8 byte " + printable(text.substr(at, 1)) + " in the repository");
                  } else if (!is_utf8(base_of(input, record))) {
                    reporter.report(record.location(0), "invalid UTF-8" + in_directory_of(record));
                  }
                });
              },
          .concerns_removals = false};
}

void check_comma(const Input& input, const Record& record, Reporter& reporter) {
  const auto paths = split(record.repository(), ',');
  const bool are_several = paths.size() > 1 && std::all_of(paths.begin(), paths.end(), looks_like_site);
  if (!are_several) return report_character(input, record, ',', "comma", reporter);
  reporter.report(record.location(0), std::to_string(paths.size()) + " repositories in one line",
                  "write a line for each repository");
}

Rule comma_in_repository() {
  return {
      .name = "comma-in-repository",
      .group = Group::repositories,
      .severity = Severity::error,
      .title = "a repository contains a comma",
      .why =
          "The director splits its list of repositories at commas and cannot load the parts, so every command of the session "
          "fails.",
      .fix = "rename the repository",
      .bad = descriptor("sites/a,b\torg.example.alpha.feature.group\n"),
      .good = good_descriptor(),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_placed(input, [&](const Record& record) { check_comma(input, record, reporter); });
          },
      .concerns_removals = false};
}

void check_url_syntax(const Input& input, const Record& record, Reporter& reporter) {
  const std::string_view text = record.repository();
  if (is_comment(text) || has_scheme(text)) return;
  const std::string base(base_of(input, record));
  const std::size_t at = url_syntax_in(text, is_archive(record));
  if (at != text.npos) {
    const std::size_t length = text[at] == '%' ? 3 : text[at] == '!' ? 2 : 1;
    reporter.report(record.descriptor->location(*record.line, 0, at, 1),
                    "URL syntax " + in_quotes(text.substr(at, length)) + " in the repository");
  } else if (url_syntax_in(base + "/", is_archive(record)) != text.npos) {
    reporter.report(record.location(0), "URL syntax" + in_directory_of(record));
  }
}

Rule url_character_in_repository() {
  return {.name = "url-character-in-repository",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository contains \"#\", \"%\" and two hexadecimal digits, or other URL syntax",
          .why =
              "The path becomes a URL unescaped. The director reads \"#\" as the start of a fragment and \"%20\" as an escape, "
              "and cannot load the repository. The same holds for \"?\", \"[\" and \"]\" in a directory, and for \"!/\" in an "
              "archive, where it ends the path.",
          .fix = "rename the repository",
          .bad = descriptor("sites/a%20b\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_placed(input, [&](const Record& record) { check_url_syntax(input, record, reporter); });
              },
          .concerns_removals = false};
}

/// Not where the shell needs them, as before a space, and not where they belong to the name of an archive that exists.
std::optional<Correction> slashes_for_backslashes(const Record& record) {
  const std::string_view text = record.repository();
  if (record.site != nullptr && record.site->exists) return std::nullopt;
  Correction correction{"write slashes", true, {}};
  for (std::size_t at = 0; (at = text.find('\\', at)) != text.npos; ++at) {
    const std::string_view after = text.substr(at + 1, 1);
    const bool separates = at != 0 && !after.empty() && after.find_first_of(" \\'\"$`&|;<>()*?[#~!") == after.npos;
    if (!separates) return std::nullopt;
    correction.edits.push_back(record.edit(0, at, 1, "/"));
  }
  return correction.edits.empty() ? std::nullopt : std::optional(std::move(correction));
}

Rule backslash_in_repository() {
  return {.name = "backslash-in-repository",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository contains a backslash",
          .why =
              "The plug-in converts backslashes to slashes only in listed file names. Here the shell removes them, or the "
              "director looks for a file with a backslash in its name.",
          .fix = "separate directories with \"/\"",
          .bad = descriptor("sites\\alpha\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_placed(input, [&](const Record& record) {
                  if (has_drive_letter(record.repository())) return;
                  report_character(input, record, '\\', "backslash", reporter, slashes_for_backslashes(record));
                });
              },
          .concerns_removals = false,
          .corrects = Corrects::safely};
}

// ---- What is on disk ----

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
    if (!artifacts.empty()) reporter.report(record->location(0), text_of(*record, artifacts));
  }
}

Rule repository_without_artifacts() {
  return {.name = "repository-without-artifacts",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository lacks artifacts of its units, or the list of them",
          .why =
              "The director finds the features but not their files. The command for all features fails, including those from "
              "other repositories; then each feature is tried alone.",
          .fix = publish_again,
          .bad = component_with(content_of_files),
          .good = component(line_of_one, {{"tools/site/content.xml", content_of_files},
                                          {"tools/site/artifacts.xml", artifacts_of_files},
                                          {"tools/site/plugins/org.example.one.plugin_1.0.0.jar", empty_jar()}}),
          .check = [](const Input& input,
                      Reporter& reporter) { check_artifacts(input, missing_artifacts, lack_of_artifacts, reporter); },
          .concerns_removals = false};
}

Rule artifact_damaged() {
  return {.name = "artifact-damaged",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a jar of a repository is not a zip archive, or has another size than the repository lists",
          .why =
              "The director compares jars with their checksums, and does not accept other files. The command for all features "
              "fails, also for those of other repositories; each feature is then tried alone.",
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

std::vector<Rule> rules_about_repositories() {
  return {absolute_repository(),
          url_repository(),
          archive_not_recognised(),
          directory_named_zip(),
          repository_spelled_differently(),
          space_in_repository(),
          repository_needs_shell_quoting(),
          glob_in_repository(),
          repository_not_utf_8(),
          comma_in_repository(),
          url_character_in_repository(),
          backslash_in_repository(),
          repository_missing(),
          repository_without_metadata(),
          repository_not_loadable(),
          repository_not_examined(),
          repository_without_artifacts(),
          artifact_damaged(),
          unused_repository()};
}

}  // namespace eclipse_lint
