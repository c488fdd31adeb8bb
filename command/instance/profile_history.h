// The states of a profile: what came and went with each, who made it, and the way back to an older one.
#ifndef ECLIPSE_INT_INSTANCE_PROFILE_HISTORY_H
#define ECLIPSE_INT_INSTANCE_PROFILE_HISTORY_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "instance/run_journal.h"
#include "p2/profile.h"
#include "p2/unit_change.h"

namespace eclipse_instance {

struct HistoricState {
  eclipse_p2::ProfileState state;                ///< without its units
  std::size_t unit_count = 0;                    ///< 0 when it cannot be read
  std::optional<eclipse_p2::UnitChange> change;  ///< against the newest older state that can be read; nothing without one
  const RecordedRun* run = nullptr;              ///< that made it, in the journal; null when that is not known
};

/// Every state of the profile of the instance in this directory, newest first. The journal must outlive the result.
std::vector<HistoricState> profile_history(const std::filesystem::path& instance, const RunJournal& journal);

/// The times of all states, newest first, without reading them.
std::vector<std::string> state_times(const std::filesystem::path& instance);

/// The newest states, newest first, as far as the second one that can be read.
std::vector<eclipse_p2::ProfileState> newest_states(const std::filesystem::path& instance, eclipse_p2::ProfileStates& states);
/// The same, read anew.
std::vector<eclipse_p2::ProfileState> newest_states(const std::filesystem::path& instance);

/// The time of the newest state; empty when there is none.
std::string newest_time(const std::filesystem::path& instance);

/// Whether both can be read and have the same units.
bool has_same_units(const eclipse_p2::ProfileState& one, const eclipse_p2::ProfileState& other);

/// The state of this time. When there is none, it has an error and no file.
eclipse_p2::ProfileState state_of_time(const std::filesystem::path& instance, const std::string& time);

/// That there is none.
std::string no_state_of(const std::string& time);

/// The run that made a state, also one that another state of the same run followed; null when that is not known.
const RecordedRun* run_that_made(const std::string& time, const RunJournal& journal);

/// The same of a state that made this change: null, too, when the run did not ask for all of it.
const RecordedRun* run_that_made(const std::string& time, const eclipse_p2::UnitChange& change, const RunJournal& journal);

/// How the newest state came from an older one.
struct WayBack {
  std::string target;                         ///< the time of the older state; empty when there is none
  std::vector<const RecordedRun*> runs;       ///< of the journal that lie between, newest first
  std::vector<std::string> states_of_others;  ///< the times of states between that no run is known to have made, newest first
  std::string error = {};                     ///< why there is no target
};

/// Whether the state of this time has just the units of the newest one, so that going back to it changes nothing.
using IsAsNow = std::function<bool(const std::string& time)>;

/// The way to the state before the last run that was not undone already and that can be: p2 also writes a state for a run
/// without a change, and somebody else may have taken one back. `times` are those of all states, newest first. The journal must
/// outlive the result.
WayBack way_back(const std::vector<std::string>& times, const RunJournal& journal, const IsAsNow& is_as_now);

/// The way to the state of this time.
WayBack way_back_to(const std::vector<std::string>& times, const RunJournal& journal, const std::string& time);

}  // namespace eclipse_instance

#endif
