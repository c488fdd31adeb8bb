#include <algorithm>
#include <iomanip>
#include <map>
#include <set>
#include <vector>

#include "base/printable.h"
#include "base/text.h"
#include "lint/report.h"
#include "lint/texts.h"

using namespace eclipse_base;

namespace eclipse_lint {

namespace {

constexpr std::size_t longest_line = 160;
constexpr std::size_t longest_sample = 40;  // in lines
constexpr std::size_t shown_of_longer = 3;

/// A piece of a file's line.
std::string shown(std::string_view text) { return printable(text, {.tab = "→"}); }

/// The sequences that switch colours on a terminal, or nothing.
class Colours {
 public:
  explicit Colours(bool are_on) : are_on_(are_on) {}

  std::string bold(const std::string& text) const { return in("1", text); }
  std::string faint(const std::string& text) const { return in("2", text); }
  std::string of(Severity severity, const std::string& text) const {
    return in(severity == Severity::error ? "1;31" : severity == Severity::warning ? "1;35" : "1;36", text);
  }

 private:
  std::string in(const std::string& colour, const std::string& text) const {
    return are_on_ ? "\x1B[" + colour + "m" + text + "\x1B[0m" : text;
  }

  bool are_on_;
};

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
  const std::size_t width = std::max<std::size_t>(characters_in(shown(marked)), 1);
  out << "  " << number << " | " << shown(text) << "\n"
      << margin << std::string(characters_in(shown(before)), ' ')
      << colours.of(finding.severity, "^" + std::string(width - 1, '~')) << "\n";
}

void print_headline(std::ostream& out, const Finding& finding, const Colours& colours) {
  out << colours.bold(position_of(finding.location)) << " "
      << colours.of(finding.severity, std::string(name_of(finding.severity)) + ":") << " "
      << printable(finding.message, {.longest = no_limit}) << " [" << finding.rule->name << "]\n";
}

void print_finding(std::ostream& out, const Finding& finding, bool with_why, const Colours& colours) {
  print_headline(out, finding, colours);
  print_line(out, finding, colours);
  if (with_why) out << "  " << colours.faint("why:") << " " << finding.rule->why << "\n";
  out << "  " << colours.faint("fix:") << " " << printable(finding.fix, {.longest = no_limit}) << "\n";
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

/// The lines of a file, indented. Of a long file only the beginning is shown.
void print_content(std::ostream& out, std::string_view content, const std::string& indentation) {
  if (content.ends_with('\n')) content.remove_suffix(1);
  const auto lines = split(content, '\n');
  const std::size_t count = lines.size() > longest_sample ? shown_of_longer : lines.size();
  for (std::size_t i = 0; i < count; ++i) {
    const std::string_view line = std::string_view(lines[i]).substr(0, longest_line);
    out << indentation << shown(line) << (line.size() < lines[i].size() ? "..." : "") << "\n";
  }
  if (count < lines.size()) out << indentation << "... and " << lines.size() - count << " more lines\n";
}

/// What a reader must know about a file of a sample apart from its content.
std::string remark_on(const SampleFile& file) {
  if (file.name.ends_with('/')) return " (a directory)";
  if (file.permissions == 0) return " (unreadable)";
  if (!file.link_to.empty()) return " -> " + file.link_to;
  if (!file.entries.empty()) return " (a zip archive)";
  return "";
}

void print_sample(std::ostream& out, const Sample& sample, const std::string& indentation) {
  for (const SampleFile& file : sample.files) {
    out << indentation << file.name << remark_on(file) << "\n";
    if (!file.content.empty()) print_content(out, file.content, indentation + "    ");
    for (const auto& [name, content] : file.entries) {
      out << indentation << "    " << name << "\n";
      if (!content.empty()) print_content(out, content, indentation + "        ");
    }
  }
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

void print_rule(std::ostream& out, const Rule& rule, bool in_colour) {
  const Colours colours(in_colour);
  out << colours.bold(std::string(rule.name)) << " (" << colours.of(rule.severity, std::string(name_of(rule.severity))) << ", "
      << name_of(rule.group) << "): " << rule.title << "\n\n"
      << colours.bold("Why") << "\n  " << rule.why << "\n\n"
      << colours.bold("Fix") << "\n  " << rule.fix << "\n";
  const std::string options = replaced(options_for(rule.corrects), "`", "");
  if (!options.empty()) out << "  " << options << "\n";
  out << "\n" << colours.bold("Bad") << " (→ is a tab)\n";
  print_sample(out, rule.bad, "  ");
  out << "\n" << colours.bold("Good") << "\n";
  print_sample(out, rule.good, "  ");
}

void print_rule_in_markdown(std::ostream& out, const Rule& rule) {
  out << "### " << rule.name << "\n\n"
      << "**" << name_of(rule.severity) << ":** " << rule.title << "\n\n"
      << rule.why << "\n\n"
      << "*Fix:* " << rule.fix << "\n";
  if (rule.corrects != Corrects::no) out << "\n*Automatic:* " << options_for(rule.corrects) << "\n";
}

void print_group(std::ostream& out, Group group) {
  std::size_t width = 0;
  for (const Rule& rule : rules()) width = std::max(width, rule.name.size());
  out << name_of(group) << ": " << heading_of(group) << "\n";
  for (const Rule* const rule : rules_named(name_of(group))) {
    out << "  " << std::left << std::setw(static_cast<int>(width + 2)) << rule->name << std::setw(9) << name_of(rule->severity)
        << rule->title << "\n";
  }
}

void print_groups(std::ostream& out) {
  for (const Group group : groups) {
    if (group != groups.front()) out << "\n";
    print_group(out, group);
  }
}

void print_manual(std::ostream& out) {
  out << "# The rules of `eclipse-int lint`\n\n"
         "Generated by `eclipse-int explain --manual`; `eclipse-int explain RULE` also shows a bad and a good example of a "
         "rule.\nThe word in parentheses is the name of the group, which `--select` and `--disable` accept.\n\n"
         "Many rules say what fails:\n\n"
         "- *The command for all features fails*: the plug-in then tries each feature alone. The others are installed, "
         "those of other\n  components, too, but the installer reports a failure.\n"
         "- *Every command of the session fails*: even those for single features, so nothing is installed, not even for "
         "other\n  components.\n";
  for (const Group group : groups) {
    out << "\n## " << heading_of(group) << " (`" << name_of(group) << "`)\n";
    for (const Rule* const rule : rules_named(name_of(group))) {
      out << "\n";
      print_rule_in_markdown(out, *rule);
    }
  }
}

}  // namespace eclipse_lint
