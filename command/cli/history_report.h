// The states of a profile and what differs between them, as text and as JSON.
#ifndef ECLIPSE_INT_CLI_HISTORY_REPORT_H
#define ECLIPSE_INT_CLI_HISTORY_REPORT_H

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "p2/profile_history.h"
#include "p2/profile_repair.h"
#include "p2/unit_change.h"

namespace eclipse_cli {

struct History {
  std::string executable;
  eclipse_p2::RunJournal journal;
  std::vector<eclipse_p2::HistoricState> states;  ///< newest first
  std::optional<eclipse_p2::InstanceDamage> damage;
};

std::string history_text(const History& history);

/// Prints the document: executable; states: [{file, time, status, error, units, run: {command, before, after, wentBackTo} or
/// null, change or null}], newest first; error: why it is not known which runs made them, or null; damage
void print_history(const History& history);

/// A line for each root that came, went or has another version, behind the indent; and how many other units came and went.
std::string change_text(const eclipse_p2::UnitChange& change, const std::string& indent);

/// {cameIn: [unit], wentOut: [unit], nowByName: [unit], noLongerByName: [unit], otherUnitsIn, otherUnitsOut}
nlohmann::ordered_json change_json(const eclipse_p2::UnitChange& change);

/// {command, before, after, wentBackTo: text or null}
nlohmann::ordered_json recorded_run_json(const eclipse_p2::RecordedRun& run);

}  // namespace eclipse_cli

#endif
