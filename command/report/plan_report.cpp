#include "report/plan_report.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/text.h"
#include "lint/rule.h"
#include "report/json_parts.h"
#include "report/plan_json.h"
#include "report/plan_text.h"
#include "report/resolution_json.h"
#include "report/resolution_text.h"
#include "report/update_json.h"
#include "shell/command_runner.h"

using namespace eclipse_base;
using eclipse_lint::Severity;

namespace eclipse_report {

namespace {

constexpr std::array severities = {Severity::error, Severity::warning, Severity::note};

std::size_t count_of(const PlanReport& report, Severity severity) {
  const auto count = report.lint.counts.find(severity);
  return count == report.lint.counts.end() ? 0 : count->second;
}

/// Why a run may fail although all looks good.
std::vector<std::string> limits_of(const PlanReport& report) {
  const auto is_installed = [](const eclipse_preview::PreviewedFeature& feature) {
    return feature.change == eclipse_preview::Change::add || feature.change == eclipse_preview::Change::other_version;
  };
  if (report.resolution || !report.preview || report.is_failure()) return {};
  if (std::ranges::none_of(report.preview->features, is_installed)) return {};
  return {"whether everything that the features require can be installed; --resolve asks the director"};
}

std::string limits_text(const PlanReport& report) {
  std::string text;
  for (const std::string& limit : limits_of(report)) text += "\nNot checked: " + limit + "\n";
  return text;
}

/// "FILE:LINE", or "FILE" for the file as a whole.
std::string place_of(const eclipse_lint::Location& location) {
  return location.file + (location.line == 0 ? "" : ":" + std::to_string(location.line));
}

/// Whether the preview gives an error as the reason of a feature's failure.
bool is_shown(const eclipse_lint::Finding& error, const std::optional<eclipse_preview::Preview>& preview) {
  return preview && !error.failing.empty() &&
         std::ranges::any_of(preview->features, [&](const auto& feature) { return feature.remark == error.message; });
}

/// One line for each: it says which line of which file fails, since the others may well go in.
std::string errors_text(const PlanReport& report) {
  constexpr std::size_t most_shown = 10;
  std::string text;
  std::size_t count = 0;
  for (const eclipse_lint::Finding& finding : report.lint.errors) {
    if (is_shown(finding, report.preview) || ++count > most_shown) continue;
    text += "  " + printable(place_of(finding.location)) + ": " + printable(finding.message) + "\n";
  }
  return text + (count > most_shown ? "  and " + std::to_string(count - most_shown) + " more\n" : "");
}

std::string lint_text(const PlanReport& report, const std::string& file) {
  std::vector<std::string> counts;
  for (const Severity severity : severities) {
    const std::size_t count = count_of(report, severity);
    if (count > 0) counts.push_back(counted(count, name_of(severity)));
  }
  if (counts.empty()) return "\nlint: no findings\n";
  return "\nlint: " + joined(counts) + " (eclipse-int lint " + printable(file) + " shows them)\n" + errors_text(report);
}

std::string update_text(const PlanReport& report) {
  if (!report.refusal.empty()) return "\nThe run would be refused\n  " + printable(report.refusal) + "\n";
  if (report.update_command.empty()) return "";
  return "\nCommand of the update, before all others\n  " +
         printable(report.update_command, {.longest = eclipse_shell::longest_command}) + "\n";
}

}  // namespace

bool PlanReport::is_failure() const {
  const auto will_fail = [](const eclipse_preview::PreviewedFeature& feature) {
    return feature.change == eclipse_preview::Change::fail;
  };
  const bool is_refused = !plan.refusal.empty() || !refusal.empty();
  const bool a_feature_fails = preview && std::ranges::any_of(preview->features, will_fail);
  const bool does_not_resolve = resolution && resolution->fails();
  const bool lint_has_errors = integrates && !lint.errors.empty();
  return is_refused || damage || a_feature_fails || does_not_resolve || lint_has_errors;
}

std::string plan_report_text(const PlanReport& report, const std::string& session_file, bool is_verbose) {
  std::string text =
      (is_verbose ? detailed_plan_text : plan_text)(report.plan, report.preview, session_file) + update_text(report);
  if (report.resolution) {
    text += "\nResolution (the director was asked, and changed nothing)\n" + resolution_text(*report.resolution);
  }
  return text + limits_text(report) + lint_text(report, session_file);
}

void print_plan(const PlanReport& report) {
  Json json = plan_json(report.plan, report.preview);
  for (const Severity severity : severities) json["lint"][std::string(name_of(severity))] = count_of(report, severity);
  for (const auto& finding : report.lint.errors) {
    json["lintErrors"].push_back(Json{
        {"rule", std::string(finding.rule->name)}, {"location", place_of(finding.location)}, {"message", finding.message}});
  }
  if (const auto limits = limits_of(report); !limits.empty()) json["limits"] = limits;
  if (report.resolution) json["resolution"] = resolution_json(*report.resolution);
  if (!report.replacements.empty()) {
    json["update"] = update_json(report.replacements, report.update_command);
    json["update"]["refusal"] = report.refusal.empty() ? Json() : Json(report.refusal);
  }
  add_damage(json, report.damage);
  print_json(json);
}

}  // namespace eclipse_report
