// What "undo" found and did, as text and as JSON.
#ifndef ECLIPSE_INT_CLI_UNDO_REPORT_H
#define ECLIPSE_INT_CLI_UNDO_REPORT_H

#include <optional>
#include <string>
#include <vector>

#include "p2/profile_history.h"
#include "p2/profile_repair.h"
#include "p2/reversion.h"
#include "p2/unit_change.h"

namespace eclipse_cli {

struct Undo {
  /// A state that no known run has made, and what it changed.
  struct OtherState {
    std::string time;
    eclipse_p2::UnitChange change;
  };

  std::string executable;
  bool is_dry_run = false;
  bool is_forced = false;
  eclipse_p2::RunJournal journal;
  std::string newest;  ///< the time of the newest state before; empty when there is none
  eclipse_p2::WayBack way;
  std::optional<eclipse_p2::UnitChange> change;  ///< from the newest state to the older one, when both can be read
  std::vector<OtherState> others;                ///< that are undone, too, newest first
  bool knows_cached = false;                     ///< what the host knew as the executable of an earlier run
  std::optional<std::string> cached;             ///< that; nothing when it was unset
  std::optional<std::string> variables_written;  ///< the file to which it was written
  std::string variables_of_run;  ///< the file to which the last run wrote its variables; empty when there is none
  std::optional<eclipse_p2::Reversion> reversion;  ///< when the director was started
  std::string error;                               ///< why the instance was not brought back; empty when it was
  std::optional<eclipse_p2::InstanceDamage> damage;
};

/// What is taken back, as it is known before.
std::string found_text(const Undo& undo);

/// What came of it.
std::string undone_text(const Undo& undo);

/// Prints the document: executable; dryRun; forced; from, to: the times of the states, or null; runs: [{command, before, after,
/// wentBackTo}], those that are taken back; change: as history has it, or null; others: [{time, change}]; command: that was
/// run, or null; failure: of it, or null; variables: {file, CASHED_ECLIPSE_PATH: text or null}, or null; error: or null;
/// exitStatus; damage
void print_undo(const Undo& undo, int exit_status);

}  // namespace eclipse_cli

#endif
