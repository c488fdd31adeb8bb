// The states of a profile and what differs between them, as text and as JSON.
#ifndef ECLIPSE_INT_REPORT_HISTORY_REPORT_H
#define ECLIPSE_INT_REPORT_HISTORY_REPORT_H

#include <optional>
#include <string>
#include <vector>

#include "base/json_text.h"
#include "instance/damage.h"
#include "instance/profile_history.h"
#include "p2/unit_change.h"

namespace eclipse_report {

struct History {
  std::string executable;
  eclipse_instance::RunJournal journal;
  std::vector<eclipse_instance::HistoricState> states;  ///< newest first
  std::optional<eclipse_instance::InstanceDamage> damage;
};

std::string history_text(const History& history);

/// Prints the document, whose form is that of schema/history-result.schema.json.
void print_history(const History& history);

/// A line for each root that came, went or has another version, behind the indent; and how many other units came and went.
std::string change_text(const eclipse_p2::UnitChange& change, const std::string& indent);

/// As "change" in schema/history-result.schema.json.
eclipse_base::Json change_json(const eclipse_p2::UnitChange& change);

/// As "run" in schema/history-result.schema.json.
eclipse_base::Json recorded_run_json(const eclipse_instance::RecordedRun& run);

}  // namespace eclipse_report

#endif
