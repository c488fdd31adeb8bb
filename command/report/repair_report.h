// What "repair" found and did, as text and as JSON.
#ifndef ECLIPSE_INT_REPORT_REPAIR_REPORT_H
#define ECLIPSE_INT_REPORT_REPAIR_REPORT_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "instance/damage.h"
#include "instance/repair.h"
#include "p2/unit.h"

namespace eclipse_report {

struct Repair {
  struct Renaming {
    std::filesystem::path from;
    std::filesystem::path to;  ///< empty in a dry run
  };

  std::string executable;
  bool is_dry_run = false;
  std::vector<eclipse_p2::ProfileState> states;  ///< newest first, as they were found; not all have their units
  std::vector<std::size_t> unit_counts;          ///< of each of them
  std::vector<Renaming> renamed;
  std::vector<eclipse_instance::RevertedState> reverted;
  std::optional<eclipse_p2::ConfigurationDamage> configuration;
  std::vector<std::filesystem::path> restored;             ///< of the configuration
  std::vector<eclipse_p2::Unit> orphaned_bundles;          ///< that no state has any more, and the instance still starts
  std::optional<eclipse_instance::InstanceDamage> damage;  ///< that is left
  std::optional<eclipse_instance::LostUnits> lost;         ///< by the newest state that is left
  std::optional<std::vector<eclipse_p2::Unit>> roots;      ///< of the instance, when it was asked and has answered
  std::string error;                                       ///< why the repair failed, or the instance did not answer
};

std::string repair_text(const Repair& repair);

/// Prints the document, whose form is that of schema/repair-result.schema.json.
void print_repair(const Repair& repair, int exit_status);

}  // namespace eclipse_report

#endif
