// Rules about the encoding of descriptor files: byte-order marks, UTF-16, line endings, invisible characters.
#include <algorithm>

#include "base/printable.h"
#include "lint/rule.h"
#include "lint/rules/header_lines.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

/// Programs that add a mark may do so again and again.
std::size_t size_of_marks(const Line& line) {
  std::size_t size = 0;
  while (line.text.substr(size).starts_with(utf_8_mark)) size += utf_8_mark.size();
  return size;
}

Rule byte_order_mark() {
  return {
      .name = "byte-order-mark",
      .group = Group::lines,
      .severity = Severity::error,
      .title = "the file, or a line of it, begins with a UTF-8 byte-order mark",
      .why =
          "The mark becomes part of column 1. A header that begins with it is data, and its second column is a feature "
          "that no repository has. A repository that begins with it does not exist. A mark in a later line comes from a file "
          "that was appended.",
      .fix = "save the file without a byte-order mark",
      .bad = descriptor("\xEF\xBB\xBFRepository\tFeature\nsites/alpha\torg.example.alpha.feature.group\n"),
      .good = good_descriptor(),
      .check =
          [](const Input& input, Reporter& reporter) {
            for_each_text(input, [&](const Descriptor& descriptor) {
              for (const Line& line : descriptor.lines) {
                if (size_of_marks(line) == 0 || (line.number != 1 && !line.is_record)) continue;
                reporter.report(
                    descriptor.location(line, 0, 0, utf_8_mark.size()), "byte-order mark in column 1",
                    Correction{"remove the byte-order mark", true, {descriptor.edit(line, 0, size_of_marks(line))}});
              }
            });
          },
      .supersedes = Supersedes::line,
      .corrects = Corrects::safely};
}

/// UTF-16 with a byte-order mark, or without one if it is all ASCII. Nothing when it is not that.
std::optional<Correction> as_utf_8(const Descriptor& descriptor) {
  auto text = utf_8_of_utf_16(descriptor.content);
  if (!text) return std::nullopt;
  return Correction{"convert the file to UTF-8", true, {{0, descriptor.content.size(), *std::move(text)}}};
}

/// An ASCII text with a NUL byte after each byte, as UTF-16 has them.
std::string in_utf_16(std::string_view text) {
  std::string wide;
  for (const char byte : text) wide.append(1, byte).append(1, '\0');
  return wide;
}

Rule not_8_bit_text() {
  return {.name = "not-8-bit-text",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "the file is UTF-16 or contains NUL bytes",
          .why =
              "The plug-in reads the file byte by byte, so NUL bytes become part of the director command. No shell accepts "
              "such a command: eclipse-int does not run it and reports exit code 126. An installer that passes it as a C "
              "string loses everything after the first NUL byte; the director then has nothing to do, and succeeds with exit "
              "code 0.",
          .fix = "save the file as ASCII, or as UTF-8 without a byte-order mark",
          .bad = descriptor(in_utf_16("site\torg.example.alpha.feature.group\n")),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for (const Descriptor& descriptor : input.descriptors) {
                  if (!descriptor.is_readable() || descriptor.is_text) continue;
                  if (has_utf_16_mark(descriptor.content)) {
                    reporter.report(descriptor.location(), "the file is UTF-16", as_utf_8(descriptor));
                  } else if (descriptor.content.find('\0') != std::string::npos) {
                    reporter.report(descriptor.location(), "the file contains NUL bytes", as_utf_8(descriptor));
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
          .why = "Only line feeds end a line, so the whole file is one line, with one record at most.",
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

constexpr std::string_view no_break_space = "\xC2\xA0";  ///< the first after the control characters

void report_invisible(const Record& record, std::size_t column, Reporter& reporter) {
  const std::string_view text = record.cell(column);
  for (std::size_t at = 0, length = 1; at < text.size(); at += std::max<std::size_t>(length, 1)) {
    length = character_length(text.substr(at));
    if (length == 0 || is_printable(text.substr(at, length))) continue;
    const std::string_view character = text.substr(at, length);
    const std::string kind = character < no_break_space ? "control character " : "invisible character ";
    reporter.report(record.descriptor->location(*record.line, column, at, length),
                    kind + printable(character) + (column == 0 ? " in the repository" : " in the feature"),
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
              "The plug-in trims and converts nothing, so the character is part of the name, although the name looks right "
              "without it. The repository does not exist, or no repository has the feature.",
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

}  // namespace

std::vector<Rule> lines_encoding_rules() {
  return {byte_order_mark(), not_8_bit_text(), cr_line_endings(), crlf_line_endings(), invisible_character()};
}

}  // namespace eclipse_lint
