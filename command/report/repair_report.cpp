#include "report/repair_report.h"

#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/text.h"
#include "p2/configuration_files.h"
#include "report/history_report.h"
#include "report/json_parts.h"
#include "report/state_report.h"
#include "report/verification_json.h"

using namespace eclipse_base;
using namespace eclipse_p2;
using namespace eclipse_instance;

namespace eclipse_report {

namespace {

std::string text_of(const LostUnits& lost, const std::string& executable) {
  return "  Warning: the newest readable state " + lost.text() + "\n    Fix: " + repair_command(executable, lost.time_before) +
         "\n";
}

std::string reverted_text(const Repair& repair) {
  std::string text;
  for (const RevertedState& state : repair.reverted) {
    text += std::string(repair.is_dry_run || repair.renamed.empty() ? "  Would revert " : "  Reverted ") + dated(state.time) +
            ", " + (state.run ? "made by " + printable(state.run->command) : made_outside) + ", which changed:\n" +
            change_text(state.change, "    ");
  }
  return text;
}

std::string files_text(const Repair& repair) {
  std::string text;
  for (const Repair::Renaming& file : repair.renamed) {
    text += repair.is_dry_run
                ? "  Would rename: " + printable(file.from.string()) + "\n"
                : "  Renamed: " + printable(file.from.string()) + " to " + printable(file.to.filename().string()) + "\n";
  }
  for (const auto& file : repair.restored) {
    text += (repair.is_dry_run ? "  Would restore: " : "  Restored: ") + printable(file.string()) + "\n";
  }
  const bool is_sound =
      text.empty() && repair.error.empty() && !repair.damage && !repair.lost && repair.orphaned_bundles.empty();
  return is_sound ? "  Nothing to repair.\n" : text;
}

std::string bundles_text(const Repair& repair) {
  if (repair.orphaned_bundles.empty()) return "";
  return "  Warning: bundles.info still lists " + printable(first_few(texts_of(repair.orphaned_bundles))) +
         ", which no state contains " + (repair.is_dry_run ? "after that" : "any more") + ", " + consequence::bundles_stay +
         "\n    Fix: " + (repair.is_dry_run ? "" : return_of_states) + removal_of_surplus + "\n";
}

Json configuration_json(const ConfigurationDamage& damage) { return {{"file", damage.file.string()}, {"error", damage.error}}; }

Json reverted_json(const std::vector<RevertedState>& states) {
  Json list = Json::array();
  for (const RevertedState& state : states) {
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
  text += reverted_text(repair);
  text += files_text(repair);
  text += bundles_text(repair);
  if (repair.lost) text += text_of(*repair.lost, repair.executable);
  if (repair.damage) text += "  Still damaged: " + repair.damage->message + "\n    Fix: " + repair.damage->fix + "\n";
  if (!repair.error.empty()) text += "  Error: " + repair.error + "\n";
  if (!repair.roots) return text;
  text += "  The director starts. Installed by name:\n";
  for (const Unit& root : *repair.roots) text += "    " + printable(eclipse_p2::text_of(root)) + "\n";
  return text;
}

void print_repair(const Repair& repair, int exit_status) {
  Json states = Json::array();
  for (std::size_t i = 0; i < repair.states.size(); ++i) {
    states.push_back(state_json(repair.states[i], repair.unit_counts[i]));
  }
  Json renamed = Json::array();
  for (const Repair::Renaming& file : repair.renamed) {
    renamed.push_back({{"from", file.from.string()}, {"to", file.to.empty() ? Json() : Json(file.to.string())}});
  }
  Json json = {{"executable", repair.executable},
               {"dryRun", repair.is_dry_run},
               {"states", states},
               {"renamed", renamed},
               {"reverted", reverted_json(repair.reverted)},
               {"configuration", repair.configuration ? configuration_json(*repair.configuration) : Json()},
               {"restored", paths_json(repair.restored)},
               {"orphanedBundles", texts_of(repair.orphaned_bundles)},
               {"lostUnits", repair.lost ? lost_json(*repair.lost) : Json()},
               {"roots", repair.roots ? Json(texts_of(*repair.roots)) : Json()},
               {"error", text_or_null(repair.error)},
               {"exitStatus", exit_status}};
  add_damage(json, repair.damage);
  print_json(json);
}

}  // namespace eclipse_report
