#include "cli/repair_report.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/text.h"
#include "cli/run_json.h"
#include "cli/verification_json.h"

using namespace eclipse_base;
using namespace eclipse_p2;

namespace eclipse_cli {

namespace {

using Json = nlohmann::ordered_json;

/// In universal time.
std::string date_of(const std::string& milliseconds) {
  const std::time_t seconds = std::strtoll(milliseconds.c_str(), nullptr, 10) / 1000;
  std::tm parts{};
  std::array<char, 64> text{};
  if (gmtime_r(&seconds, &parts) == nullptr) return "unknown date";
  return std::string(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &parts));
}

std::size_t units_in(const ProfileState& state) { return state.units ? state.units->size() : 0; }

std::string text_of(const ProfileState& state) {
  return state.time + " (" + date_of(state.time) +
         "): " + (state.error.empty() ? counted(units_in(state), "unit") : state.error);
}

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

const char* status_of(const ProfileState& state) {
  if (state.error.empty()) return "readable";
  return state.is_damaged ? "damaged" : "unknown";
}

Json state_json(const ProfileState& state) {
  return {{"file", state.file.string()},
          {"time", state.time},
          {"status", status_of(state)},
          {"error", state.error.empty() ? Json() : Json(state.error)},
          {"units", state.error.empty() ? Json(units_in(state)) : Json()}};
}

Json lost_json(const LostUnits& lost) {
  return {{"units", lost.units}, {"before", lost.before}, {"bundles", lost.bundles}, {"goBackTo", lost.time_before}};
}

}  // namespace

std::string repair_text(const Repair& repair) {
  std::string text = "Eclipse " + printable(repair.executable) + "\n";
  text += repair.states.empty() ? "  No state of its p2 profile was found.\n" : "  Newest states of its p2 profile:\n";
  for (const ProfileState& state : repair.states) text += "    " + text_of(state) + "\n";
  text += moves_text(repair);
  if (repair.lost) text += text_of(*repair.lost, repair.executable);
  if (!repair.error.empty()) text += "  Error: " + repair.error + "\n";
  if (!repair.roots) return text;
  text += "  The Eclipse answers. Installed by name:\n";
  for (const Unit& root : *repair.roots) text += "    " + printable(eclipse_p2::text_of(root)) + "\n";
  return text;
}

void print_repair(const Repair& repair, int exit_status) {
  Json states = Json::array();
  for (const ProfileState& state : repair.states) states.push_back(state_json(state));
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
