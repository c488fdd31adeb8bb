#include "lint/lint.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <sstream>
#include <tuple>

#include "base/json_document.h"
#include "lint/json_locations.h"
#include "lint/product.h"
#include "lint/rule.h"

using namespace eclipse_base;
using namespace eclipse_p2;
using namespace eclipse_dry_run;

namespace fs = std::filesystem;
using namespace eclipse_host;

namespace eclipse_lint {

namespace {

/// By place, at one place in the order of the rules. Two that are equal in all of this say the same.
auto key_of(const Finding& finding) {
  const Place& place = finding.place;
  return std::tie(place.file, place.line, place.column, finding.rule, finding.message);
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

void check(const Product& product, const Settings& settings, Findings& findings) {
  for (const Rule& rule : rules()) {
    if (settings.disabled.count(std::string(rule.name)) != 0) continue;
    if (product.is_removal() && !rule.concerns_removals) continue;
    Reporter reporter(rule, findings);
    rule.check(product, reporter);
  }
  if (!product.session) return;
  for (Finding& finding : findings) {
    const bool stands_in_session = finding.place.file == product.session->mode.file && finding.place.line != 0;
    if (stands_in_session) finding.place.text = product.session->places.line(finding.place.line);
  }
}

/// Leaves out what is said in lines or files of which another finding says all.
void leave_out_covered(Findings& findings) {
  std::set<std::pair<std::string, std::size_t>> lines;
  std::set<std::string> files;
  for (const Finding& finding : findings) {
    if (finding.rule->covers == Covers::file) files.insert(finding.place.file);
    if (finding.rule->covers == Covers::line) lines.emplace(finding.place.file, finding.place.line);
  }
  std::erase_if(findings, [&](const Finding& finding) {
    const Covers covers = finding.rule->covers;
    if (covers != Covers::file && files.count(finding.place.file) != 0) return true;
    return covers == Covers::place && lines.count({finding.place.file, finding.place.line}) != 0;
  });
}

}  // namespace

bool applies(const Override& entry, const Finding& finding) {
  if (entry.rule != finding.rule->name) return false;
  if (entry.file && !ends_with_path(finding.place.file, *entry.file)) return false;
  return !entry.line || *entry.line == finding.place.line;
}

std::vector<Override> read_overrides(const fs::path& file) {
  const JsonDocument document(file);
  std::ostringstream content;
  content << std::ifstream(file, std::ios::binary).rdbuf();
  const std::string text = std::move(content).str();
  const JsonPlaces places(file.string(), text);
  std::vector<Override> overrides;
  for (const JsonElement& element : document.root().items()) {
    overrides.push_back(read_override(element, text));
    overrides.back().place = file.string() + ":" + std::to_string(places.place(element.offset()).line);
  }
  return overrides;
}

Findings lint(const Library& library, Sites& sites, const fs::path& input, const Settings& settings) {
  Findings findings;
  for (const auto& product : read_products(library, sites, input)) check(*product, settings, findings);
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
