#include "lint/suppression.h"

#include <charconv>
#include <string_view>
#include <system_error>

#include "base/file.h"
#include "base/text.h"
#include "lint/rule.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

bool ends_with_path(const fs::path& path, const fs::path& end) {
  const std::string whole = path.lexically_normal().string();
  const std::string part = end.lexically_normal().string();
  return whole == part || whole.ends_with("/" + part);
}

/// Whether a path is that of the other or leads to something below it. Both are absolute.
bool is_at_or_below(const fs::path& path, const fs::path& other) {
  const fs::path relative = path.lexically_normal().lexically_relative(other.lexically_normal());
  return !relative.empty() && *relative.begin() != "..";
}

bool is_in(const std::string& file, const fs::path& wanted) {
  return wanted.is_absolute() ? is_at_or_below(absolute_path(file), wanted) : ends_with_path(file, wanted);
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

Suppression read_suppression(const JsonElement& element, const JsonDocument& document) {
  Suppression entry;
  element.read_object({{"rule", Presence::required,
                        [&](const JsonElement& rule) {
                          entry.rule = rule.text();
                          if (find_rule(entry.rule) == nullptr) rule.fail(unknown_rule(entry.rule));
                        }},
                       {"file", Presence::optional, [&](const JsonElement& file) { entry.file = file.text(); }},
                       {"line", Presence::optional, [&](const JsonElement& line) { entry.line = line_number(line, document); }},
                       {"reason", Presence::required, [&](const JsonElement& reason) {
                          entry.reason = reason.text();
                          if (trimmed(entry.reason).empty()) reason.fail("is empty; write why the finding is acceptable");
                        }}});
  entry.location = document.file().string() + ":" + std::to_string(element.location().line);
  return entry;
}

}  // namespace

bool applies(const Suppression& entry, const Finding& finding) {
  if (entry.rule != finding.rule->name) return false;
  if (entry.line && *entry.line != finding.location.line) return false;
  return !entry.file || is_in(finding.location.file, *entry.file);
}

std::vector<Suppression> suppressions_in(const JsonElement& list, const JsonDocument& document) {
  std::vector<Suppression> suppressions;
  list.read_items([&](const JsonElement& element) { suppressions.push_back(read_suppression(element, document)); });
  return suppressions;
}

std::vector<Suppression> read_suppressions(const fs::path& file) {
  const JsonDocument document(file);
  return suppressions_in(document.root(), document);
}

}  // namespace eclipse_lint
