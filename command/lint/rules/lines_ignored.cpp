// Rules about lines that the plug-in ignores.
#include <algorithm>
#include <cctype>
#include <functional>
#include <set>
#include <utility>

#include "base/printable.h"
#include "lint/rule.h"
#include "lint/rules/header_lines.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"
#include "lint/suppression_comment.h"
#include "lint/texts.h"
#include "p2/git_lfs_pointer.h"
#include "p2/repository.h"
#include "p2/unit.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

std::vector<std::string> words_of(std::string_view text) {
  std::vector<std::string> words;
  std::string word;
  for (const char byte : std::string(text) + " ") {
    if (byte != ' ' && byte != ',' && byte != ';' && byte != '|' && byte != '\r') {
      word += byte;
    } else if (!word.empty()) {
      words.push_back(std::exchange(word, ""));
    }
  }
  return words;
}

/// As "->" or "=".
bool has_no_letter(const std::string& word) {
  return std::none_of(word.begin(), word.end(), [](unsigned char byte) { return std::isalnum(byte) != 0 || byte >= 0x80; });
}

/// A line that would be data if there were a tab in it.
bool lacks_tab(const Line& line) {
  if (line.text.find('\t') != line.text.npos || is_comment(line.text)) return false;
  auto words = words_of(line.text);
  std::erase_if(words, has_no_letter);
  if (words.size() < 2 || words.size() > 5) return false;
  return words[0] == header || looks_like_feature(words[1]) || (looks_like_site(words[0]) && words.size() == 2);
}

constexpr std::string_view written_tab = "\\t";

/// A line that would be data if each "\t" in it were a tab.
bool has_written_tabs(const Line& line) {
  if (line.text.find('\t') != line.text.npos || is_comment(line.text)) return false;
  const auto cells = split(replaced(std::string(line.text), written_tab, "\t"), '\t');
  return cells.size() > 1 && (cells[0] == header || (looks_like_site(cells[0]) && looks_like_feature(cells[1])));
}

Correction tabs_for_written_ones(const Descriptor& descriptor, const Line& line) {
  Correction correction{"replace \"\\t\" with a tab", true, {}};
  for (std::size_t at = 0; (at = line.text.find(written_tab, at)) != line.text.npos; at += written_tab.size()) {
    correction.edits.push_back(descriptor.edit(line, at, written_tab.size(), "\t"));
  }
  return correction;
}

/// The bytes between the words of a line, and around them.
std::vector<std::pair<std::size_t, std::size_t>> gaps_in(std::string_view text) {
  constexpr std::string_view separators = " ,;";
  std::vector<std::pair<std::size_t, std::size_t>> gaps;
  for (std::size_t start = 0; (start = text.find_first_of(separators, start)) != text.npos;) {
    const std::size_t end = std::min(text.find_first_not_of(separators, start), text.size());
    gaps.emplace_back(start, end - start);
    start = end;
  }
  return gaps;
}

/// The comma or semicolon of an exported table, whose columns are those of a descriptor; a NUL byte when it is not one.
char separator_of_table(std::string_view text) {
  for (const char separator : {',', ';'}) {
    const auto cells = split(text, separator);
    const bool has_others = text.find_first_of(separator == ',' ? " ;" : " ,") != text.npos;
    if (cells.size() < 3 || cells.size() > 5 || has_others || cells[0].empty() || cells[1].empty()) continue;
    if (!looks_like_feature(cells[2])) return separator;
  }
  return '\0';
}

/// Two words are a repository and a feature. Of more, nobody knows which columns they are, except in a header, where it does
/// not matter.
std::optional<Correction> tabs_between_words(const Descriptor& descriptor, const Line& line) {
  const auto words = words_of(line.text);
  const std::string_view text = line.text.substr(0, line.text.find_last_not_of('\r') + 1);
  if (text.find('|') != text.npos || std::any_of(words.begin(), words.end(), has_no_letter)) return std::nullopt;
  const bool is_header = words[0] == header;
  const char separator = separator_of_table(text);
  const bool is_pair = words.size() == 2 || separator != '\0';
  if (text.find('\r') != text.npos || !(is_header || (is_pair && looks_like_feature(words[1])))) return std::nullopt;
  const bool is_certain = is_header || looks_like_site(words[0]) || words[1].ends_with(eclipse_p2::group_suffix);
  Correction correction{"separate the columns with tabs", is_certain, {}};
  for (const auto& [start, length] : gaps_in(text)) {
    const bool is_between = start != 0 && start + length != text.size();
    const std::size_t tabs = !is_between ? 0 : separator == '\0' ? 1 : length;
    correction.edits.push_back(descriptor.edit(line, start, length, std::string(tabs, '\t')));
  }
  return correction;
}

Rule line_without_tab() {
  return {.name = "line-without-tab",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a data line separates its columns with spaces, commas or semicolons instead of tabs",
          .why = "Only tabs separate columns. The line has one column and is silently ignored.",
          .fix = "separate the repository and the feature with a tab",
          .bad = descriptor("Repository\tFeature\nsites/alpha    org.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_dropped(input, [&](const Descriptor& descriptor, const Line& line) {
                  if (has_written_tabs(line)) {
                    return reporter.report(descriptor.location(line),
                                           "this line has a backslash and the letter t where it needs a tab",
                                           tabs_for_written_ones(descriptor, line));
                  }
                  if (!lacks_tab(line)) return;
                  reporter.report(descriptor.location(line), "this line looks like data but has no tab",
                                  tabs_between_words(descriptor, line));
                });
              },
          .corrects = Corrects::both};
}

bool is_feature_alone(std::string_view text) {
  const std::string id = eclipse_p2::unit_called(text).id;
  return looks_like_feature(id) && (id == text || id.ends_with(eclipse_p2::group_suffix)) && !looks_like_site(id);
}

/// The features of a repository that no line names.
std::vector<std::string> features_left(const Input& input, const eclipse_p2::UnitVersions& units) {
  std::set<std::string, std::less<>> named;
  for (const Record& record : input.records) {
    for (const auto& written : record.units) named.insert(written.unit.id);
  }
  std::vector<std::string> left;
  for (const auto& [id, versions] : units) {
    if (id.ends_with(eclipse_p2::group_suffix) && !named.contains(id)) left.push_back(id);
  }
  return left;
}

Correction appended(const Descriptor& descriptor, const Line& line, std::string title, std::string text) {
  const std::size_t begin = line.text.find_last_not_of("\t\r ") + 1;
  const std::size_t end = line.text.find_last_not_of('\r') + 1;
  return {std::move(title), false, {descriptor.edit(line, begin, end - begin, std::move(text))}};
}

void report_site_alone(const Input& input, const Descriptor& descriptor, const Line& line, Reporter& reporter) {
  const Location location = descriptor.location(line, 0);
  const std::string message = "the feature column is missing after " + in_quotes(trimmed(line.columns[0]));
  const auto site = input.sites_alone.find(&line);
  if (site == input.sites_alone.end() || !site->second->units) return reporter.report(location, message);
  const auto left = features_left(input, *site->second->units);
  if (!eclipse_p2::offers_features(*site->second->units) && !input.records.empty()) {
    reporter.report(location, message,
                    "end the line in two tabs: the repository has no features, only units that features of other lines may "
                    "require",
                    appended(descriptor, line, "end the line in two tabs", "\t\t"));
  } else if (left.size() == 1 && is_utf8(left.front())) {
    reporter.report(location, message, "write a tab and " + left.front(),
                    appended(descriptor, line, "write a tab and " + left.front(), "\t" + left.front()));
  } else {
    reporter.report(location, message);
  }
}

void check_only_column(const Input& input, const Descriptor& descriptor, const Line& line, Reporter& reporter) {
  const bool has_tab = line.text.find('\t') != line.text.npos;
  const std::string_view only = trimmed(line.columns[0]);
  const bool is_word = !only.empty() && only.find(' ') == only.npos;
  if (is_word && is_feature_alone(only)) {
    reporter.report(descriptor.location(line, 0), "the repository column is missing before " + in_quotes(only),
                    "write the repository and a tab before the feature");
  } else if (has_tab ? !only.empty() : is_word && looks_like_site(only)) {
    report_site_alone(input, descriptor, line, reporter);
  }
}

Rule feature_column_missing() {
  return {
      .name = "feature-column-missing",
      .group = Group::lines,
      .severity = Severity::error,
      .title = "a line has a repository or a feature, but not both",
      .why =
          "A line with fewer than two columns is silently ignored. One tab at the end of a line adds no column; of two, the "
          "first adds an empty one, so the line is read, and the director gets its repository.",
      .fix =
          "write a tab and the feature after the repository; or end the line in two tabs, if features of other lines require "
          "units of the repository",
      .bad = component("site\torg.example.one.feature.group\nlib\t\n",
                       {{"tools/site/content.xml", content_of_one},
                        {"tools/lib/content.xml",
                         "<?xml version='1.0'?>\n<repository><units>\n"
                         "  <unit id='org.example.lib' version='1.0.0'/>\n</units></repository>\n"}}),
      .good = good_descriptor(),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_dropped(input, [&](const Descriptor& descriptor, const Line& line) {
              if (line.columns.size() != 1 || line.columns[0] == header || is_comment(line.text) || lacks_tab(line)) return;
              if (has_written_tabs(line)) return;
              check_only_column(input, descriptor, line, reporter);
            });
          },
      .corrects = Corrects::unsafely};
}

Rule site_named_repository() {
  return {.name = "site-named-repository",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a repository is named \"Repository\"",
          .why = "Any line whose first column is \"Repository\" is a header and is silently ignored.",
          .fix = "rename the directory, or write ./Repository",
          .bad = descriptor("Repository\torg.example.alpha.feature.group\n"),
          .good = descriptor("./Repository\torg.example.alpha.feature.group\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_dropped(input, [&](const Descriptor& descriptor, const Line& line) {
                  if (line.columns.size() < 2 || !looks_like_feature(trimmed(line.columns[1]))) return;
                  reporter.report(descriptor.location(line, 0),
                                  "\"Repository\" as the repository of " + in_quotes(trimmed(line.columns[1])) +
                                      " makes this line a header",
                                  Correction{"write ./Repository", false, {descriptor.edit(line, 0, 0, "./")}});
                });
              },
          .corrects = Corrects::unsafely};
}

Rule descriptor_without_data() {
  return {.name = "descriptor-without-data",
          .group = Group::lines,
          .severity = Severity::warning,
          .title = "a descriptor file has no data lines",
          .why = "The file adds no features to its component, and nothing is logged.",
          .fix = "write a line for each feature, or delete the file",
          .bad = descriptor("Repository\tFeature\n"),
          .good = good_descriptor(),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_text(input, [&](const Descriptor& descriptor) {
              const auto is_data = [](const Line& line) { return line.is_record && !line.is_blank(); };
              if (std::any_of(descriptor.lines.begin(), descriptor.lines.end(), is_data)) return;
              if (eclipse_p2::git_lfs::is_pointer(descriptor.content)) {
                reporter.report(Severity::error, descriptor.location(),
                                std::string("the file ") + eclipse_p2::git_lfs::pointer_error,
                                eclipse_p2::git_lfs::pointer_fix);
              } else {
                reporter.report(descriptor.location(), "the file has no data lines");
              }
            });
          }};
}

/// What is wrong with a comment for lint; empty when nothing is.
std::string error_in(const SuppressionComment& suppression) {
  if (!suppression.is_understood) return "neither disable-next-line= nor disable-file= in a comment for lint";
  for (const std::string& name : suppression.rules) {
    if (find_rule(name) == nullptr) return unknown_rule(name);
  }
  return "";
}

Rule suppression_not_understood() {
  return {.name = "suppression-not-understood",
          .group = Group::lines,
          .severity = Severity::warning,
          .title = "a comment for lint is not understood",
          .why = "A line without a tab that begins with \"# eclipse-int:\" suppresses findings. This one suppresses none.",
          .fix = "write # eclipse-int: disable-next-line=RULE and a reason, or disable-file=RULE for the whole file",
          .bad = descriptor("# eclipse-int: disable-next-line=feature-pined\nsites/alpha\torg.example.alpha.feature.group\n"),
          .good = descriptor("# eclipse-int: disable-next-line=feature-pinned\nsites/alpha\torg.example.alpha.feature.group\n"),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_dropped(input, [&](const Descriptor& descriptor, const Line& line) {
              const auto suppression = suppression_in(line);
              const std::string error = suppression ? error_in(*suppression) : "";
              if (!error.empty()) reporter.report(descriptor.location(line), error);
            });
          }};
}

}  // namespace

std::vector<Rule> lines_ignored_rules() {
  return {line_without_tab(), feature_column_missing(), site_named_repository(), descriptor_without_data(),
          suppression_not_understood()};
}

}  // namespace eclipse_lint
