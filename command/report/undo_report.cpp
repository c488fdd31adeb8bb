#include "report/undo_report.h"

#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "report/history_report.h"
#include "report/json_parts.h"
#include "report/outcome.h"
#include "report/state_report.h"
#include "standalone_host/session.h"

using namespace eclipse_base;
using namespace eclipse_p2;
using namespace eclipse_instance;

namespace eclipse_report {

namespace {

std::string outside_changes_of(const Undo& undo) {
  std::string text;
  for (const Undo::OutsideChange& outside : undo.outside_changes) {
    text += "  Also undoes " + dated(outside.time) + ", " + made_outside + ":\n" + change_text(outside.change, "    ");
  }
  return text;
}

std::string missing_of(const Undo& undo) {
  std::string text;
  for (const std::string& artifact : undo.missing.artifacts) {
    text += "  Missing, in the instance and in all known repositories: " + printable(artifact) + "\n";
  }
  if (undo.missing.unexamined.empty()) return text;
  text +=
      "  Warning: the director fails unless one of these repositories, which cannot be examined here, has what is missing:\n";
  for (const std::string& url : undo.missing.unexamined) text += "    " + printable(url) + "\n";
  return text;
}

std::string variables_of(const Undo& undo) {
  if (undo.variables_written) {
    return std::string("  Variables: ") + eclipse_host::cached_executable + " " +
           (undo.cached ? "= " + printable(*undo.cached) : std::string("is unset")) + " in " +
           printable(*undo.variables_written) + "\n";
  }
  if (undo.variables_of_run.empty() || !undo.error.empty()) return "";
  return "  Note: the run wrote its variables to " + printable(undo.variables_of_run) +
         ", which this undo leaves unchanged; to update it, use --variables and --write-variables with this file\n";
}

bool was_started(const Undo& undo) { return undo.reversion && !undo.reversion->command.empty(); }

std::string end_of(const Undo& undo) {
  if (!undo.error.empty()) {
    std::string text = "  Error: " + printable(undo.error) + "\n";
    if (undo.reversion && undo.reversion->failure) text += "  Why: " + text_of(*undo.reversion->failure, "    ") + "\n";
    return text;
  }
  if (undo.is_dry_run) return "  Dry run: nothing was changed.\n";
  return undo.reversion ? "  Done\n" : "  Nothing to do: the instance has the units of this state already.\n";
}

}  // namespace

std::string found_text(const Undo& undo) {
  std::string text = "Eclipse " + printable(undo.executable) + "\n";
  if (!undo.way.target.empty()) text += "  Reverts to the state " + dated(undo.way.target) + "\n";
  for (const RecordedRun* const run : undo.way.runs) text += "  Undoes: " + printable(run->command) + "\n";
  text += outside_changes_of(undo);
  if (undo.change) text += "  Changes:\n" + change_text(*undo.change, "    ");
  return text + missing_of(undo);
}

std::string undone_text(const Undo& undo) {
  const std::string command = was_started(undo) ? "  Command: " + printable(undo.reversion->command) + "\n" : "";
  return command + variables_of(undo) + end_of(undo);
}

void print_undo(const Undo& undo, int exit_status) {
  Json runs = Json::array();
  for (const RecordedRun* const run : undo.way.runs) runs.push_back(recorded_run_json(*run));
  Json changes = Json::array();
  for (const Undo::OutsideChange& outside : undo.outside_changes) {
    changes.push_back({{"time", outside.time}, {"change", change_json(outside.change)}});
  }
  Json variables;
  if (undo.variables_written) {
    variables = {{"file", *undo.variables_written},
                 {eclipse_host::cached_executable, undo.cached ? Json(*undo.cached) : Json()}};
  }
  const bool has_failed = undo.reversion && undo.reversion->failure;
  Json json = {{"executable", undo.executable},
               {"dryRun", undo.is_dry_run},
               {"forced", undo.is_forced},
               {"from", text_or_null(undo.newest)},
               {"to", text_or_null(undo.way.target)},
               {"runs", runs},
               {"change", undo.change ? change_json(*undo.change) : Json()},
               {"outsideChanges", changes},
               {"missing", undo.missing.artifacts},
               {"unexaminedRepositories", undo.missing.unexamined},
               {"command", was_started(undo) ? Json(undo.reversion->command) : Json()},
               {"failure", has_failed ? failure_json(*undo.reversion->failure) : Json()},
               {"variables", variables},
               {"error", text_or_null(undo.error)},
               {"exitStatus", exit_status}};
  add_damage(json, undo.damage);
  print_json(json);
}

}  // namespace eclipse_report
