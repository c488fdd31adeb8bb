// What "undo" found and did, as text and as JSON.
#ifndef ECLIPSE_INT_REPORT_UNDO_REPORT_H
#define ECLIPSE_INT_REPORT_UNDO_REPORT_H

#include <optional>
#include <string>
#include <vector>

#include "instance/damage.h"
#include "instance/missing_artifacts.h"
#include "instance/profile_history.h"
#include "instance/reversion.h"
#include "p2/unit_change.h"

namespace eclipse_report {

struct Undo {
  /// A state that was made outside eclipse-int, and what it changed.
  struct OutsideChange {
    std::string time;
    eclipse_p2::UnitChange change;
  };

  std::string executable;
  bool is_dry_run = false;
  bool is_forced = false;
  eclipse_instance::RunJournal journal;
  std::string newest;  ///< the time of the newest state before; empty when there is none
  eclipse_instance::WayBack way;
  std::optional<eclipse_p2::UnitChange> change;  ///< from the newest state to the older one, when both can be read
  std::vector<OutsideChange> outside_changes;    ///< that are undone, too, newest first
  eclipse_instance::MissingArtifacts missing;    ///< that the director would need
  bool knows_cached = false;                     ///< what the host knew as the executable of an earlier run
  std::optional<std::string> cached;             ///< that; nothing when it was unset
  std::optional<std::string> variables_written;  ///< the file to which it was written
  std::string variables_of_run;  ///< the file to which the last run wrote its variables; empty when there is none
  std::optional<eclipse_instance::Reversion> reversion;  ///< when the director was started
  std::string error;                                     ///< why the instance was not reverted; empty when it was
  std::optional<eclipse_instance::InstanceDamage> damage;
};

/// What is undone, as it is known before.
std::string found_text(const Undo& undo);

/// What came of it.
std::string undone_text(const Undo& undo);

/// Prints the document, whose form is that of schema/undo-result.schema.json.
void print_undo(const Undo& undo, int exit_status);

}  // namespace eclipse_report

#endif
