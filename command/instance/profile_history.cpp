#include "instance/profile_history.h"

#include <algorithm>
#include <utility>

#include "base/printable.h"
#include "instance/reversion.h"

using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_instance {

namespace {

/// The states from the newest one back. What went back to an older state has made a copy of it, so the way goes on there.
class Walk {
 public:
  Walk(const std::vector<std::string>& times, const RunJournal& journal) : times_(times), journal_(journal) {}

  bool is_at_end() const { return place_ >= times_.size(); }
  std::size_t place() const { return place_; }
  /// That left the state at this place; null when none is known.
  const RecordedRun* run() const { return journal_.run_that_left(times_[place_]); }
  std::size_t place_of(const std::string& time) const {
    return static_cast<std::size_t>(std::find(times_.begin(), times_.end(), time) - times_.begin());
  }

  /// A file that others can write may name states in any order, and states may be gone.
  void go_on() {
    const RecordedRun* const run = this->run();
    const std::string before = run == nullptr ? "" : run->reverted_to.empty() ? run->before : run->reverted_to;
    const std::size_t next = before.empty() ? times_.size() : place_of(before);
    place_ = next > place_ && next < times_.size() ? next : place_ + 1;
  }

 private:
  const std::vector<std::string>& times_;
  const RunJournal& journal_;
  std::size_t place_ = 0;
};

}  // namespace

std::vector<HistoricState> profile_history(const fs::path& instance, const RunJournal& journal) {
  std::vector<HistoricState> history;
  std::optional<InstalledUnits> newer;  // of the last state that could be read
  std::size_t newer_place = 0;
  for (const fs::path& file : profile_states(instance)) {
    HistoricState& historic = history.emplace_back();
    historic.state = read_profile_state(file);
    historic.run = run_that_made(historic.state.time, journal);
    if (!historic.state.is_readable()) continue;
    InstalledUnits units =
        installed_of(std::exchange(historic.state.units, std::nullopt).value_or(std::vector<InstalledUnit>()));
    historic.unit_count = units.all->size();
    if (newer) {
      HistoricState& made = history[newer_place];
      made.change = change_between(units, *newer);
      made.run = run_that_made(made.state.time, *made.change, journal);
    }
    newer = std::move(units);
    newer_place = history.size() - 1;
  }
  return history;
}

std::vector<std::string> state_times(const fs::path& instance) {
  std::vector<std::string> times;
  for (const fs::path& file : profile_states(instance)) times.push_back(time_of_state(file));
  return times;
}

std::vector<ProfileState> newest_states(const fs::path& instance, ProfileStates& states) {
  std::vector<ProfileState> newest;
  std::size_t readable = 0;
  for (const fs::path& file : profile_states(instance)) {
    if (readable >= 2) break;
    newest.push_back(states.at(file));
    if (newest.back().is_readable()) ++readable;
  }
  return newest;
}

std::vector<ProfileState> newest_states(const fs::path& instance) {
  ProfileStates states;
  return newest_states(instance, states);
}

std::string newest_time(const fs::path& instance) {
  const auto times = state_times(instance);
  return times.empty() ? "" : times.front();
}

bool has_same_units(const ProfileState& one, const ProfileState& other) {
  return one.is_readable() && other.is_readable() && change_between(installed_in(one), installed_in(other)).is_empty();
}

std::string no_state_of(const std::string& time) {
  return "the profile has no state of the time " + eclipse_base::printable(time) + "; \"eclipse-int history\" lists them";
}

ProfileState state_of_time(const fs::path& instance, const std::string& time) {
  for (const fs::path& file : profile_states(instance)) {
    if (time_of_state(file) == time) return read_profile_state(file);
  }
  ProfileState none;
  none.time = time;
  none.error = "is not there";
  return none;
}

const RecordedRun* run_that_made(const std::string& time, const RunJournal& journal) {
  const auto made_it = [&](const RecordedRun& run) { return is_before(run.before, time) && !is_before(run.after, time); };
  const auto found = std::find_if(journal.runs.rbegin(), journal.runs.rend(), made_it);
  return found == journal.runs.rend() ? nullptr : &*found;
}

const RecordedRun* run_that_made(const std::string& time, const UnitChange& change, const RunJournal& journal) {
  const RecordedRun* const run = run_that_made(time, journal);
  return run != nullptr && run->not_asked_for(change).is_empty() ? run : nullptr;
}

WayBack way_back_to(const std::vector<std::string>& times, const RunJournal& journal, const std::string& time) {
  WayBack way;
  Walk walk(times, journal);
  const std::size_t target = walk.place_of(time);
  if (target == times.size()) {
    way.error = no_state_of(time);
    return way;
  }
  way.target = time;
  for (; walk.place() < target; walk.go_on()) {
    if (walk.run() == nullptr) {
      way.states_of_others.push_back(times[walk.place()]);
    } else {
      way.runs.push_back(walk.run());
    }
  }
  return way;
}

WayBack way_back(const std::vector<std::string>& times, const RunJournal& journal, const IsAsNow& is_as_now) {
  for (Walk walk(times, journal); !walk.is_at_end(); walk.go_on()) {
    const RecordedRun* const run = walk.run();
    if (run == nullptr || !run->reverted_to.empty() || is_as_now(run->before)) continue;
    return way_back_to(times, journal, run->before);
  }
  WayBack way;
  way.error = journal.error.empty() ? "this instance has no recorded run of eclipse-int that could be undone; choose a "
                                      "state with --to TIME (\"eclipse-int history\" lists them)"
                                    : journal.error;
  return way;
}

}  // namespace eclipse_instance
