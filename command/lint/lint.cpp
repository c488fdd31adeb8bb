#include "lint/lint.h"

#include <algorithm>
#include <tuple>

#include "base/json_document.h"
#include "lint/configuration.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/suppression_comment.h"

using namespace eclipse_base;
using namespace eclipse_dry_run;
using namespace eclipse_host;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

/// A program may write a whole session into one line, with a finding for each name in it.
constexpr std::size_t longest_line_of_session = 10'000;

/// Ordered by location, and at one location in the order of the rules. Findings that are equal in all of this are duplicates.
auto key_of(const Finding& finding) {
  const Location& location = finding.location;
  return std::tie(location.file, location.line, location.column, finding.rule, finding.message);
}

bool comes_before(const Finding& one, const Finding& other) { return key_of(one) < key_of(other); }

bool are_duplicates(const Finding& one, const Finding& other) { return key_of(one) == key_of(other); }

void check(const Input& input, const Settings& settings, Findings& findings) {
  for (const Rule& rule : rules()) {
    if (!is_enabled(rule, settings)) continue;
    if (input.is_removal() && !rule.concerns_removals) continue;
    Reporter reporter(rule, findings);
    rule.check(input, reporter);
    reporter.report_left_out();
  }
  if (!input.session) return;
  for (Finding& finding : findings) {
    if (finding.location.file != input.session->mode.file || finding.location.line == 0) continue;
    const std::string_view line = input.session->document->line(finding.location.line);
    if (line.size() <= longest_line_of_session) finding.location.text = line;
  }
}

/// Removes the findings in lines or files that another finding supersedes.
void remove_superseded(Findings& findings) {
  std::set<std::pair<std::string, std::size_t>> lines;
  std::set<std::string> files;
  for (const Finding& finding : findings) {
    if (finding.rule->supersedes == Supersedes::file) files.insert(finding.location.file);
    // What says how many findings were left out has no line.
    const bool has_line = finding.location.line != 0;
    if (finding.rule->supersedes == Supersedes::line && has_line) lines.emplace(finding.location.file, finding.location.line);
  }
  std::erase_if(findings, [&](const Finding& finding) {
    const Supersedes supersedes = finding.rule->supersedes;
    if (supersedes != Supersedes::file && files.count(finding.location.file) != 0) return true;
    return supersedes == Supersedes::nothing && lines.count({finding.location.file, finding.location.line}) != 0;
  });
}

/// What the settings say of a rule, by its own name or else by that of its group. Null when they say nothing.
const Level* level_of(const Rule& rule, const Settings& settings) {
  for (const std::string_view name : {rule.name, name_of(rule.group)}) {
    const auto level = settings.levels.find(std::string(name));
    if (level != settings.levels.end()) return &level->second;
  }
  return nullptr;
}

Findings findings_in(const std::vector<std::unique_ptr<Input>>& inputs, const Settings& settings) {
  Findings findings;
  for (const auto& input : inputs) {
    input->replaces = settings.replaces;
    check(*input, settings, findings);
  }
  remove_superseded(findings);
  std::sort(findings.begin(), findings.end(), comes_before);
  // A file that is listed twice is read twice.
  findings.erase(std::unique(findings.begin(), findings.end(), are_duplicates), findings.end());
  for (const auto& input : inputs) suppress(input->descriptors, findings);
  for (Finding& finding : findings) {
    const Level* const level = level_of(*finding.rule, settings);
    if (level != nullptr && *level) finding.severity = **level;
    if (finding.reason) continue;
    const auto entry = std::find_if(settings.suppressions.begin(), settings.suppressions.end(),
                                    [&](const Suppression& each) { return applies(each, finding); });
    if (entry != settings.suppressions.end()) finding.reason = entry->reason;
  }
  return findings;
}

/// What is found in a session that was drafted for a directory is about the directory: nobody has seen the lines of the
/// session.
void locate_as_a_whole(Findings& findings, const std::string& directory) {
  for (Finding& finding : findings) {
    if (finding.location.file == directory) finding.location = {directory};
  }
}

}  // namespace

bool is_enabled(const Rule& rule, const Settings& settings) {
  const auto has = [&](const std::set<std::string>& names) {
    return names.contains(std::string(rule.name)) || names.contains(std::string(name_of(rule.group)));
  };
  if (has(settings.disabled)) return false;
  if (!settings.selected.empty()) return has(settings.selected);
  const Level* const level = level_of(rule, settings);
  return level == nullptr || level->has_value();
}

Findings lint(const PluginFunctions& library, Repositories& sites, ProfileStates& states, const fs::path& path,
              const Settings& settings) {
  DescriptorFiles files;
  return lint(library, sites, states, files, path, settings);
}

Findings lint_session(const PluginFunctions& library, Repositories& sites, ProfileStates& states,
                      std::shared_ptr<const JsonDocument> document, const Settings& settings) {
  DescriptorFiles files;
  return lint_session(library, sites, states, files, std::move(document), settings);
}

Findings lint(const PluginFunctions& library, Repositories& sites, ProfileStates& states, DescriptorFiles& files,
              const fs::path& path, const Settings& settings) {
  const auto inputs = read_inputs(library, sites, states, files, path, settings.add_variables);
  return findings_in(inputs, with_configuration(settings, path));
}

Findings lint_session(const PluginFunctions& library, Repositories& sites, ProfileStates& states, DescriptorFiles& files,
                      std::shared_ptr<const JsonDocument> document, const Settings& settings) {
  const fs::path file = document->file();
  const auto inputs = read_session_input(library, sites, states, files, std::move(document), settings.add_variables);
  Findings findings = findings_in(inputs, with_configuration(settings, file));
  if (std::error_code error; fs::is_directory(file, error)) locate_as_a_whole(findings, file.string());
  return findings;
}

}  // namespace eclipse_lint
