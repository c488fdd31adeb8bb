// Rules about what other programs leave in a descriptor file: version control and builds.
#include <array>
#include <regex>
#include <string>
#include <string_view>

#include "base/printable.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;

namespace eclipse_lint {

namespace {

bool is_conflict_marker(std::string_view line) {
  if (line.ends_with('\r')) line.remove_suffix(1);
  constexpr std::array<std::string_view, 3> beginnings = {"<<<<<<< ", ">>>>>>> ", "||||||| "};
  for (const std::string_view beginning : beginnings) {
    if (line.starts_with(beginning)) return true;
  }
  return line == "=======";
}

Rule merge_conflict_marker() {
  return {.name = "merge-conflict-marker",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a merge conflict is not resolved",
          .why = "The plug-in ignores the markers, which have no tab, and installs the features of both sides.",
          .fix = "keep the lines of one side, or of both, and delete the markers",
          .bad = descriptor("<<<<<<< HEAD\nsites/one\torg.example.one.feature.group\n=======\n"
                            "sites/two\torg.example.two.feature.group\n>>>>>>> topic\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_text(input, [&](const Descriptor& descriptor) {
                  for (const Line& line : descriptor.lines) {
                    if (is_conflict_marker(line.text)) reporter.report(descriptor.location(line), "marker of a merge conflict");
                  }
                });
              },
          .supersedes = Supersedes::line};
}

/// The first "${name}" or "@name@" in a text; empty when there is none.
std::string placeholder_in(std::string_view text) {
  static const std::regex pattern(R"(\$\{[A-Za-z_][A-Za-z0-9_.-]*\}|@[A-Za-z_][A-Za-z0-9_.-]*@)");
  std::match_results<std::string_view::const_iterator> match;
  // A long text is not a path or an id, and matching it takes a deep recursion.
  if (text.size() > 4096 || text.find_first_of("$@") == text.npos) return "";
  return std::regex_search(text.begin(), text.end(), match, pattern) ? match.str() : "";
}

Rule placeholder_not_replaced() {
  return {.name = "placeholder-not-replaced",
          .group = Group::lines,
          .severity = Severity::error,
          .title = "a placeholder of a build, such as ${version} or @version@, is not replaced",
          .why =
              "The plug-in replaces nothing. The shell expands \"${...}\" to the value of an environment variable, which is "
              "usually empty, or finds a syntax error.",
          .fix = "let the build replace it in descriptor files",
          .bad = descriptor("sites/one-${project.version}.zip\torg.example.one.feature.group\n"),
          .good = good_descriptor(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_used_column(input, [&](const Record& record, std::size_t column) {
                  const std::string_view text = record.cell(column);
                  const std::string placeholder = placeholder_in(text);
                  if (placeholder.empty()) return;
                  const std::size_t at = text.find(placeholder);
                  reporter.report(record.descriptor->location(*record.line, column, at, placeholder.size()),
                                  "placeholder " + in_quotes(placeholder) + " is not replaced");
                });
              },
          .supersedes = Supersedes::line};
}

}  // namespace

std::vector<Rule> lines_leftovers_rules() { return {merge_conflict_marker(), placeholder_not_replaced()}; }

}  // namespace eclipse_lint
