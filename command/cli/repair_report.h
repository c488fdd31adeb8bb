// What "repair" found and did, as text and as JSON.
#ifndef ECLIPSE_INT_CLI_REPAIR_REPORT_H
#define ECLIPSE_INT_CLI_REPAIR_REPORT_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "p2/profile_repair.h"
#include "p2/unit.h"

namespace eclipse_cli {

struct Repair {
  struct Move {
    std::filesystem::path from;
    std::filesystem::path to;  ///< empty in a dry run
  };

  std::string executable;
  bool is_dry_run = false;
  std::vector<eclipse_p2::ProfileState> states;  ///< newest first, as they were found
  std::vector<Move> moves;
  std::optional<eclipse_p2::ConfigurationDamage> configuration;
  std::vector<std::filesystem::path> brought_back;     ///< of the configuration
  std::vector<eclipse_p2::Unit> bundles_left;          ///< that only the states moved aside have, and the instance still starts
  std::optional<eclipse_p2::InstanceDamage> damage;    ///< that is left
  std::optional<eclipse_p2::LostUnits> lost;           ///< by the newest state that is left
  std::optional<std::vector<eclipse_p2::Unit>> roots;  ///< of the instance, when it was asked and has answered
  std::string error;                                   ///< why the repair failed, or the instance did not answer
};

std::string repair_text(const Repair& repair);

/// Prints the document: executable; dryRun; states: [{file, time, status: "readable", "damaged" or "unknown", error, units}],
/// newest first; moved: [{from, to}], with null for `to` in a dry run; configuration: {file, error} or null;
/// broughtBack: [file]; bundlesLeft: [unit]; lostUnits: {units, before, bundles, goBackTo} or null;
/// roots: [unit], null when the instance did not answer or was not asked; error: why not, or null; exitStatus; damage
void print_repair(const Repair& repair, int exit_status);

}  // namespace eclipse_cli

#endif
