#include "lint/lint.h"

#include <algorithm>
#include <charconv>
#include <tuple>

#include "base/json_document.h"
#include "lint/input.h"
#include "lint/rule.h"
#include "lint/suppression.h"

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

bool ends_with_path(const fs::path& path, const fs::path& end) {
  const std::string whole = path.lexically_normal().string();
  const std::string part = end.lexically_normal().string();
  return whole == part || whole.ends_with("/" + part);
}

/// The values of a document do not include numbers, so they are read from its text.
std::size_t line_number(const JsonElement& element, const JsonDocument& document) {
  const JsonLocation location = element.location();
  const std::string_view text = document.line(location.line).substr(location.column - 1, location.length);
  std::size_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || number == 0 || read.ptr != text.data() + text.size())
    element.fail("is not a line number; write a whole number from 1");
  return number;
}

Override read_override(const JsonElement& element, const JsonDocument& document) {
  element.allow_keys({"rule", "file", "line", "reason"});
  Override entry;
  const JsonElement rule = element.get("rule");
  entry.rule = rule.text();
  if (find_rule(entry.rule) == nullptr) rule.fail(unknown_rule(entry.rule));
  if (const auto file = element.find("file")) entry.file = file->text();
  if (const auto line = element.find("line")) entry.line = line_number(*line, document);
  const JsonElement reason = element.get("reason");
  entry.reason = reason.text();
  if (entry.reason.find_first_not_of(" \t\r\n") == std::string::npos)
    reason.fail("is empty; write why the finding is acceptable");
  return entry;
}

void check(const Input& input, const Settings& settings, Findings& findings) {
  for (const Rule& rule : rules()) {
    if (!is_enabled(rule, settings)) continue;
    if (input.is_removal() && !rule.concerns_removals) continue;
    Reporter reporter(rule, findings);
    rule.check(input, reporter);
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
    if (finding.rule->supersedes == Supersedes::line) lines.emplace(finding.location.file, finding.location.line);
  }
  std::erase_if(findings, [&](const Finding& finding) {
    const Supersedes supersedes = finding.rule->supersedes;
    if (supersedes != Supersedes::file && files.count(finding.location.file) != 0) return true;
    return supersedes == Supersedes::nothing && lines.count({finding.location.file, finding.location.line}) != 0;
  });
}

Findings findings_in(const std::vector<std::unique_ptr<Input>>& inputs, const Settings& settings) {
  Findings findings;
  for (const auto& input : inputs) check(*input, settings, findings);
  remove_superseded(findings);
  std::sort(findings.begin(), findings.end(), comes_before);
  // A file that is listed twice is read twice.
  findings.erase(std::unique(findings.begin(), findings.end(), are_duplicates), findings.end());
  for (const auto& input : inputs) suppress(input->descriptors, findings);
  for (Finding& finding : findings) {
    if (finding.reason) continue;
    const auto entry = std::find_if(settings.overrides.begin(), settings.overrides.end(),
                                    [&](const Override& each) { return applies(each, finding); });
    if (entry != settings.overrides.end()) finding.reason = entry->reason;
  }
  return findings;
}

}  // namespace

bool is_enabled(const Rule& rule, const Settings& settings) {
  const auto has = [&](const std::set<std::string>& names) {
    return names.contains(std::string(rule.name)) || names.contains(std::string(name_of(rule.group)));
  };
  return (settings.selected.empty() || has(settings.selected)) && !has(settings.disabled);
}

bool applies(const Override& entry, const Finding& finding) {
  if (entry.rule != finding.rule->name) return false;
  if (entry.file && !ends_with_path(finding.location.file, *entry.file)) return false;
  return !entry.line || *entry.line == finding.location.line;
}

std::vector<Override> read_overrides(const fs::path& file) {
  const JsonDocument document(file);
  std::vector<Override> overrides;
  for (const JsonElement& element : document.root().items()) {
    overrides.push_back(read_override(element, document));
    overrides.back().location = file.string() + ":" + std::to_string(element.location().line);
  }
  return overrides;
}

Findings lint(const PluginFunctions& library, Repositories& sites, const fs::path& path, const Settings& settings) {
  DescriptorFiles files;
  return lint(library, sites, files, path, settings);
}

Findings lint_session(const PluginFunctions& library, Repositories& sites, std::shared_ptr<const JsonDocument> document,
                      const Settings& settings) {
  DescriptorFiles files;
  return lint_session(library, sites, files, std::move(document), settings);
}

Findings lint(const PluginFunctions& library, Repositories& sites, DescriptorFiles& files, const fs::path& path,
              const Settings& settings) {
  return findings_in(read_inputs(library, sites, files, path, settings.add_variables), settings);
}

Findings lint_session(const PluginFunctions& library, Repositories& sites, DescriptorFiles& files,
                      std::shared_ptr<const JsonDocument> document, const Settings& settings) {
  return findings_in(read_session_input(library, sites, files, std::move(document), settings.add_variables), settings);
}

}  // namespace eclipse_lint
