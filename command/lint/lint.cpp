#include "lint/lint.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <tuple>

#include "base/json_document.h"
#include "lint/input.h"
#include "lint/json_locations.h"
#include "lint/rule.h"

using namespace eclipse_base;
using namespace eclipse_p2;
using namespace eclipse_dry_run;

namespace fs = std::filesystem;
using namespace eclipse_host;

namespace eclipse_lint {

namespace {

/// By location, at one place in the order of the rules. Two that are equal in all of this say the same.
auto key_of(const Finding& finding) {
  const Location& location = finding.location;
  return std::tie(location.file, location.line, location.column, finding.rule, finding.message);
}

bool comes_before(const Finding& one, const Finding& other) { return key_of(one) < key_of(other); }

bool says_the_same(const Finding& one, const Finding& other) { return key_of(one) == key_of(other); }

bool ends_with_path(const fs::path& path, const fs::path& end) {
  const std::string whole = path.lexically_normal().string();
  const std::string part = end.lexically_normal().string();
  return whole == part || whole.ends_with("/" + part);
}

/// The document's values do not keep numbers, so they are read where they stand.
std::size_t line_number(const JsonElement& element, std::string_view text) {
  std::size_t number = 0;
  const char* const start = text.data() + element.offset();
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(start, end, number);
  const bool has_more = read.ptr != end && (*read.ptr == '.' || *read.ptr == 'e' || *read.ptr == 'E');
  if (read.ec != std::errc() || number == 0 || has_more) element.fault("is no line number; write a whole number from 1");
  return number;
}

Override read_override(const JsonElement& element, const std::string& text) {
  element.allow_keys({"rule", "file", "line", "reason"});
  Override entry;
  const JsonElement rule = element.get("rule");
  entry.rule = rule.text();
  if (find_rule(entry.rule) == nullptr) rule.fault(no_rule_called(entry.rule));
  if (const auto file = element.find("file")) entry.file = file->text();
  if (const auto line = element.find("line")) entry.line = line_number(*line, text);
  const JsonElement reason = element.get("reason");
  entry.reason = reason.text();
  if (entry.reason.find_first_not_of(" \t\r\n") == std::string::npos)
    reason.fault("is empty; say why the finding is right as it is");
  return entry;
}

void check(const Input& input, const Settings& settings, Findings& findings) {
  for (const Rule& rule : rules()) {
    if (settings.disabled.count(std::string(rule.name)) != 0) continue;
    if (input.is_removal() && !rule.concerns_removals) continue;
    Reporter reporter(rule, findings);
    rule.check(input, reporter);
  }
  if (!input.session) return;
  for (Finding& finding : findings) {
    const bool stands_in_session = finding.location.file == input.session->mode.file && finding.location.line != 0;
    if (stands_in_session) finding.location.text = input.session->places.line(finding.location.line);
  }
}

/// Leaves out what is said in lines or files of which another finding says all.
void leave_out_covered(Findings& findings) {
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

}  // namespace

bool applies(const Override& entry, const Finding& finding) {
  if (entry.rule != finding.rule->name) return false;
  if (entry.file && !ends_with_path(finding.location.file, *entry.file)) return false;
  return !entry.line || *entry.line == finding.location.line;
}

std::vector<Override> read_overrides(const fs::path& file) {
  const JsonDocument document(file);
  std::ostringstream content;
  content << std::ifstream(file, std::ios::binary).rdbuf();
  const std::string text = std::move(content).str();
  const JsonLocations locations(file.string(), text);
  std::vector<Override> overrides;
  for (const JsonElement& element : document.root().items()) {
    overrides.push_back(read_override(element, text));
    overrides.back().location = file.string() + ":" + std::to_string(locations.location(element.offset()).line);
  }
  return overrides;
}

Findings lint(const Library& library, Sites& sites, const fs::path& path, const Settings& settings) {
  Findings findings;
  for (const auto& input : read_inputs(library, sites, path)) check(*input, settings, findings);
  leave_out_covered(findings);
  std::sort(findings.begin(), findings.end(), comes_before);
  // A file that is listed twice is read twice.
  findings.erase(std::unique(findings.begin(), findings.end(), says_the_same), findings.end());
  for (Finding& finding : findings) {
    const auto entry = std::find_if(settings.overrides.begin(), settings.overrides.end(),
                                    [&](const Override& each) { return applies(each, finding); });
    if (entry != settings.overrides.end()) finding.reason = entry->reason;
  }
  return findings;
}

}  // namespace eclipse_lint
