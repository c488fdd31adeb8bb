// All that "plan" found, as text and as JSON.
#ifndef ECLIPSE_INT_REPORT_PLAN_REPORT_H
#define ECLIPSE_INT_REPORT_PLAN_REPORT_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "instance/damage.h"
#include "lint/finding.h"
#include "plan/plan.h"
#include "preview/preview.h"
#include "resolve/resolution.h"
#include "update/update.h"

namespace eclipse_report {

/// What lint says of a session.
struct LintSummary {
  std::map<eclipse_lint::Severity, std::size_t> counts;
  eclipse_lint::Findings errors;
};

struct PlanReport {
  bool integrates = true;  ///< otherwise the session declines it, and its run does nothing
  eclipse_plan::Plan plan;
  std::optional<eclipse_preview::Preview> preview;
  LintSummary lint;
  std::optional<eclipse_resolve::Resolution> resolution;
  std::optional<eclipse_instance::InstanceDamage> damage;
  std::vector<eclipse_update::Replacement> replacements;
  std::string refusal;         ///< of the run, because of these
  std::string update_command;  ///< that replaces them; empty when none is run

  /// By the update, if one is run.
  eclipse_p2::UnitReplacement replaced_units() const {
    return update_command.empty() ? eclipse_p2::UnitReplacement() : eclipse_update::units_in(replacements);
  }

  /// Whether the run would be refused, or something that the plan shows would fail or not be as it shows.
  bool is_failure() const;
};

/// For people; all of the plan, or what they ask first.
std::string plan_report_text(const PlanReport& report, const std::string& session_file, bool is_verbose);

/// Prints the document, whose form is that of schema/plan-result.schema.json.
void print_plan(const PlanReport& report);

}  // namespace eclipse_report

#endif
