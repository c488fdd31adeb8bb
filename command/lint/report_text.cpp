#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "base/printable.h"
#include "base/text.h"
#include "lint/colours.h"
#include "lint/report.h"
#include "lint/rule.h"
#include "lint/texts.h"

using namespace eclipse_base;

namespace eclipse_lint {

namespace {

constexpr std::size_t longest_line = 160;

std::string position_of(const Location& location) {
  std::string position = printable(location.file) + ":";
  if (location.line != 0)
    position += std::to_string(location.line) + ":" + std::to_string(location.column_in_characters()) + ":";
  return position;
}

/// The line, and a mark under the location. Of a long line only the surroundings of the location are shown.
void print_line(std::ostream& out, const Finding& finding, const Colours& colours) {
  const Location& location = finding.location;
  if (location.line == 0 || location.text.empty()) return;
  const std::size_t start = location.column - 1 < longest_line / 2 ? 0 : location.column - 1 - longest_line / 4;
  const std::string_view text = std::string_view(location.text).substr(start, longest_line);
  const std::string_view before = std::string_view(location.text).substr(start, location.column - 1 - start);
  const std::string_view marked = text.substr(std::min(before.size(), text.size()), location.length);
  const std::string number = std::to_string(location.line);
  const std::string margin = "  " + std::string(number.size(), ' ') + " | ";
  const std::size_t width = std::max<std::size_t>(characters_in(with_shown_tabs(marked)), 1);
  out << "  " << number << " | " << with_shown_tabs(text) << "\n"
      << margin << std::string(characters_in(with_shown_tabs(before)), ' ')
      << colours.of(finding.severity, "^" + std::string(width - 1, '~')) << "\n";
}

void print_headline(std::ostream& out, const Finding& finding, const Colours& colours) {
  out << colours.bold(position_of(finding.location)) << " "
      << colours.of(finding.severity, std::string(name_of(finding.severity)) + ":") << " " << finding.message << " ["
      << finding.rule->name << "]\n";
}

void print_finding(std::ostream& out, const Finding& finding, bool with_why, const Colours& colours) {
  print_headline(out, finding, colours);
  print_line(out, finding, colours);
  if (with_why) out << "  " << colours.faint("why:") << " " << finding.rule->why << "\n";
  out << "  " << colours.faint("fix:") << " " << finding.fix << "\n";
}

/// A text in an annotation, whose line ends and percent signs are escapes, as are the separators of its values.
std::string annotation_text(std::string_view text) {
  std::string escaped = replaced(text, "%", "%25");
  for (const auto& [from, to] : {std::pair("\r", "%0D"), std::pair("\n", "%0A")}) escaped = replaced(escaped, from, to);
  return escaped;
}

std::string annotation_value(std::string_view text) {
  return replaced(replaced(annotation_text(text), ":", "%3A"), ",", "%2C");
}

void print_annotation(std::ostream& out, std::string_view level, const std::string& file, TextPlace place,
                      std::string_view title, const std::string& message) {
  out << "::" << level << " file=" << annotation_value(printable(file));
  if (place.line != 0) out << ",line=" << place.line << ",col=" << place.column;
  out << ",title=" << title << "::" << annotation_text(message) << "\n";
}

}  // namespace

void print_text(std::ostream& out, const Findings& findings, bool in_colour) {
  const Colours colours(in_colour);
  std::set<const Rule*> explained;
  for (const Finding& finding : findings) {
    if (!finding.reason) print_finding(out, finding, explained.insert(finding.rule).second, colours);
  }
}

void print_brief(std::ostream& out, const Findings& findings, bool in_colour) {
  const Colours colours(in_colour);
  for (const Finding& finding : findings) {
    if (!finding.reason) print_headline(out, finding, colours);
  }
}

void print_github(std::ostream& out, const Findings& findings, const Errors& errors) {
  for (const FileError& error : errors) {
    print_annotation(out, "error", error.file().string(), {error.line(), error.column()}, "invalid input", error.message());
  }
  for (const Finding& finding : findings) {
    if (finding.reason) continue;
    const Location& location = finding.location;
    print_annotation(out, finding.severity == Severity::note ? "notice" : name_of(finding.severity), location.file,
                     {location.line, location.column_in_characters()}, finding.rule->name,
                     finding.message + ". " + std::string(finding.rule->why) + " Fix: " + finding.fix + ".");
  }
}

void print_summary(std::ostream& out, const Findings& findings) {
  std::map<Severity, std::size_t> counts;
  std::map<bool, std::size_t> corrections;  // by whether they are safe
  std::set<std::string> files;
  for (const Finding& finding : findings) {
    if (finding.reason) continue;
    ++counts[finding.severity];
    files.insert(finding.location.file);
    if (finding.correction) ++corrections[finding.correction->is_safe];
  }
  if (counts.empty()) return;
  std::vector<std::string> parts;
  for (auto count = counts.rbegin(); count != counts.rend(); ++count) {
    parts.push_back(counted(count->second, name_of(count->first)));
  }
  out << joined(parts) << " in " << counted(files.size(), "file");
  if (corrections[true] != 0) out << "; --fix corrects " << corrections[true];
  if (corrections[false] != 0) out << "; --fix --unsafe-fixes corrects " << corrections[true] + corrections[false];
  out << "\n";
}

}  // namespace eclipse_lint
