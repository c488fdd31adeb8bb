// Rules about the lines and columns of descriptor files.
#include <algorithm>
#include <map>

#include "base/json_document.h"
#include "lint/rule.h"
#include "lint/texts.h"

using eclipse_base::in_quotes;

namespace eclipse_lint {

namespace {

constexpr std::string_view header = "Repository";
constexpr std::string_view byte_order_mark = "\xEF\xBB\xBF";

/// A descriptor file by itself.
Sample lines(const std::string& content) { return {"tools.txt", {{"tools.txt", content}}}; }

constexpr const char* good_lines =
    "Repository\tFeature\n"
    "sites/alpha\torg.example.alpha.feature.group\n"
    "sites/beta.zip\torg.example.beta.feature.group\n";

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

// ---- Dropped lines ----

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

void check_no_tab(const Input& input, Reporter& reporter) {
  for_each_dropped(input, [&](const Descriptor& descriptor, const Line& line) {
    if (!lacks_tab(line)) return;
    reporter.report(descriptor.location(line), "this looks like data but has no tab: the line is dropped");
  });
}

bool is_feature_alone(std::string_view text) {
  const std::string_view id = text.substr(0, text.find('/'));
  return looks_like_feature(id) && (id == text || id.ends_with(".feature.group")) && !looks_like_site(id);
}

void check_no_feature_column(const Input& input, Reporter& reporter) {
  for_each_dropped(input, [&](const Descriptor& descriptor, const Line& line) {
    if (line.columns.size() != 1 || line.columns[0] == header || is_comment(line.text) || lacks_tab(line)) return;
    const bool has_tab = line.text.find('\t') != line.text.npos;
    const std::string_view only = without_spaces(line.columns[0]);
    const bool is_word = !only.empty() && only.find(' ') == only.npos;
    if (is_word && is_feature_alone(only)) {
      reporter.report(descriptor.location(line, 0), "the repository column is missing: the line is dropped",
                      "write the repository and a tab in front of the feature");
    } else if (has_tab ? !only.empty() : is_word && looks_like_site(only)) {
      reporter.report(descriptor.location(line, 0), "the feature column is missing: the line is dropped");
    }
  });
}

void check_reserved_name(const Input& input, Reporter& reporter) {
  for_each_dropped(input, [&](const Descriptor& descriptor, const Line& line) {
    if (line.columns.size() < 2 || !looks_like_feature(without_spaces(line.columns[1]))) return;
    reporter.report(descriptor.location(line, 0), "a site cannot be called \"Repository\": the line is dropped as a header");
  });
}

void check_yields_nothing(const Input& input, Reporter& reporter) {
  for_each_text(input, [&](const Descriptor& descriptor) {
    const auto is_record = [](const Line& line) { return line.is_record; };
    if (std::any_of(descriptor.lines.begin(), descriptor.lines.end(), is_record)) return;
    reporter.report(descriptor.location(), "the file yields no data");
  });
}

// ---- Lines that are data against their intention ----

/// Column 1 without what people put around a header by mistake.
std::string bare(std::string_view text) {
  std::string letters;
  for (const char byte : lower_case(text)) {
    if (byte >= 'a' && byte <= 'z') letters += byte;
  }
  return letters;
}

bool is_odd_header(const Record& record) {
  const std::string letters = bare(record.repository());
  return letters == "repository" || letters == "repositories" || letters == "repo";
}

bool has_byte_order_mark(const Record& record) { return record.repository().starts_with(byte_order_mark); }

void check_header(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (!is_odd_header(record) || has_byte_order_mark(record) || looks_like_feature(record.feature())) continue;
    reporter.report(record.location(0), in_quotes(record.repository()) + " is not recognised as a header: the line is data");
  }
}

void check_comment(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (!is_comment(record.repository()) || is_odd_header(record)) continue;
    if (record.site != nullptr && record.site->exists) continue;  // as "//sites/alpha"
    reporter.report(record.location(0),
                    "there are no comments: this is data, of a site called " + in_quotes(record.repository()));
  }
}

void check_swapped(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    const std::string_view site = record.feature();
    if (!looks_like_feature(record.repository()) || looks_like_site(record.repository()) || !looks_like_site(site)) continue;
    const bool has_version = looks_like_feature(site.substr(0, site.find('/')));
    if (has_version || (record.site != nullptr && record.site->exists)) continue;
    reporter.report(record.location(0),
                    "a feature, " + in_quotes(record.repository()) + ", stands where the repository should be");
  }
}

void check_byte_order_mark(const Input& input, Reporter& reporter) {
  for_each_text(input, [&](const Descriptor& descriptor) {
    if (!descriptor.content.starts_with(byte_order_mark)) return;
    reporter.report(descriptor.location(descriptor.lines.front(), 0, 0, byte_order_mark.size()),
                    "the byte-order mark is part of column 1");
  });
}

// ---- Files that are no lines of text ----

void check_text(const Input& input, Reporter& reporter) {
  for (const Descriptor& descriptor : input.descriptors) {
    if (!descriptor.is_readable || descriptor.is_text) continue;
    const bool has_zero = descriptor.content.find('\0') != std::string::npos;
    const bool is_utf16 = descriptor.content.starts_with("\xFF\xFE") || descriptor.content.starts_with("\xFE\xFF");
    if (is_utf16) {
      reporter.report(descriptor.location(), "the file is UTF-16, not 8-bit text");
    } else if (has_zero) {
      reporter.report(descriptor.location(), "the file holds zero bytes");
    }
  }
}

void check_line_feeds(const Input& input, Reporter& reporter) {
  for (const Descriptor& descriptor : input.descriptors) {
    if (!descriptor.is_readable || descriptor.is_text || descriptor.content.find('\0') != std::string::npos) continue;
    if (descriptor.content.find('\n') != std::string::npos) continue;
    reporter.report(descriptor.location(), "the file has carriage returns but no line feeds: it is a single line");
  }
}

void check_carriage_return(const Input& input, Reporter& reporter) {
  const Descriptor* reported = nullptr;
  for (const Record& record : input.records) {
    const std::string_view last = record.line->columns.back();
    if (!last.ends_with('\r') || record.descriptor == reported) continue;
    reported = record.descriptor;  // once for each file, which mostly has them in every line
    reporter.report(record.descriptor->location(*record.line, record.line->columns.size() - 1, last.size() - 1, 1),
                    "the line ends are CRLF: the last column is " + in_quotes(last));
  }
}

// ---- Columns ----

void check_spaces(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (is_odd_header(record)) continue;
    for (const std::size_t column : {0U, 1U}) {
      if (column == 0 && input.is_removal()) continue;  // the director is given no repositories
      const std::string_view text = record.cell(column);
      if (text == without_spaces(text)) continue;
      reporter.report(record.location(column),
                      "a space stands around column " + std::to_string(column + 1) + ": " + in_quotes(text));
    }
  }
}

void check_quotes(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (is_odd_header(record)) continue;
    for (const std::size_t column : {0U, 1U}) {
      if (column == 0 && input.is_removal()) continue;  // the director is given no repositories
      const std::string_view text = without_spaces(record.cell(column));
      if (!text.starts_with('"') && !text.starts_with('\'')) continue;
      reporter.report(record.location(column), "quotes are part of column " + std::to_string(column + 1));
    }
  }
}

void check_empty_repository(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (record.placement || record.feature().empty()) continue;
    reporter.report(record.descriptor->location(*record.line, 1),
                    "the repository is empty: " + in_quotes(record.feature()) + " will not be installed");
  }
}

void check_shifted_feature(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (record.repository().empty() || !record.feature().empty() || record.cell(2).empty()) continue;
    reporter.report(record.location(2),
                    "the feature is empty; did column 3, " + in_quotes(record.cell(2)) + ", mean to be column 2?");
  }
}

void check_extra_columns(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (record.line->columns.size() < 5) continue;
    const std::size_t count = record.line->columns.size() - 4;
    reporter.report(record.location(4), std::to_string(count) + (count == 1 ? " column" : " columns") + " behind the fourth " +
                                            (count == 1 ? "is" : "are") + " ignored");
  }
}

void check_trailing_tab(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    std::string_view text = record.line->text;
    if (text.ends_with('\r')) text.remove_suffix(1);
    if (!text.ends_with('\t') || record.feature().empty()) continue;
    Location location = record.descriptor->location(*record.line);
    location.column = text.size();
    location.length = 1;
    reporter.report(std::move(location), "a tab stands at the end of the line");
  }
}

void check_third_column(const Input& input, Reporter& reporter) {
  for (const Record& record : input.records) {
    if (record.cell(2).empty() || record.feature().empty()) continue;
    reporter.report(record.location(2), "column 3, " + in_quotes(record.cell(2)) + ", has no effect");
  }
}

void check_duplicate_line(const Input& input, Reporter& reporter) {
  std::map<std::pair<const Descriptor*, std::string_view>, const Record*> first;
  for (const Record& record : input.records) {
    const auto [known, is_new] = first.emplace(std::pair(record.descriptor, record.line->text), &record);
    if (is_new || known->second->line == record.line) continue;
    reporter.report(record.descriptor->location(*record.line), "the same line as " + known->second->where());
  }
}

}  // namespace

std::vector<Rule> rules_for_lines() {
  return {
      {.name = "line-without-tab",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "a data line has spaces, commas or semicolons where its tab should be",
       .why = "Only tabs separate columns, so the line has one column, and it is dropped silently.",
       .fix = "separate repository and feature by one tab",
       .bad = lines("Repository\tFeature\nsites/alpha    org.example.alpha.feature.group\n"),
       .good = lines(good_lines),
       .check = check_no_tab},
      {.name = "feature-column-missing",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "a line has a repository or a feature, but not both",
       .why = "A line with fewer than two columns is dropped silently.",
       .fix = "write the feature behind a tab, or take the line out",
       .bad = lines("Repository\tFeature\nsites/alpha\t\n"),
       .good = lines(good_lines),
       .check = check_no_feature_column},
      {.name = "repository-empty",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "a line has a feature but no repository",
       .why = "The whole line is passed over when the lists are built: its feature is neither installed nor removed.",
       .fix = "write the repository into column 1, also when the line above has the same",
       .bad = lines("Repository\tFeature\n\torg.example.alpha.feature.group\n"),
       .good = lines(good_lines),
       .check = check_empty_repository},
      {.name = "feature-in-third-column",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "two tabs stand between the repository and the feature",
       .why = "The feature is empty and nothing is installed; column 3 is read by nobody. The line takes a place in the "
              "order, and its repository is loaded all the same.",
       .fix = "separate repository and feature by one tab; columns cannot be aligned by more of them",
       .bad = lines("Repository\tFeature\nsites/alpha\t\torg.example.alpha.feature.group\n"),
       .good = lines(good_lines),
       .check = check_shifted_feature},
      {.name = "comment-is-data",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "a comment line holds a tab",
       .why = "There are no comments: the line is data. Its repository goes into every director command. A space or a "
              "semicolon in it ends the word there, so that every command of the session fails, those of other components "
              "too. Without either it is one more site, which is not there, and its feature is sought and installed.",
       .fix = "take the line out, or at least its tabs",
       .bad = lines("# sites/old\torg.example.old.feature.group\nsites/alpha\torg.example.alpha.feature.group\n"),
       .good = lines("# the tools\nsites/alpha\torg.example.alpha.feature.group\n"),
       .check = check_comment,
       .supersedes = Supersedes::line},
      {.name = "header-not-recognised",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "a header's first column is not exactly \"Repository\"",
       .why = "The line is data: its second column is taken for a feature, which is not found, so the run for all features "
              "at once fails. With a space or a quote in the first column every command of the session fails.",
       .fix = "write Repository with a capital R and nothing around it",
       .bad = lines("repository\tFeature\nsites/alpha\torg.example.alpha.feature.group\n"),
       .good = lines(good_lines),
       .check = check_header,
       .supersedes = Supersedes::line},
      {.name = "byte-order-mark",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "the file begins with a UTF-8 byte-order mark",
       .why = "The mark is part of the first column: a header is data then, and its second column a feature that is not "
              "found; or the repository of the first line is not there.",
       .fix = "save the file without a byte-order mark",
       .bad = lines("\xEF\xBB\xBFRepository\tFeature\nsites/alpha\torg.example.alpha.feature.group\n"),
       .good = lines(good_lines),
       .check = check_byte_order_mark,
       .supersedes = Supersedes::line},
      {.name = "columns-swapped",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "the feature stands before the repository",
       .why = "Column 1 is taken for a repository, which is not there, and column 2 for a feature, which is not found.",
       .fix = "write the repository into column 1 and the feature into column 2",
       .bad = lines("org.example.alpha.feature.group\tsites/alpha\n"),
       .good = lines(good_lines),
       .check = check_swapped,
       .supersedes = Supersedes::line},
      {.name = "not-8-bit-text",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "the file is UTF-16 or holds zero bytes",
       .why =
           "No encoding is known. Zero bytes come into the columns and from there into the director's command, which no shell "
           "can be given: eclipse-int runs none of it and tells exit code 126. An installer that hands it over as a C string "
           "loses all that stands behind the first zero byte; the director, asked for nothing, then succeeds with exit code 0.",
       .fix = "save the file as plain text, ASCII or UTF-8 without a byte-order mark",
       .bad = lines(std::string("s\0i\0t\0e\0\t\0f\0\n\0", 14)),
       .good = lines(good_lines),
       .check = check_text},
      {.name = "carriage-returns-only",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "the lines end in carriage returns without line feeds",
       .why = "The whole file is one line, which yields one record at most.",
       .fix = "save the file with line feeds (LF) as its line ends",
       .bad = lines("Repository\tFeature\rsites/alpha\torg.example.alpha.feature.group\r"),
       .good = lines(good_lines),
       .check = check_line_feeds},
      {.name = "carriage-return-kept",
       .group = Group::lines,
       .severity = Severity::warning,
       .title = "the lines end in CRLF",
       .why = "The carriage return stays in the last column. The director trims it from a feature, but the same feature "
              "with and without it counts as two.",
       .fix = "save the file with line feeds (LF) as its line ends",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\r\n"
                    "sites/alpha\torg.example.alpha.feature.group\n"),
       .good = lines(good_lines),
       .check = check_carriage_return},
      {.name = "site-called-repository",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "a site is called \"Repository\"",
       .why = "A line whose first column is \"Repository\" is dropped as a header, wherever it stands.",
       .fix = "rename the site's directory, or write ./Repository",
       .bad = lines("Repository\torg.example.alpha.feature.group\n"),
       .good = lines("./Repository\torg.example.alpha.feature.group\n"),
       .check = check_reserved_name},
      {.name = "space-around-column",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "a space stands at the beginning or the end of a column",
       .why = "Nothing is trimmed. In column 1 the space splits the director's list of repositories, so that every command "
              "of the session fails; in column 2 it splits the list of features, so that the run for all at once fails. "
              "Only at the very end of such a list does it no harm.",
       .fix = "take the space away",
       .bad = lines("Repository\tFeature\n"
                    "sites/alpha \torg.example.alpha.feature.group\n"
                    "sites/beta\torg.example.beta.feature.group\n"),
       .good = lines(good_lines),
       .check = check_spaces},
      {.name = "quoted-column",
       .group = Group::lines,
       .severity = Severity::error,
       .title = "a column is in quotes",
       .why = "Quotes stay in the column, so an archive's name no longer ends in .zip. The shell takes balanced ones away "
              "from the director's command; unbalanced ones are a syntax error, from column 1 in every command of the "
              "session, from column 2 in the run for all features at once.",
       .fix = "write the column without quotes",
       .bad = lines("Repository\tFeature\n\"sites/alpha\"\t\"org.example.alpha.feature.group\n"),
       .good = lines(good_lines),
       .check = check_quotes},
      {.name = "extra-columns",
       .group = Group::lines,
       .severity = Severity::warning,
       .title = "a line has more than four columns",
       .why = "Column 5 and those behind it are ignored.",
       .fix = "take them out",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\t\t1\tnew\n"),
       .good = lines("sites/alpha\torg.example.alpha.feature.group\t\t1\n"),
       .check = check_extra_columns},
      {.name = "trailing-tab",
       .group = Group::lines,
       .severity = Severity::note,
       .title = "a line ends in a tab",
       .why = "A single tab at the end adds no column, so the order stays undefined. Of several, each but the last adds an "
              "empty one.",
       .fix = "take the tab away",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\t\n"),
       .good = lines("sites/alpha\torg.example.alpha.feature.group\n"),
       .check = check_trailing_tab},
      {.name = "third-column-unused",
       .group = Group::lines,
       .severity = Severity::note,
       .title = "the third column is filled in",
       .why = "It is collected, but nobody reads it.",
       .fix = "leave it empty; it is free for notes of your own",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\tthe first\n"),
       .good = lines("sites/alpha\torg.example.alpha.feature.group\n"),
       .check = check_third_column},
      {.name = "descriptor-yields-nothing",
       .group = Group::lines,
       .severity = Severity::warning,
       .title = "a descriptor file yields no data",
       .why = "The component has no features from this file. Nothing is logged.",
       .fix = "write a line for each feature, or take the file out",
       .bad = lines("Repository\tFeature\n"),
       .good = lines(good_lines),
       .check = check_yields_nothing},
      {.name = "duplicate-line",
       .group = Group::lines,
       .severity = Severity::warning,
       .title = "a line stands twice in a file",
       .why = "Both take a place in the install order; the feature is listed once.",
       .fix = "take one of the two out",
       .bad = lines("sites/alpha\torg.example.alpha.feature.group\nsites/alpha\torg.example.alpha.feature.group\n"),
       .good = lines(good_lines),
       .check = check_duplicate_line},
  };
}

}  // namespace eclipse_lint
