// Rules about what other programs leave in a descriptor file or in a component: version control and builds.
#include <array>
#include <filesystem>
#include <regex>
#include <string>
#include <string_view>
#include <system_error>

#include "base/file.h"
#include "base/printable.h"
#include "base/text.h"
#include "lint/rule.h"
#include "lint/rules/iteration.h"
#include "lint/rules/samples.h"

using namespace eclipse_base;
using namespace eclipse_lint::samples;

namespace fs = std::filesystem;

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
  if (text.size() > 4096 || !std::regex_search(text.begin(), text.end(), match, pattern)) return "";
  return match.str();
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

/// The repository that a file names as a symbolic link would; empty when it names none.
std::string target_in(const Record& record) {
  constexpr std::size_t longest = 4096;
  const fs::path file = fs::path(record.config->base_dir) / record.repository();
  const FileContent content = read_beginning(file, longest);
  if (!content.error.empty() || content.bytes.empty() || content.bytes.size() == longest) return "";
  if (content.bytes.find_first_of(std::string_view("\n\0", 2)) != std::string::npos) return "";
  std::error_code error;
  const fs::path target = (fs::path(record.repository()).parent_path() / content.bytes).lexically_normal();
  return fs::exists(fs::path(record.config->base_dir) / target, error) ? target.string() : "";
}

Rule link_as_text() {
  return {.name = "link-as-text",
          .group = Group::repositories,
          .severity = Severity::error,
          .title = "a repository is a text file that contains the target of a symbolic link",
          .why =
              "Version control on a system without symbolic links checks them out as such files. The director cannot load "
              "them.",
          .fix = "check it out as a symbolic link, or write the path of its target",
          .bad = component(line_of_one, {{"tools/site", "1.0.0"}, {"tools/1.0.0/content.xml", content_of_one}}),
          .good = good_component(),
          .check =
              [](const Input& input, Reporter& reporter) {
                for_each_looked_into(input, [&](const Record& record) {
                  if (!record.site->exists || record.site->is_directory) return;
                  const std::string target = target_in(record);
                  if (target.empty()) return;
                  reporter.report(record.location(0),
                                  in_quotes(record.repository()) + " is a text file that names " + in_quotes(target),
                                  "check it out as a symbolic link, or write " + in_quotes(target));
                });
              },
          .concerns_removals = false,
          .supersedes = Supersedes::line};
}

}  // namespace

std::vector<Rule> rules_about_leftovers() { return {merge_conflict_marker(), placeholder_not_replaced(), link_as_text()}; }

}  // namespace eclipse_lint
