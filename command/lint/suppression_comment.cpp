#include "lint/suppression_comment.h"

#include <algorithm>
#include <map>

#include "base/text.h"
#include "lint/rule.h"

using namespace eclipse_base;

namespace eclipse_lint {

namespace {

/// Removes what the text begins with, and the spaces after that.
bool remove_beginning(std::string_view& text, std::string_view beginning) {
  if (!text.starts_with(beginning)) return false;
  text.remove_prefix(beginning.size());
  text = trimmed(text);
  return true;
}

bool concerns(const SuppressionComment& suppression, std::size_t line, const Finding& finding) {
  const bool is_there = suppression.is_for_file || finding.location.line == line + 1;
  const auto& rules = suppression.rules;
  return is_there && std::find(rules.begin(), rules.end(), finding.rule->name) != rules.end();
}

}  // namespace

std::optional<SuppressionComment> suppression_in(const Line& line) {
  std::string_view text = trimmed(line.text);
  if (line.text.find('\t') != line.text.npos || !remove_beginning(text, "#") || !remove_beginning(text, "eclipse-int:")) {
    return std::nullopt;
  }
  SuppressionComment suppression;
  suppression.is_for_file = remove_beginning(text, "disable-file=");
  suppression.is_understood = suppression.is_for_file || remove_beginning(text, "disable-next-line=");
  if (!suppression.is_understood) return suppression;
  const std::string_view names = text.substr(0, text.find(' '));
  suppression.rules = split(names, ',');
  suppression.reason = trimmed(text.substr(names.size()));
  if (suppression.reason.empty()) suppression.reason = "suppressed by a comment";
  return suppression;
}

void suppress(const std::deque<Descriptor>& descriptors, Findings& findings) {
  std::map<std::string_view, std::vector<Finding*>> by_file;
  for (Finding& finding : findings) by_file[finding.location.file].push_back(&finding);
  for (const Descriptor& descriptor : descriptors) {
    const auto found = by_file.find(descriptor.file);
    if (found == by_file.end()) continue;
    for (const Line& line : descriptor.lines) {
      const auto suppression = suppression_in(line);
      if (!suppression) continue;
      for (Finding* const finding : found->second) {
        if (finding->reason || !concerns(*suppression, line.number, *finding)) continue;
        finding->reason = suppression->reason;
        finding->is_suppressed_in_file = true;
      }
    }
  }
}

}  // namespace eclipse_lint
