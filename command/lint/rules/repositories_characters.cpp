// Rules about characters of the first column that the shell or the director does not take as they are.
#include <algorithm>
#include <filesystem>
#include <system_error>

#include "base/printable.h"
#include "base/uri.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"
#include "lint/rules/shell_changes.h"
#include "lint/texts.h"
#include "p2/director_start.h"
#include "p2/repository_url.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

/// What comes before the repository in its URL: the component's directory.
std::string_view base_of(const Input& input, const Record& record) {
  return input.has_components ? std::string_view(record.config->base_dir) : std::string_view();
}

std::string in_directory_of(const Record& record) {
  return " in the component's directory, " + in_quotes(record.config->base_dir);
}

// ---- What the shell changes ----

using IsOfRule = bool (*)(const Record& record, char byte);

bool is_space(const Record&, char byte) { return byte == ' '; }

bool is_glob(const Record&, char byte) { return byte == '*' || byte == '?' || byte == '['; }

/// The shell removes a backslash also from a directory, but there it is a separator more often than not.
bool is_other_metacharacter(const Record& record, char byte) {
  return !is_space(record, byte) && !is_glob(record, byte) && (byte != '\\' || is_archive(record));
}

/// Reports the first of these places that is the rule's, in column 1 or else in the component's directory.
void report_first(const Input& input, const Record& record, const ShellChanges& in_column, const ShellChanges& in_directory,
                  IsOfRule is_of_rule, Severity severity, Reporter& reporter) {
  const std::string_view text = record.repository();
  for (const std::size_t at : in_column) {
    if (is_around_column(text, at) || !is_of_rule(record, text[at])) continue;
    return reporter.report(severity, record.descriptor->location(*record.line, 0, at, 1),
                           name_of_change(text, at) + " in the repository");
  }
  if (!input.has_components) return;
  const std::string& directory = record.config->base_dir;
  for (const std::size_t at : in_directory) {
    if (!is_of_rule(record, directory[at])) continue;
    return reporter.report(severity, record.location(0), name_of_change(directory, at) + in_directory_of(record));
  }
}

void check_changes(const Input& input, IsOfRule is_of_rule, Reporter& reporter) {
  for_each_placed(input, [&](const Record& record) {
    const ShellChanges in_column = changes_in_repository(record);
    const ShellChanges in_directory = changes_in_directory(record);
    if (in_column.empty() && in_directory.empty()) return;
    report_first(input, record, in_column, in_directory, is_of_rule, severity_of_changed_repository(input, record), reporter);
  });
}

Rule space_in_repository() {
  return {.name = "space-in-repository",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "the path of a directory contains a space",
          .why =
              "The plug-in does not quote directories. The shell splits the director command at the space, so every command "
              "of the session fails. Archives are quoted.",
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
              "The plug-in does not quote it. The shell expands the path, runs a part of it, redirects to it or finds a syntax "
              "error, and every command of the session fails. Archives are in double quotes, where only \"$\", \"`\", \"\\\" "
              "and quotes are metacharacters.",
          .fix = "rename the repository",
          .bad = descriptor("sites/a;b\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check = [](const Input& input, Reporter& reporter) { check_changes(input, is_other_metacharacter, reporter); },
          .concerns_removals = false};
}

void check_globs(const Input& input, Reporter& reporter) {
  check_changes(input, is_glob, reporter);
  for_each_placed(input, [&](const Record& record) {
    report_first(input, record, idle_globs_in_repository(record), idle_globs_in_directory(record), is_glob, Severity::note,
                 reporter);
  });
}

Rule glob_in_repository() {
  return {
      .name = "glob-in-repository",
      .group = Group::repositories,
      .severity = Severity::note,
      .title = "the path of a directory contains a shell glob",
      .why =
          "The plug-in does not quote directories. The shell expands \"*\", \"?\" and \"[\" to matching file names. Here the "
          "path is unchanged, because no file name in the working directory matches the whole URL; where one does, this is an "
          "error. Archives are quoted.",
      .fix = "rename the repository",
      .bad = component("si*te\torg.example.one.feature.group\n", {{"tools/si*te/content.xml", content_of_one}}),
      .good = good_component(),
      .check = check_globs,
      .concerns_removals = false};
}

// ---- What the director does not read as it is meant ----

/// Where the column has the character, or else that the component's directory has it.
void report_character(const Input& input, const Record& record, char character, const std::string& name, Severity severity,
                      Reporter& reporter, std::optional<Correction> correction = {}) {
  const std::size_t at = record.repository().find(character);
  if (at != std::string_view::npos) {
    reporter.report(severity, record.descriptor->location(*record.line, 0, at, 1), name + " in the repository",
                    std::move(correction));
  } else if (base_of(input, record).find(character) != std::string_view::npos) {
    reporter.report(severity, record.location(0), name + in_directory_of(record));
  }
}

void check_utf_8(const Input& input, const Record& record, Reporter& reporter) {
  const std::string_view text = record.repository();
  if (!is_utf8(text)) {
    const std::size_t at = length_of_utf8(text);
    reporter.report(record.descriptor->location(*record.line, 0, at, 1),
                    "invalid UTF-8 byte " + printable(text.substr(at, 1)) + " in the repository");
  } else if (!is_utf8(base_of(input, record))) {
    reporter.report(record.location(0), "invalid UTF-8" + in_directory_of(record));
  } else if (const bool is_readable = eclipse_p2::is_readable_in_locale(text);
             !is_readable || !eclipse_p2::is_readable_in_locale(base_of(input, record))) {
    reporter.report(input.session ? Severity::error : Severity::warning, record.location(0),
                    (is_readable ? "the component's directory, " + in_quotes(record.config->base_dir) + "," : "the path") +
                        " has " + eclipse_p2::unreadable_in_locale,
                    std::string(eclipse_p2::locale_fix) + ", or rename the repository");
  }
}

Rule repository_not_utf_8() {
  return {.name = "repository-not-utf-8",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository is not valid UTF-8, or not ASCII in a locale without UTF-8",
          .why =
              "The director cannot load a repository whose path it cannot read: a path that is not valid UTF-8; or, if the "
              "locale is unset or has no UTF-8, such as C or POSIX, a path with non-ASCII characters.",
          .fix = "rename the repository, preferably with ASCII characters only",
          .bad = descriptor("sites/b\xE4r\torg.example.alpha.feature.group\n"),
          .good = descriptor("sites/baer\torg.example.alpha.feature.group\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_placed(input, [&](const Record& record) { check_utf_8(input, record, reporter); });
              },
          .concerns_removals = false};
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
            for_each_placed(
                input, [&](const Record& record) { report_character(input, record, ',', "comma", Severity::error, reporter); });
          },
      .concerns_removals = false};
}

/// Whether a part of column 1 is a repository by itself.
bool is_repository_part(const Input& input, const Record& record, const std::string& part) {
  if (part.empty() || part.find_first_of(" ,;|+&") != part.npos) return false;
  std::error_code error;
  return looks_like_site(part) || (input.has_components && fs::exists(fs::path(record.config->base_dir) / part, error));
}

/// A space may also be in a name: each part has to exist, or to be in the directory of the first.
bool are_repositories(const Input& input, const Record& record, char separator, const std::vector<std::string>& parts) {
  if (parts.size() < 2) return false;
  const auto is_part = [&](const std::string& part) { return is_repository_part(input, record, part); };
  if (!std::all_of(parts.begin(), parts.end(), is_part)) return false;
  if (separator != ' ') return true;
  const std::string directory = parts[0].substr(0, parts[0].find('/') + 1);
  return std::all_of(parts.begin(), parts.end(), [&](const std::string& part) {
    std::error_code error;
    const bool exists = fs::exists(fs::path(record.config->base_dir) / part, error);
    return input.has_components ? exists : !directory.empty() && part.starts_with(directory);
  });
}

void check_count(const Input& input, const Record& record, Reporter& reporter) {
  const std::string_view text = trimmed(record.repository());
  if ((record.site != nullptr && record.site->exists) || is_comment(text) || has_scheme(text)) return;
  for (const char separator : {',', ';', '|', '+', '&', ' '}) {
    std::vector<std::string> parts = split(text, separator);
    for (std::string& part : parts) part = trimmed(part);
    std::erase(parts, "");
    if (!are_repositories(input, record, separator, parts)) continue;
    const Location location =
        record.descriptor->location(*record.line, 0, record.repository().find(separator, parts[0].size()), 1);
    const std::string name = separator == ' ' ? "a space" : in_quotes(std::string(1, separator));
    return reporter.report(location,
                           std::to_string(parts.size()) + " repositories in one line, with " + name + " between them");
  }
}

Rule several_repositories() {
  return {
      .name = "several-repositories",
      .group = Group::repositories,
      .severity = Severity::error,
      .title = "a line has several repositories",
      .why =
          "The plug-in reads the first column as one path, which does not exist. Without the quotes of an archive, the shell "
          "splits the director command at a space, a semicolon, a bar or an ampersand, and the director its list of "
          "repositories at a comma, so every command of the session fails.",
      .fix = "write a line for each repository; end one for which no feature is left in two tabs",
      .bad = descriptor("sites/alpha;sites/beta\torg.example.alpha.feature.group\n"),
      .good = descriptor("sites/alpha\torg.example.alpha.feature.group\nsites/beta\torg.example.beta.feature.group\n"),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_placed(input, [&](const Record& record) { check_count(input, record, reporter); });
          },
      .concerns_removals = false,
      .supersedes = Supersedes::line};
}

void check_url_syntax(const Input& input, const Record& record, Reporter& reporter) {
  const std::string_view text = record.repository();
  if (is_comment(text) || has_scheme(text)) return;
  const std::string base(base_of(input, record));
  const std::string_view syntax = eclipse_p2::url_syntax_in(text, is_archive(record));
  if (!syntax.empty()) {
    const auto offset = static_cast<std::size_t>(syntax.data() - text.data());
    reporter.report(record.descriptor->location(*record.line, 0, offset, 1),
                    "URL syntax " + in_quotes(syntax) + " in the repository");
  } else if (!eclipse_p2::url_syntax_in(base + "/", is_archive(record)).empty()) {
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
  return {
      .name = "backslash-in-repository",
      .group = Group::repositories,
      .severity = Severity::error,
      .title = "a repository contains a backslash",
      .why =
          "The plug-in converts backslashes to slashes only in listed file names. Here the shell removes them from the path of "
          "a directory, and the director looks for an archive with a backslash in its name. If there is one, the director "
          "loads it, and this is a warning.",
      .fix = "separate directories with \"/\"",
      .bad = descriptor("sites\\alpha\torg.example.alpha.feature.group\n"),
      .good = good_descriptor(),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_placed(input, [&](const Record& record) {
              if (has_drive_letter(record.repository())) return;
              report_character(input, record, '\\', "backslash", severity_of_changed_repository(input, record), reporter,
                               slashes_for_backslashes(record));
            });
          },
      .concerns_removals = false,
      .corrects = Corrects::safely};
}

}  // namespace

std::vector<Rule> repositories_characters_rules() {
  return {several_repositories(), space_in_repository(), repository_needs_shell_quoting(), glob_in_repository(),
          repository_not_utf_8(), comma_in_repository(), url_character_in_repository(),    backslash_in_repository()};
}

}  // namespace eclipse_lint
