// Rules about lines that are data by mistake: comments, headers, empty rows, duplicates.
#include <algorithm>
#include <map>
#include <utility>

#include "base/printable.h"
#include "dry_run/command_pieces.h"
#include "lint/rule.h"
#include "lint/rules/header_lines.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"
#include "lint/rules/shell_changes.h"
#include "lint/texts.h"
#include "p2/repository_url.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

/// Without a tab the line is ignored.
Correction spaces_for_tabs(const Record& record, bool is_safe) {
  const std::string_view text = record.line->text;
  Correction correction{"replace the tabs with spaces", is_safe, {}};
  for (std::size_t at = 0; (at = text.find('\t', at)) != text.npos; ++at) {
    correction.edits.push_back(record.descriptor->edit(*record.line, at, 1, " "));
  }
  return correction;
}

/// Whether the director gets the path, and there is something that it may load.
bool is_loaded(const Record& record) {
  if (record.site == nullptr || !record.site->exists || !changes_in_repository(record).empty()) return false;
  const std::string path = eclipse_dry_run::path_for_director(record.placement->url);
  return !eclipse_p2::url_error(path, is_archive(record), *record.site);
}

/// Whether a line that is no comment names the feature, too.
bool is_named_by_other_line(const Input& input, const Record& comment) {
  return std::any_of(input.records.begin(), input.records.end(), [&](const Record& record) {
    return record.feature() == comment.feature() && record.takes_part() && record.placement && !is_comment(record.repository());
  });
}

/// Slashes at its beginning lead to what is behind them. With other characters, the repository has that name.
void report_active_comment(const Input& input, const Record& record, Reporter& reporter) {
  const bool has_slashes = trimmed(record.repository()).starts_with("//");
  const bool has_effect = has_slashes && !record.feature().empty() && !is_named_by_other_line(input, record);
  std::string message = "this line is active, since " + in_quotes(record.repository()) + " is an existing path";
  if (has_effect) message += ": the director gets " + in_quotes(record.feature());
  reporter.report(has_effect ? Severity::error : Severity::warning, record.location(0), std::move(message),
                  std::string("delete the line, or remove its tabs; if it is no comment, ") +
                      (has_slashes ? "delete the slashes at its beginning" : "rename the repository"),
                  spaces_for_tabs(record, false));
}

Rule comment_is_data() {
  return {.name = "comment-is-data",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a comment line contains a tab",
          .why =
              "Descriptor files have no comments, so the line is data, and its repository becomes part of every director "
              "command. A space or a semicolon in it makes every command of the session fail. If it leads to a repository, as "
              "\"//sites/alpha\" does, the feature is installed or removed. "
              "Otherwise the director tries to load a repository that does not exist, and to find the feature.",
          .fix = "delete the line, or remove its tabs",
          .bad = descriptor("# sites/old\torg.example.old.feature.group\nsites/alpha\torg.example.alpha.feature.group\n"),
          .good = descriptor("# the tools\nsites/alpha\torg.example.alpha.feature.group\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Record& record : input.records) {
                  if (!is_comment(record.repository()) || is_odd_header(record)) continue;
                  if (is_loaded(record)) {
                    report_active_comment(input, record, reporter);
                    continue;
                  }
                  reporter.report(record.location(0),
                                  "this comment is read as data with the repository " + in_quotes(record.repository()),
                                  spaces_for_tabs(record, !trimmed(record.repository()).starts_with("//")));
                }
              },
          .supersedes = Supersedes::line,
          .corrects = Corrects::both};
}

/// A line with this header's words is certainly one; with others it may be data of a directory "repository".
Correction exact_header(const Record& record) {
  const bool is_certain = bare(record.feature()).starts_with("feature");
  return {"write Repository", is_certain, {record.edit(0, 0, record.repository().size(), std::string(header))}};
}

Correction header_in_right_order(const Record& record) {
  Correction correction{"write Repository and Feature", bare(record.repository()).starts_with("feature"), {}};
  correction.edits.push_back(record.edit(0, 0, record.repository().size(), std::string(header)));
  correction.edits.push_back(record.edit(1, 0, record.feature().size(), "Feature"));
  return correction;
}

void report_exchanged_header(const Input& input, const Record& record, Reporter& reporter) {
  const bool are_lines_swapped = std::any_of(input.records.begin(), input.records.end(), [&](const Record& other) {
    return other.descriptor == record.descriptor && are_swapped(other);
  });
  constexpr const char* fix = "write Repository in column 1 and Feature in column 2";
  if (are_lines_swapped) {
    reporter.report(record.location(0), "the header and lines below it have the feature before the repository",
                    std::string(fix) + ", and swap the columns of these lines, too", header_in_right_order(record));
  } else {
    reporter.report(record.location(0), "the header has the feature before the repository", fix, header_in_right_order(record));
  }
}

Rule header_not_recognised() {
  return {.name = "header-not-recognised",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "the first column of a header is not exactly \"Repository\"",
          .why =
              "The line is data, and its second column is a feature that no repository has, so the command for all features "
              "fails. A space or a quote in the first column makes every command of the session fail.",
          .fix = "write Repository, with a capital R and nothing around it",
          .bad = descriptor("repository\tFeature\nsites/alpha\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Record& record : input.records) {
                  const HeaderWords words = header_words(record.repository(), record.feature());
                  if (words == HeaderWords::none || record.repository().starts_with(utf_8_mark)) continue;
                  if (words == HeaderWords::exchanged) {
                    report_exchanged_header(input, record, reporter);
                    continue;
                  }
                  reporter.report(record.location(0), in_quotes(record.repository()) + " is not recognised as a header",
                                  exact_header(record));
                }
              },
          .supersedes = Supersedes::line,
          .corrects = Corrects::both};
}

/// The plug-in skips one that begins with a tab: an empty row of a table, as spreadsheets write them.
Rule row_of_tabs() {
  return {
      .name = "row-of-tabs",
      .group = Group::lines,
      .severity = Severity::error,
      .title = "a line of tabs and spaces begins with a space",
      .why =
          "The space is read as a repository. It splits the list of repositories, and every command of the session fails. The "
          "plug-in skips lines of tabs only, the empty rows of a table.",
      .fix = "delete the line",
      .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\n \t\t\t\n"),
      .good = descriptor("sites/alpha\torg.example.alpha.feature.group\n\t\t\t\n"),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_placed(input, [&](const Record& record) {
              if (!record.line->is_blank()) return;
              const Descriptor& descriptor = *record.descriptor;
              reporter.report(descriptor.location(*record.line), "a row without content is read as data",
                              Correction{"delete the line", true, {descriptor.deletion(*record.line)}});
            });
          },
      .supersedes = Supersedes::line,
      .corrects = Corrects::safely};
}

/// Then the places of other lines may depend on the one that a line takes.
bool has_orders(const Input& input) {
  return std::any_of(input.records.begin(), input.records.end(),
                     [](const Record& record) { return record.has_order() && !record.cell(3).empty(); });
}

Rule duplicate_line() {
  return {.name = "duplicate-line",
          .group = Group::lines,
          .severity = Severity::warning,
          .title = "a file has the same line twice",
          .why = "Both lines take a place in the install order, but the feature is listed once.",
          .fix = "delete one of the lines",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\nsites/alpha\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                const bool is_safe = !has_orders(input);
                std::map<std::pair<const Descriptor*, std::string_view>, const Record*> first;
                for (const Record& record : input.records) {
                  if (record.line->is_blank()) continue;
                  const auto [known, is_new] = first.emplace(std::pair(record.descriptor, record.line->text), &record);
                  if (is_new || known->second->line == record.line) continue;
                  reporter.report(record.descriptor->location(*record.line), "duplicate of " + known->second->where(),
                                  Correction{"delete the line", is_safe, {record.descriptor->deletion(*record.line)}});
                }
              },
          .corrects = Corrects::both};
}

}  // namespace

std::vector<Rule> lines_unintended_rules() {
  return {comment_is_data(), header_not_recognised(), row_of_tabs(), duplicate_line()};
}

}  // namespace eclipse_lint
