#include "cli/repair_report.h"

#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/text.h"
#include "cli/run_json.h"
#include "cli/state_report.h"
#include "cli/verification_json.h"

using namespace eclipse_base;
using namespace eclipse_p2;

namespace eclipse_cli {

namespace {

using Json = nlohmann::ordered_json;

std::size_t units_in(const ProfileState& state) { return state.units ? state.units->size() : 0; }

std::string text_of(const LostUnits& lost, const std::string& executable) {
  return "  Warning: the newest state that can be read " + lost.text() +
         "\n    Fix: " + repair_command(executable, lost.time_before) + "\n";
}

std::string moves_text(const Repair& repair) {
  std::string text;
  for (const Repair::Move& move : repair.moves) {
    text += repair.is_dry_run ? "  Would move aside: " + printable(move.from.string()) + "\n"
                              : "  Moved aside: " + printable(move.to.string()) + "\n";
  }
  return text.empty() && repair.error.empty() ? "  Nothing to move aside.\n" : text;
}

Json lost_json(const LostUnits& lost) {
  return {{"units", lost.units}, {"before", lost.before}, {"bundles", lost.bundles}, {"goBackTo", lost.time_before}};
}

}  // namespace

std::string repair_text(const Repair& repair) {
  std::string text = "Eclipse " + printable(repair.executable) + "\n";
  text += repair.states.empty() ? "  No state of its p2 profile was found.\n" : "  Newest states of its p2 profile:\n";
  for (const ProfileState& state : repair.states) text += "    " + state_text(state, units_in(state)) + "\n";
  text += moves_text(repair);
  if (repair.lost) text += text_of(*repair.lost, repair.executable);
  if (!repair.error.empty()) text += "  Error: " + repair.error + "\n";
  if (!repair.roots) return text;
  text += "  The director answers. Installed by name:\n";
  for (const Unit& root : *repair.roots) text += "    " + printable(eclipse_p2::text_of(root)) + "\n";
  return text;
}

void print_repair(const Repair& repair, int exit_status) {
  Json states = Json::array();
  for (const ProfileState& state : repair.states) states.push_back(state_json(state, units_in(state)));
  Json moves = Json::array();
  for (const Repair::Move& move : repair.moves) {
    moves.push_back({{"from", move.from.string()}, {"to", move.to.empty() ? Json() : Json(move.to.string())}});
  }
  print_json({{"executable", repair.executable},
              {"dryRun", repair.is_dry_run},
              {"states", states},
              {"moved", moves},
              {"lostUnits", repair.lost ? lost_json(*repair.lost) : Json()},
              {"roots", repair.roots ? Json(texts_of(*repair.roots)) : Json()},
              {"error", repair.error.empty() ? Json() : Json(repair.error)},
              {"exitStatus", exit_status}});
}

}  // namespace eclipse_cli
