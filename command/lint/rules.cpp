#include <algorithm>
#include <iterator>

#include "base/json_document.h"
#include "lint/rule.h"
#include "lint/texts.h"

namespace eclipse_lint {

std::string_view name_of(Severity severity) {
  switch (severity) {
    case Severity::note:
      return "note";
    case Severity::warning:
      return "warning";
    case Severity::error:
      return "error";
  }
  return "";
}

std::optional<Severity> severity_called(std::string_view name) {
  for (const Severity severity : {Severity::note, Severity::warning, Severity::error}) {
    if (name == name_of(severity)) return severity;
  }
  return std::nullopt;
}

void Reporter::report(Location location, std::string message) {
  report(std::move(location), std::move(message), std::string(rule_.fix));
}

void Reporter::report(Location location, std::string message, std::string fix) {
  report(rule_.severity, std::move(location), std::move(message), std::move(fix));
}

void Reporter::report(Severity severity, Location location, std::string message, std::string fix) {
  findings_.push_back({&rule_, severity, std::move(location), std::move(message), std::move(fix), std::nullopt});
}

const std::vector<Rule>& rules() {
  static const std::vector<Rule> all = [] {
    std::vector<Rule> rules;
    for (const auto& chapter : {rules_for_files(), rules_for_lines(), rules_for_repositories(), rules_for_features(),
                                rules_for_orders(), rules_for_eclipse_choice(), rules_for_sessions(), rules_for_removals()}) {
      rules.insert(rules.end(), chapter.begin(), chapter.end());
    }
    return rules;
  }();
  return all;
}

const Rule* find_rule(std::string_view name) {
  const auto found = std::find_if(rules().begin(), rules().end(), [&](const Rule& rule) { return rule.name == name; });
  return found == rules().end() ? nullptr : &*found;
}

std::string no_rule_called(std::string_view name) {
  const Rule& nearest = *std::min_element(rules().begin(), rules().end(), [&](const Rule& one, const Rule& other) {
    return distance(name, one.name) < distance(name, other.name);
  });
  const std::string message = "there is no rule " + eclipse_base::in_quotes(name);
  if (distance(name, nearest.name) > nearest.name.size() / 3) return message + "; \"eclipse-int explain\" lists them all";
  return message + "; did you mean " + eclipse_base::in_quotes(nearest.name) + "?";
}

}  // namespace eclipse_lint
