#include "report/history_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/text.h"
#include "report/json_parts.h"
#include "report/state_report.h"
#include "report/verification_json.h"

using namespace eclipse_base;
using namespace eclipse_p2;
using namespace eclipse_instance;

namespace eclipse_report {

namespace {

std::string line(const std::string& indent, const char* sign, const std::string& text) {
  return indent + sign + " " + printable(text) + "\n";
}

std::string shown(const Unit& unit) { return unit.id + " " + unit.version; }

/// Takes from the units the one with this id, if there is exactly one.
std::optional<Unit> taken(std::vector<Unit>& units, const std::string& id) {
  const auto is_it = [&](const Unit& unit) { return unit.id == id; };
  if (std::count_if(units.begin(), units.end(), is_it) != 1) return std::nullopt;
  const auto found = std::find_if(units.begin(), units.end(), is_it);
  const Unit unit = *found;
  units.erase(found);
  return unit;
}

std::string others_text(const UnitChange& change, const std::string& indent) {
  std::vector<std::string> parts;
  if (change.others_installed > 0) parts.push_back("+ " + counted(change.others_installed, "other unit"));
  if (change.others_removed > 0) parts.push_back("- " + counted(change.others_removed, "other unit"));
  return parts.empty() ? "" : indent + joined(parts, ", ") + "\n";
}

std::string about(const HistoricState& historic) {
  std::string text = "  " + state_text(historic.state, historic.unit_count);
  if (historic.run != nullptr)
    text += ", by " + printable(historic.run->command) + (historic.run->is_completed ? "" : " (not completed)");
  return text + "\n";
}

Json historic_json(const HistoricState& historic) {
  Json json = state_json(historic.state, historic.unit_count);
  json["run"] = historic.run != nullptr ? recorded_run_json(*historic.run) : Json();
  json["change"] = historic.change ? change_json(*historic.change) : Json();
  return json;
}

}  // namespace

std::string change_text(const UnitChange& change, const std::string& indent) {
  if (change.is_empty()) return indent + "no change\n";
  std::string text;
  std::vector<Unit> removed = change.removed;
  for (const Unit& unit : change.installed) {
    const auto replaced = taken(removed, unit.id);
    text += replaced ? line(indent, "~", unit.id + " " + replaced->version + " -> " + unit.version)
                     : line(indent, "+", shown(unit));
  }
  for (const Unit& unit : removed) text += line(indent, "-", shown(unit));
  for (const Unit& unit : change.now_by_name) text += line(indent, "+", shown(unit) + " by name (before: as a requirement)");
  for (const Unit& unit : change.no_longer_by_name)
    text += line(indent, "-", shown(unit) + " by name (stays as a requirement)");
  return text + others_text(change, indent);
}

Json change_json(const UnitChange& change) {
  Json json;
  add_named_units(json, change);
  json["otherUnitsInstalled"] = change.others_installed;
  json["otherUnitsRemoved"] = change.others_removed;
  return json;
}

Json recorded_run_json(const RecordedRun& run) {
  return {{"command", run.command},
          {"before", run.before},
          {"after", run.after},
          {"completed", run.is_completed},
          {"revertedTo", text_or_null(run.reverted_to)}};
}

std::string history_text(const History& history) {
  std::string text = "Eclipse " + printable(history.executable) + "\n";
  if (!history.journal.error.empty()) text += "  It is unknown which runs made the states: " + history.journal.error + "\n";
  for (const HistoricState& historic : history.states) {
    text += about(historic);
    if (historic.change) text += change_text(*historic.change, "    ");
  }
  return text;
}

void print_history(const History& history) {
  Json states = Json::array();
  for (const HistoricState& historic : history.states) states.push_back(historic_json(historic));
  Json json = {{"executable", history.executable}, {"states", states}, {"error", text_or_null(history.journal.error)}};
  add_damage(json, history.damage);
  print_json(json);
}

}  // namespace eclipse_report
