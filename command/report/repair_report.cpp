#include "report/repair_report.h"

#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/text.h"
#include "report/history_report.h"
#include "report/json_parts.h"
#include "report/state_report.h"
#include "report/verification_json.h"

using namespace eclipse_base;
using namespace eclipse_p2;
using namespace eclipse_instance;

namespace eclipse_report {

namespace {

using Json = nlohmann::ordered_json;

std::string text_of(const LostUnits& lost, const std::string& executable) {
  return "  Warning: the newest state that can be read " + lost.text() +
         "\n    Fix: " + repair_command(executable, lost.time_before) + "\n";
}

std::string taken_back_text(const Repair& repair) {
  std::string text;
  for (const StateTakenBack& state : repair.taken_back) {
    text += std::string(repair.is_dry_run || repair.moves.empty() ? "  Would be taken back: " : "  Taken back: ") +
            dated(state.time) + ", " + (state.run ? "made by " + printable(state.run->command) : "not made by a recorded run") +
            "\n" + change_text(state.change, "    ");
  }
  return text;
}

std::string moves_text(const Repair& repair) {
  std::string text;
  for (const Repair::Move& move : repair.moves) {
    text += repair.is_dry_run ? "  Would move aside: " + printable(move.from.string()) + "\n"
                              : "  Moved aside: " + printable(move.to.string()) + "\n";
  }
  for (const auto& file : repair.brought_back) {
    text += (repair.is_dry_run ? "  Would bring back: " : "  Brought back: ") + printable(file.string()) + "\n";
  }
  return text.empty() && repair.error.empty() ? "  Nothing to move aside.\n" : text;
}

std::string bundles_text(const Repair& repair) {
  if (repair.bundles_left.empty()) return "";
  return "  Warning: bundles.info still lists " + printable(first_few(texts_of(repair.bundles_left))) +
         ", which only the states " + (repair.is_dry_run ? "to be moved" : "moved") +
         " aside contain, so Eclipse keeps starting bundles that no director can remove\n    Fix: " +
         (repair.is_dry_run ? "" : "rename the states back, and ") + removal_of_surplus + "\n";
}

Json configuration_json(const ConfigurationDamage& damage) { return {{"file", damage.file.string()}, {"error", damage.error}}; }

Json taken_back_json(const std::vector<StateTakenBack>& states) {
  Json list = Json::array();
  for (const StateTakenBack& state : states) {
    list.push_back({{"time", state.time},
                    {"run", state.run ? recorded_run_json(*state.run) : Json()},
                    {"change", change_json(state.change)}});
  }
  return list;
}

Json lost_json(const LostUnits& lost) {
  return {{"units", lost.units}, {"before", lost.before}, {"bundles", lost.bundles}, {"goBackTo", lost.time_before}};
}

}  // namespace

std::string repair_text(const Repair& repair) {
  std::string text = "Eclipse " + printable(repair.executable) + "\n";
  if (!repair.states.empty()) text += "  Newest states of its p2 profile:\n";
  for (std::size_t i = 0; i < repair.states.size(); ++i) {
    text += "    " + state_text(repair.states[i], repair.unit_counts[i]) + "\n";
  }
  if (repair.configuration) {
    text += "  Damaged: " + printable(repair.configuration->file.string()) + " " + repair.configuration->error + "\n";
  }
  text += taken_back_text(repair);
  text += moves_text(repair);
  text += bundles_text(repair);
  if (repair.lost) text += text_of(*repair.lost, repair.executable);
  if (repair.damage) text += "  Still damaged: " + repair.damage->message + "\n    Fix: " + repair.damage->fix + "\n";
  if (!repair.error.empty()) text += "  Error: " + repair.error + "\n";
  if (!repair.roots) return text;
  text += "  The director answers. Installed by name:\n";
  for (const Unit& root : *repair.roots) text += "    " + printable(eclipse_p2::text_of(root)) + "\n";
  return text;
}

void print_repair(const Repair& repair, int exit_status) {
  Json states = Json::array();
  for (std::size_t i = 0; i < repair.states.size(); ++i) {
    states.push_back(state_json(repair.states[i], repair.unit_counts[i]));
  }
  Json moves = Json::array();
  for (const Repair::Move& move : repair.moves) {
    moves.push_back({{"from", move.from.string()}, {"to", move.to.empty() ? Json() : Json(move.to.string())}});
  }
  Json json = {{"executable", repair.executable},
               {"dryRun", repair.is_dry_run},
               {"states", states},
               {"moved", moves},
               {"takenBack", taken_back_json(repair.taken_back)},
               {"configuration", repair.configuration ? configuration_json(*repair.configuration) : Json()},
               {"broughtBack", paths_json(repair.brought_back)},
               {"bundlesLeft", texts_of(repair.bundles_left)},
               {"lostUnits", repair.lost ? lost_json(*repair.lost) : Json()},
               {"roots", repair.roots ? Json(texts_of(*repair.roots)) : Json()},
               {"error", text_or_null(repair.error)},
               {"exitStatus", exit_status}};
  add_damage(json, repair.damage);
  print_json(json);
}

}  // namespace eclipse_report
