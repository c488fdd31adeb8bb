// Rules about the lines and columns of descriptor files.
#include <algorithm>
#include <array>
#include <map>
#include <utility>

#include "base/printable.h"
#include "lint/rule.h"
#include "lint/rules/samples.h"
#include "lint/rules/shell_changes.h"
#include "lint/suppression.h"
#include "lint/texts.h"
#include "p2/unit.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

constexpr std::string_view header = "Repository";
constexpr std::string_view utf_8_mark = "\xEF\xBB\xBF";

template <typename Use>
void for_each_text(const Input& input, const Use& use) {
  for (const Descriptor& descriptor : input.descriptors) {
    if (descriptor.is_text) use(descriptor);
  }
}

template <typename Use>
void for_each_dropped(const Input& input, const Use& use) {
  for_each_text(input, [&](const Descriptor& descriptor) {
    for (const Line& line : descriptor.lines) {
      if (!line.is_record) use(descriptor, line);
    }
  });
}

/// Column 1 without what people put around a header by mistake.
std::string bare(std::string_view text) {
  std::string letters;
  for (const char byte : lower_case(text)) {
    if (byte >= 'a' && byte <= 'z') letters += byte;
  }
  return letters;
}

/// "Repository" in other letters, or other words that people write above the columns.
bool is_odd_header(const Record& record) {
  constexpr std::array<std::string_view, 3> spellings = {"repository", "repositories", "repo"};
  constexpr std::array<std::string_view, 16> words = {
      "site",    "sites",    "updatesite",    "updatesites", "repositoryurl",     "repositorypath",
      "repourl", "url",      "path",          "location",    "featurerepository", "repositoryfeature",
      "siteurl", "sitepath", "sitefeatureid", "feature"};
  constexpr std::array<std::string_view, 8> second_words = {"feature", "features",   "featureid", "featureids",
                                                            "id",      "repository", "unit",      "plugin"};
  const auto is_in = [](const auto& known, const std::string& letters) {
    return std::find(known.begin(), known.end(), letters) != known.end();
  };
  const std::string first = bare(record.repository());
  return is_in(spellings, first) || (is_in(words, first) && is_in(second_words, bare(record.feature())));
}

/// The columns that become part of a director command, which gets no repositories when features are removed.
template <typename Use>
void for_each_used_column(const Input& input, const Use& use) {
  for (const Record& record : input.records) {
    if (is_odd_header(record)) continue;
    if (!input.is_removal()) use(record, 0);
    use(record, 1);
  }
}

// ---- Ignored lines ----

std::vector<std::string> words_of(std::string_view text) {
  std::vector<std::string> words;
  std::string word;
  for (const char byte : std::string(text) + " ") {
    if (byte != ' ' && byte != ',' && byte != ';' && byte != '\r') {
      word += byte;
    } else if (!word.empty()) {
      words.push_back(std::exchange(word, ""));
    }
  }
  return words;
}

/// A line that would be data if there were a tab in it.
bool lacks_tab(const Line& line) {
  if (line.text.find('\t') != line.text.npos || is_comment(line.text)) return false;
  const auto words = words_of(line.text);
  if (words.size() < 2 || words.size() > 5) return false;
  return words[0] == header || looks_like_feature(words[1]) || (looks_like_site(words[0]) && words.size() == 2);
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

/// The comma or semicolon of an exported table, whose columns are those of a descriptor; a zero byte when it is not one.
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
                  if (!lacks_tab(line)) return;
                  reporter.report(descriptor.location(line), "this line looks like data but has no tab",
                                  tabs_between_words(descriptor, line));
                });
              },
          .corrects = Corrects::both};
}

bool is_feature_alone(std::string_view text) {
  const std::string_view id = text.substr(0, text.find('/'));
  return looks_like_feature(id) && (id == text || id.ends_with(".feature.group")) && !looks_like_site(id);
}

void check_only_column(const Descriptor& descriptor, const Line& line, Reporter& reporter) {
  const bool has_tab = line.text.find('\t') != line.text.npos;
  const std::string_view only = trimmed(line.columns[0]);
  const bool is_word = !only.empty() && only.find(' ') == only.npos;
  if (is_word && is_feature_alone(only)) {
    reporter.report(descriptor.location(line, 0), "the repository column is missing before " + in_quotes(only),
                    "write the repository and a tab before the feature");
  } else if (has_tab ? !only.empty() : is_word && looks_like_site(only)) {
    reporter.report(descriptor.location(line, 0), "the feature column is missing after " + in_quotes(only));
  }
}

Rule feature_column_missing() {
  return {.name = "feature-column-missing",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a line has a repository or a feature, but not both",
          .why = "A line with fewer than two columns is silently ignored.",
          .fix = "write a tab and the feature after the repository, or delete the line",
          .bad = descriptor("Repository\tFeature\nsites/alpha\t\n"),
          .good = good_descriptor(),
          .check = [](const Input& input, Reporter& reporter) {
            for_each_dropped(input, [&](const Descriptor& descriptor, const Line& line) {
              if (line.columns.size() != 1 || line.columns[0] == header || is_comment(line.text) || lacks_tab(line)) return;
              check_only_column(descriptor, line, reporter);
            });
          }};
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
              const auto is_record = [](const Line& line) { return line.is_record; };
              if (std::any_of(descriptor.lines.begin(), descriptor.lines.end(), is_record)) return;
              reporter.report(descriptor.location(), "the file has no data lines");
            });
          }};
}

/// What is wrong with a comment for lint; empty when nothing is.
std::string error_in(const Suppression& suppression) {
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

// ---- Lines that are data by mistake ----

/// Without a tab the line is ignored. What begins with slashes may also be a path.
Correction spaces_for_tabs(const Record& record) {
  const std::string_view text = record.line->text;
  Correction correction{"replace the tabs by spaces", !trimmed(text).starts_with("//"), {}};
  for (std::size_t at = 0; (at = text.find('\t', at)) != text.npos; ++at) {
    correction.edits.push_back(record.descriptor->edit(*record.line, at, 1, " "));
  }
  return correction;
}

Rule comment_is_data() {
  return {.name = "comment-is-data",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a comment line contains a tab",
          .why =
              "Descriptor files have no comments, so the line is data, and its repository becomes part of every director "
              "command. A space or a semicolon in it makes every command of the session fail, including those for other "
              "components. Otherwise the director tries to load a repository that does not exist, and to find the feature.",
          .fix = "delete the line, or remove its tabs",
          .bad = descriptor("# sites/old\torg.example.old.feature.group\nsites/alpha\torg.example.alpha.feature.group\n"),
          .good = descriptor("# the tools\nsites/alpha\torg.example.alpha.feature.group\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Record& record : input.records) {
                  if (!is_comment(record.repository()) || is_odd_header(record)) continue;
                  if (record.site != nullptr && record.site->exists) {  // as "//sites/alpha"
                    reporter.report(Severity::warning, record.location(0),
                                    "this line is active, since " + in_quotes(record.repository()) + " is an existing path",
                                    "delete the line, or the slashes at its beginning");
                    continue;
                  }
                  reporter.report(record.location(0),
                                  "this comment is read as data with the repository " + in_quotes(record.repository()),
                                  spaces_for_tabs(record));
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
                  const bool has_mark = record.repository().starts_with(utf_8_mark);
                  if (!is_odd_header(record) || has_mark || looks_like_feature(trimmed(record.feature()))) continue;
                  reporter.report(record.location(0), in_quotes(record.repository()) + " is not recognised as a header",
                                  exact_header(record));
                }
              },
          .supersedes = Supersedes::line,
          .corrects = Corrects::both};
}

/// Programs that add a mark may do so again and again.
std::size_t size_of_marks(const Line& line) {
  std::size_t size = 0;
  while (line.text.substr(size).starts_with(utf_8_mark)) size += utf_8_mark.size();
  return size;
}

Rule byte_order_mark() {
  return {.name = "byte-order-mark",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "the file begins with a UTF-8 byte-order mark",
          .why =
              "The mark becomes part of column 1. A header with it is data, and its second column a feature that no "
              "repository has. A repository with it does not exist.",
          .fix = "save the file without a byte-order mark",
          .bad = descriptor("\xEF\xBB\xBFRepository\tFeature\nsites/alpha\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_text(input, [&](const Descriptor& descriptor) {
                  if (!descriptor.content.starts_with(utf_8_mark)) return;
                  const Line& line = descriptor.lines.front();
                  reporter.report(
                      descriptor.location(line, 0, 0, utf_8_mark.size()), "byte-order mark in column 1",
                      Correction{"remove the byte-order mark", true, {descriptor.edit(line, 0, size_of_marks(line))}});
                });
              },
          .supersedes = Supersedes::line,
          .corrects = Corrects::safely};
}

bool are_swapped(const Record& record) {
  const std::string_view site = record.feature();
  if (!looks_like_feature(record.repository()) || looks_like_site(record.repository()) || !looks_like_site(site)) return false;
  const bool has_version = looks_like_feature(site.substr(0, site.find('/')));
  return !has_version && (record.site == nullptr || !record.site->exists);
}

std::optional<Correction> in_right_order(const Record& record) {
  const std::string repository(record.feature());
  const std::string feature(record.repository());
  if (!is_utf8(repository) || !is_utf8(feature)) return std::nullopt;
  return Correction{"swap the columns",
                    false,
                    {record.edit(0, 0, feature.size(), repository), record.edit(1, 0, repository.size(), feature)}};
}

Rule columns_swapped() {
  return {.name = "columns-swapped",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "the feature comes before the repository",
          .why = "Column 1 is read as a repository, which does not exist, and column 2 as a feature, which no repository has.",
          .fix = "write the repository in column 1 and the feature in column 2",
          .bad = descriptor("org.example.alpha.feature.group\tsites/alpha\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Record& record : input.records) {
                  if (!are_swapped(record)) continue;
                  reporter.report(record.location(0), "feature " + in_quotes(record.repository()) + " in the repository column",
                                  in_right_order(record));
                }
              },
          .supersedes = Supersedes::line,
          .corrects = Corrects::unsafely};
}

// ---- Encodings and line endings ----

/// UTF-16 with a byte-order mark, or without one if it is all ASCII. Nothing when it is not that.
std::optional<Correction> as_utf_8(const Descriptor& descriptor) {
  auto text = utf_8_of_utf_16(descriptor.content);
  if (!text) return std::nullopt;
  return Correction{"convert the file to UTF-8", true, {{0, descriptor.content.size(), *std::move(text)}}};
}

/// An ASCII text with a zero byte after each byte, as UTF-16 has them.
std::string in_utf_16(std::string_view text) {
  std::string wide;
  for (const char byte : text) wide.append(1, byte).append(1, '\0');
  return wide;
}

Rule not_8_bit_text() {
  return {.name = "not-8-bit-text",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "the file is UTF-16 or contains zero bytes",
          .why =
              "The file is read byte by byte, so zero bytes become part of the director command. No shell accepts such a "
              "command: eclipse-int does not run it and reports exit code 126. An installer that passes it as a C string "
              "loses everything after the first zero byte; the director is then asked for nothing, and succeeds with exit "
              "code 0.",
          .fix = "save the file as ASCII, or as UTF-8 without a byte-order mark",
          .bad = descriptor(in_utf_16("site\torg.example.alpha.feature.group\n")),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Descriptor& descriptor : input.descriptors) {
                  if (!descriptor.is_readable() || descriptor.is_text) continue;
                  if (descriptor.content.starts_with("\xFF\xFE") || descriptor.content.starts_with("\xFE\xFF")) {
                    reporter.report(descriptor.location(), "the file is UTF-16", as_utf_8(descriptor));
                  } else if (descriptor.content.find('\0') != std::string::npos) {
                    reporter.report(descriptor.location(), "the file contains zero bytes", as_utf_8(descriptor));
                  }
                }
              },
          .corrects = Corrects::safely};
}

Correction line_feeds_for_returns(const Descriptor& descriptor) {
  Correction correction{"end the lines in LF", true, {}};
  for (std::size_t at = 0; (at = descriptor.content.find('\r', at)) != std::string_view::npos; ++at) {
    correction.edits.push_back({at, 1, "\n"});
  }
  return correction;
}

Rule cr_line_endings() {
  return {.name = "cr-line-endings",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "the lines end in CR instead of LF",
          .why = "Only line feeds end a line. The whole file is one line, with one record at most.",
          .fix = "save the file with LF line endings",
          .bad = descriptor("Repository\tFeature\rsites/alpha\torg.example.alpha.feature.group\r"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Descriptor& descriptor : input.descriptors) {
                  if (!descriptor.is_readable() || descriptor.is_text) continue;
                  if (descriptor.content.find_first_of(std::string_view("\0\n", 2)) != std::string::npos) continue;
                  reporter.report(descriptor.location(), "the file has carriage returns but no line feeds",
                                  line_feeds_for_returns(descriptor));
                }
              },
          .corrects = Corrects::safely};
}

Correction without_returns(const Descriptor& descriptor) {
  Correction correction{"end all lines of the file in LF", true, {}};
  for (const Line& line : descriptor.lines) {
    const std::size_t length = line.text.size() - (line.text.find_last_not_of('\r') + 1);
    if (length != 0) correction.edits.push_back(descriptor.edit(line, line.text.size() - length, length));
  }
  return correction;
}

Rule crlf_line_endings() {
  return {.name = "crlf-line-endings",
          .group = Group::lines,
          .severity = Severity::warning,
          .title = "the lines end in CRLF",
          .why =
              "The carriage return stays in the last column. The director trims it from a feature, but the same feature with "
              "and without it counts as two.",
          .fix = "save the file with LF line endings",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\r\n"
                            "sites/alpha\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                const Descriptor* reported = nullptr;  // once for each file, which mostly has them in every line
                for (const Record& record : input.records) {
                  const std::string_view last = record.line->columns.back();
                  if (!last.ends_with('\r') || record.descriptor == reported) continue;
                  reported = record.descriptor;
                  const std::size_t column = record.line->columns.size() - 1;
                  reporter.report(record.descriptor->location(*record.line, column, last.size() - 1, 1),
                                  "carriage return at the end of column " + std::to_string(column + 1) + ", " + in_quotes(last),
                                  without_returns(*record.descriptor));
                }
              },
          .corrects = Corrects::safely};
}

/// First and last characters of the ranges that show as nothing, or as a space.
constexpr std::array<std::pair<char32_t, char32_t>, 17> invisible = {{{0x00, 0x1F},
                                                                      {0x7F, 0xA0},
                                                                      {0xAD, 0xAD},
                                                                      {0x61C, 0x61C},
                                                                      {0x1680, 0x1680},
                                                                      {0x180E, 0x180E},
                                                                      {0x2000, 0x200F},
                                                                      {0x2028, 0x202F},
                                                                      {0x205F, 0x206F},
                                                                      {0x2800, 0x2800},
                                                                      {0x3000, 0x3000},
                                                                      {0x3164, 0x3164},
                                                                      {0xFE00, 0xFE0F},
                                                                      {0xFEFF, 0xFEFF},
                                                                      {0xFFA0, 0xFFA0},
                                                                      {0xFFF9, 0xFFFB},
                                                                      {0xE0000, 0xE007F}}};

/// Of one UTF-8 character.
char32_t code_point_of(std::string_view character) {
  const auto bits = [&](std::size_t i) { return static_cast<unsigned char>(character[i]); };
  if (character.size() == 1) return bits(0);
  char32_t code_point = bits(0) & (0x7FU >> character.size());
  for (std::size_t i = 1; i < character.size(); ++i) code_point = code_point << 6U | (bits(i) & 0x3FU);
  return code_point;
}

/// "\u00A0".
std::string escaped(char32_t code_point) {
  std::array<char, 16> text;
  std::snprintf(text.data(), text.size(), "\\u%04X", static_cast<unsigned>(code_point));
  return text.data();
}

void report_invisible(const Record& record, std::size_t column, Reporter& reporter) {
  const std::string_view text = record.cell(column);
  for (std::size_t at = 0, length = 1; at < text.size(); at += std::max<std::size_t>(length, 1)) {
    length = character_length(text.substr(at));
    if (length == 0) continue;
    const char32_t code_point = code_point_of(text.substr(at, length));
    if (std::none_of(invisible.begin(), invisible.end(),
                     [&](const auto& range) { return range.first <= code_point && code_point <= range.second; }))
      continue;
    const std::string kind = code_point < 0xA0 ? "control character " : "invisible character ";
    reporter.report(record.descriptor->location(*record.line, column, at, length),
                    kind + escaped(code_point) + (column == 0 ? " in the repository" : " in the feature"),
                    Correction{"delete the character", false, {record.edit(column, at, length)}});
  }
}

/// A repository that exists has the character in its name.
Rule invisible_character() {
  return {.name = "invisible-character",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a repository or a feature contains a control character or an invisible character",
          .why =
              "Nothing is trimmed or converted, so the character is part of the name, which then differs from the name that "
              "it looks like. The repository does not exist, or no repository has the feature.",
          .fix = "delete the character, or replace it with a plain space or a tab",
          .bad = descriptor("sites/alpha\torg.example.alpha\xC2\xA0.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_used_column(input, [&](const Record& record, std::size_t column) {
                  const bool is_in_a_name = column == 0 && record.site != nullptr && record.site->exists;
                  if (!is_in_a_name) report_invisible(record, column, reporter);
                });
              },
          .corrects = Corrects::unsafely};
}

// ---- Columns ----

Rule repository_empty() {
  return {.name = "repository-empty",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a line has a feature but no repository",
          .why = "The plug-in skips the line: its feature is neither installed nor removed.",
          .fix = "write the repository in column 1, even if the line above has the same one",
          .bad = descriptor("Repository\tFeature\n\tsites/alpha\torg.example.alpha.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Record& record : input.records) {
                  if (record.placement || record.feature().empty()) continue;
                  const bool is_shifted = looks_like_site(record.feature()) && looks_like_feature(record.cell(2));
                  reporter.report(
                      record.descriptor->location(*record.line, 1), "no repository for " + in_quotes(record.feature()),
                      is_shifted ? "delete the tab at the beginning of the line"
                                 : "write the repository in column 1, even if the line above has the same one",
                      is_shifted ? std::optional(Correction{"delete the leading tab", false, {record.edit(0, 0, 1)}})
                                 : std::nullopt);
                }
              },
          .corrects = Corrects::unsafely};
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
          .fix = "separate the repository and the feature with one tab; further tabs cannot align columns",
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
              "fails. In column 2 it splits the list of features, so the command for all features fails. It is harmless only "
              "at the very end of such a list.",
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
                  reporter.report(record.location(column),
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
              "The plug-in keeps the quotes, so the name of an archive no longer ends in .zip. The shell removes quotes in "
              "pairs. An unpaired quote is a syntax error: in column 1 in every command of the session, in column 2 in the "
              "command for all features.",
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
                  reporter.report(record.location(column),
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
                  const std::size_t last = record.line->columns.size();
                  if (last < 5) continue;
                  reporter.report(
                      record.location(4),
                      last == 5 ? std::string("column 5 is ignored") : "columns 5 to " + std::to_string(last) + " are ignored",
                      without_extra_columns(record));
                }
              },
          .corrects = Corrects::unsafely};
}

Rule trailing_tab() {
  return {.name = "trailing-tab",
          .group = Group::lines,
          .severity = Severity::note,
          .title = "a line ends in a tab",
          .why = "One tab at the end adds no column, so the order stays undefined. Each further tab adds an empty column.",
          .fix = "remove the tab",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\t\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Record& record : input.records) {
                  std::string_view text = record.line->text;
                  if (text.ends_with('\r')) text.remove_suffix(1);
                  if (!text.ends_with('\t') || record.feature().empty()) continue;
                  Location location = record.descriptor->location(*record.line);
                  location.column = text.size();
                  location.length = 1;
                  const std::size_t end = text.find_last_not_of('\t') + 1;
                  reporter.report(
                      std::move(location), "trailing tab",
                      Correction{
                          "remove the tabs at the end", true, {record.descriptor->edit(*record.line, end, text.size() - end)}});
                }
              },
          .corrects = Corrects::safely};
}

/// Spaces in it are read as a repository.
Rule row_of_tabs() {
  return {.name = "row-of-tabs",
          .group = Group::lines,
          .severity = Severity::note,
          .title = "a line consists of tabs",
          .why =
              "The plug-in skips the line, an empty row of a table. If its first column contains a space, the space splits the "
              "list of repositories, and every command of the session fails.",
          .fix = "delete the line",
          .bad = descriptor("sites/alpha\torg.example.alpha.feature.group\n\t\t\t\n"),
          .good = descriptor("sites/alpha\torg.example.alpha.feature.group\n\n"),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_text(input, [&](const Descriptor& descriptor) {
                  for (const Line& line : descriptor.lines) {
                    if (line.text.find('\t') == line.text.npos || !trimmed(line.text).empty()) continue;
                    const bool is_data = line.is_record && !line.columns[0].empty();
                    reporter.report(is_data ? Severity::error : Severity::note, descriptor.location(line),
                                    is_data ? "a row without content is read as data" : "a row without content",
                                    "delete the line", Correction{"delete the line", true, {descriptor.deletion(line)}});
                  }
                });
              },
          .supersedes = Supersedes::line,
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
                  if (third.empty() || record.feature().empty()) continue;
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
                  if (trimmed(record.line->text).empty()) continue;  // spreadsheets write rows of tabs
                  const auto [known, is_new] = first.emplace(std::pair(record.descriptor, record.line->text), &record);
                  if (is_new || known->second->line == record.line) continue;
                  reporter.report(record.descriptor->location(*record.line), "duplicate of " + known->second->where(),
                                  Correction{"delete the line", is_safe, {record.descriptor->deletion(*record.line)}});
                }
              },
          .corrects = Corrects::both};
}

}  // namespace

std::vector<Rule> rules_about_lines() {
  return {line_without_tab(),      feature_column_missing(),
          site_named_repository(), descriptor_without_data(),
          comment_is_data(),       header_not_recognised(),
          byte_order_mark(),       columns_swapped(),
          not_8_bit_text(),        cr_line_endings(),
          crlf_line_endings(),     invisible_character(),
          repository_empty(),      feature_in_third_column(),
          space_around_column(),   quoted_column(),
          extra_columns(),         trailing_tab(),
          row_of_tabs(),           third_column_ignored(),
          duplicate_line(),        suppression_not_understood()};
}

}  // namespace eclipse_lint
