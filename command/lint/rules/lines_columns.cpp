// Rules about the columns of data lines, whatever they are for.
#include <algorithm>
#include <cstddef>
#include <set>
#include <utility>

#include "base/printable.h"
#include "lint/rule.h"
#include "lint/rules/header_lines.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"
#include "lint/rules/shell_changes.h"
#include "lint/texts.h"
#include "p2/unit.h"
#include "shell/shell_reading.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

std::optional<Correction> in_right_order(const Record& record) {
  const std::string repository(record.feature());
  const std::string feature(record.repository());
  if (!is_utf8(repository) || !is_utf8(feature)) return std::nullopt;
  return Correction{"swap the columns",
                    false,
                    {record.edit(0, 0, feature.size(), repository), record.edit(1, 0, repository.size(), feature)}};
}

/// Something else stands before the repository, as an order.
bool are_moved(const Record& record) {
  const std::string_view second = record.feature();
  const std::string_view third = record.cell(2);
  if (!record.placement || (record.site != nullptr && record.site->exists)) return false;
  const bool is_header = second == header && !third.empty();
  const bool is_site = looks_like_site(second) && !looks_like_feature(eclipse_p2::unit_called(second).id);
  return is_header || (is_site && looks_like_feature(eclipse_p2::unit_called(third).id));
}

void check_order_of_columns(const Record& record, Reporter& reporter) {
  if (are_swapped(record)) {
    reporter.report(record.location(0), "feature " + in_quotes(record.repository()) + " in the repository column",
                    in_right_order(record));
  } else if (are_moved(record)) {
    reporter.report(record.location(1),
                    in_quotes(record.feature()) + " is in column 2, and " + in_quotes(record.cell(2)) + " in column 3",
                    "write the repository in column 1 and the feature in column 2; an order belongs in column 4");
  }
}

Rule columns_swapped() {
  return {.name = "columns-swapped",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "the feature comes before the repository, or something else does",
          .why = "Column 1 is read as a repository, which does not exist, and column 2 as a feature, which no repository has.",
          .fix = "write the repository in column 1 and the feature in column 2",
          .bad = descriptor("org.example.alpha.feature.group\tsites/alpha\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Record& record : input.records) check_order_of_columns(record, reporter);
              },
          .supersedes = Supersedes::line,
          .corrects = Corrects::unsafely};
}

/// `above` is the nearest line above with a repository: in spreadsheets, one cell may be for several rows.
void report_no_repository(const Record& record, const Record* above, Reporter& reporter) {
  const Location location = record.descriptor->location(*record.line, 1);
  if (is_shifted(record)) {
    const bool is_header = header_words(record.feature(), record.cell(2)) != HeaderWords::none;
    Correction correction{"delete the leading tab", record.feature() == header, {record.edit(0, 0, 1)}};
    reporter.report(is_header ? Severity::note : Severity::error, location,
                    is_header ? "a tab before the header" : "no repository for " + in_quotes(record.feature()),
                    "delete the tab at the beginning of the line", std::move(correction));
    return;
  }
  const std::string repository(above == nullptr ? "" : above->repository());
  std::optional<Correction> correction;
  if (!repository.empty() && is_utf8(repository) && looks_like_feature(eclipse_p2::unit_called(record.feature()).id)) {
    correction = {"write " + repository + ", the repository of the line above", false, {record.edit(0, 0, 0, repository)}};
  }
  reporter.report(location, "no repository for " + in_quotes(record.feature()), std::move(correction));
}

/// A line that begins with several tabs, and has its feature behind them.
void report_indented(const Record& record, Reporter& reporter) {
  for (std::size_t column = 2; column < record.line->columns.size(); ++column) {
    const std::string_view text = record.cell(column);
    if (looks_like_site(text) || !looks_like_feature(eclipse_p2::unit_called(text).id)) continue;
    return reporter.report(record.location(column),
                           "no repository for " + in_quotes(text) + ", which is in column " + std::to_string(column + 1),
                           "write the repository in column 1 and the feature in column 2");
  }
}

void check_repositories(const Input& input, Reporter& reporter) {
  const Record* above = nullptr;
  for (const Record& record : input.records) {
    if (above != nullptr && above->descriptor != record.descriptor) above = nullptr;
    if (record.placement) {
      if (!is_odd_header(record)) above = &record;
    } else if (!record.line->is_blank()) {
      record.feature().empty() ? report_indented(record, reporter) : report_no_repository(record, above, reporter);
    }
  }
}

Rule repository_empty() {
  return {.name = "repository-empty",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a line has a feature but no repository",
          .why = "The plug-in skips the line: its feature is neither installed nor removed.",
          .fix = "write the repository in column 1, even if the line above has the same one",
          .bad = descriptor("Repository\tFeature\n\tsites/alpha\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check = check_repositories,
          .corrects = Corrects::both};
}

/// It may also stand there so that it is not installed. Other columns would move, too.
std::optional<Correction> one_tab(const Record& record) {
  if (record.line->columns.size() != 3 || !looks_like_feature(record.cell(2))) return std::nullopt;
  const Descriptor& descriptor = *record.descriptor;
  return Correction{"remove a tab", false, {descriptor.edit(*record.line, record.line->columns[0].size(), 1)}};
}

Rule feature_in_third_column() {
  return {.name = "feature-in-third-column",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "two tabs separate the repository and the feature",
          .why =
              "Column 2 is empty, so nothing is installed; column 3 is ignored. The line still takes a place in the install "
              "order, and the director still loads its repository.",
          .fix = "separate the repository and the feature with one tab; do not align columns with more tabs",
          .bad = descriptor("Repository\tFeature\nsites/alpha\t\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Record& record : input.records) {
                  if (record.repository().empty() || !record.feature().empty() || record.cell(2).empty()) continue;
                  reporter.report(
                      record.location(2),
                      "the feature column is empty, and " + in_quotes(record.cell(2)) + " is in column 3, which is ignored",
                      one_tab(record));
                }
              },
          .corrects = Corrects::unsafely};
}

/// Of a quote or a space. Without the component, nothing is known of an archive, which would need its own quotes.
Severity severity_of_change(const Input& input, const Record& record, std::size_t column) {
  if (column == 1) return severity_of_changed_feature(input, record.feature());
  const bool is_quoted_directory = record.site == nullptr && record.placement &&
                                   eclipse_shell::word_of(record.placement->url) && !record.repository().ends_with(' ') &&
                                   record.repository().find(".zip") == std::string_view::npos;
  return is_quoted_directory ? Severity::warning : severity_of_changed_repository(input, record);
}

/// Not where that leaves nothing, and not where the spaces belong to the name of an archive that exists.
std::optional<Correction> without_spaces(const Record& record, std::size_t column) {
  const std::string_view text = record.cell(column);
  const std::size_t start = text.find_first_not_of(' ');
  const bool is_name = column == 0 && is_archive(record) && record.site != nullptr && record.site->exists;
  if (start == text.npos || is_name) return std::nullopt;
  Correction correction{"remove the spaces", true, {}};
  if (start != 0) correction.edits.push_back(record.edit(column, 0, start));
  const std::size_t end = text.find_last_not_of(' ') + 1;
  if (end != text.size()) correction.edits.push_back(record.edit(column, end, text.size() - end));
  return correction;
}

/// The shell splits the command there, except in the quotes of an archive, where the space is part of a file name.
Rule space_around_column() {
  return {.name = "space-around-column",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a repository or a feature begins or ends with a space",
          .why =
              "Nothing is trimmed. In column 1 the space splits the list of repositories, so every command of the session "
              "fails. In column 2 it splits the list of features, so the command for all features fails, and each is tried "
              "alone; this is only a warning. The space is harmless at the very end of such a list.",
          .fix = "remove the space",
          .bad = descriptor("Repository\tFeature\n"
                            "sites/alpha \torg.example.alpha.feature.group\n"
                            "sites/beta\torg.example.beta.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_used_column(input, [&](const Record& record, std::size_t column) {
                  const std::string_view text = record.cell(column);
                  if (!text.starts_with(' ') && !text.ends_with(' ')) return;
                  reporter.report(severity_of_change(input, record, column), record.location(column),
                                  "leading or trailing space in column " + std::to_string(column + 1) + ", " + in_quotes(text),
                                  without_spaces(record, column));
                });
              },
          .corrects = Corrects::safely};
}

/// Only where the shell changes nothing in what the quotes were around.
std::optional<Correction> without_quotes(const Record& record, std::size_t column) {
  const std::string_view text = record.cell(column);
  const std::size_t start = text.find_first_not_of(' ');
  const std::size_t end = text.find_last_not_of(' ') + 1;
  const bool is_pair = end > start + 1 && text[end - 1] == text[start];
  const std::string_view inner = text.substr(start + 1, end - start - 1 - (is_pair ? 1 : 0));
  if (inner.empty() || inner == header || inner != trimmed(inner) || !changes_in_feature(inner).empty()) return std::nullopt;
  Correction correction{"remove the quotes", true, {record.edit(column, start, 1)}};
  if (is_pair) correction.edits.push_back(record.edit(column, end - 1, 1));
  return correction;
}

Rule quoted_column() {
  return {.name = "quoted-column",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a repository or a feature is quoted",
          .why =
              "The plug-in keeps the quotes, so the name of an archive no longer ends in .zip. The shell removes paired "
              "quotes, and the director gets the text between them; this is only a warning. An unpaired quote is a syntax "
              "error: in column 1 in every command of the session, in column 2 in the command for all features.",
          .fix = "remove the quotes",
          .bad = descriptor("Repository\tFeature\n\"sites/alpha\"\t\"org.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_used_column(input, [&](const Record& record, std::size_t column) {
                  const std::string_view text = record.cell(column);
                  const std::size_t start = text.find_first_not_of(' ');
                  if (start == text.npos || (text[start] != '"' && text[start] != '\'') || !record.placement) return;
                  const ShellChanges changes = column == 0 ? changes_in_repository(record) : changes_in_feature(text);
                  if (std::find(changes.begin(), changes.end(), start) == changes.end()) return;
                  reporter.report(severity_of_change(input, record, column), record.location(column),
                                  "quote in column " + std::to_string(column + 1) + ", " + in_quotes(text),
                                  without_quotes(record, column));
                });
              },
          .corrects = Corrects::safely};
}

Correction without_extra_columns(const Record& record) {
  const std::string_view text = record.line->text;
  const auto start = static_cast<std::size_t>(record.line->columns[4].data() - text.data()) - 1;
  const std::size_t end = text.find_last_not_of('\r') + 1;
  return {"delete the columns after the fourth", false, {record.descriptor->edit(*record.line, start, end - start)}};
}

/// The number of columns up to the last one that is not empty.
std::size_t used_columns(const Record& record) {
  std::size_t count = record.line->columns.size();
  while (count > 0 && record.cell(count - 1).empty()) --count;
  return count;
}

Rule extra_columns() {
  return {.name = "extra-columns",
          .group = Group::lines,
          .severity = Severity::warning,
          .title = "a line has more than four columns",
          .why = "Only the first four columns are read.",
          .fix = "delete the other columns",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\t\t1\tnew\n"),
          .good = descriptor("sites/alpha\torg.example.alpha.feature.group\t\t1\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Record& record : input.records) {
                  const std::size_t last = used_columns(record);
                  if (last < 5 || !record.placement) continue;
                  reporter.report(
                      record.location(4),
                      last == 5 ? std::string("column 5 is ignored") : "columns 5 to " + std::to_string(last) + " are ignored",
                      without_extra_columns(record));
                }
              },
          .corrects = Corrects::unsafely};
}

/// As spreadsheets write it: all lines with tabs have the same number of them.
bool is_table(const Descriptor& descriptor) {
  std::size_t rows = 0;
  std::set<std::ptrdiff_t> tabs;
  for (const Line& line : descriptor.lines) {
    const auto count = std::count(line.text.begin(), line.text.end(), '\t');
    if (count == 0) continue;
    tabs.insert(count);
    ++rows;
  }
  return rows > 1 && tabs.size() == 1;
}

void check_end(const Record& record, Reporter& reporter) {
  std::string_view text = record.line->text;
  if (text.ends_with('\r')) text.remove_suffix(1);
  if (!text.ends_with('\t') || record.feature().empty() || !record.placement) return;
  Location location = record.descriptor->location(*record.line);
  location.column = text.size();
  location.length = 1;
  const std::size_t end = text.find_last_not_of('\t') + 1;
  reporter.report(
      std::move(location), "trailing tab",
      Correction{"remove the tabs at the end", true, {record.descriptor->edit(*record.line, end, text.size() - end)}});
}

Rule trailing_tab() {
  return {.name = "trailing-tab",
          .group = Group::lines,
          .severity = Severity::note,
          .title = "a line ends in a tab, and other lines have another number of tabs",
          .why = "One tab at the end adds no column, so the order stays undefined. Each further tab adds an empty column.",
          .fix = "remove the tab",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\t\n"),
          .good = descriptor("Repository\tFeature\tExtra\tOrder\nsites/alpha\torg.example.alpha.feature.group\t\t\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                const Descriptor* descriptor = nullptr;
                bool are_tabs_right = false;
                for (const Record& record : input.records) {
                  if (descriptor != record.descriptor) are_tabs_right = is_table(*record.descriptor);
                  descriptor = record.descriptor;
                  if (!are_tabs_right) check_end(record, reporter);
                }
              },
          .corrects = Corrects::safely};
}

bool is_digit(char byte) { return byte >= '0' && byte <= '9'; }

Rule third_column_ignored() {
  return {.name = "third-column-ignored",
          .group = Group::lines,
          .severity = Severity::note,
          .title = "the third column is not empty",
          .why = "The plug-in reads the column but does not use it.",
          .fix = "leave the column empty, unless it holds a comment of yours",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\t1\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Record& record : input.records) {
                  const std::string_view third = record.cell(2);
                  if (third.empty() || record.feature().empty() || !record.placement) continue;
                  const std::string message = "column 3, " + in_quotes(third) + ", is ignored";
                  if (record.cell(3).empty() && std::all_of(third.begin(), third.end(), is_digit)) {
                    reporter.report(Severity::warning, record.location(2), message + "; the order belongs in column 4",
                                    "add a tab before the number",
                                    Correction{"move the number to column 4", false, {record.edit(2, 0, 0, "\t")}});
                  } else {
                    reporter.report(record.location(2), message);
                  }
                }
              },
          .corrects = Corrects::unsafely};
}

}  // namespace

std::vector<Rule> lines_columns_rules() {
  return {columns_swapped(), repository_empty(), feature_in_third_column(), space_around_column(), quoted_column(),
          extra_columns(),   trailing_tab(),     third_column_ignored()};
}

}  // namespace eclipse_lint
