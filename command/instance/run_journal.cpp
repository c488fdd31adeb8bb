// The file is configuration/.eclipse-int.runs.json in the instance:
//
//   {"runs": [{"command": "eclipse-int run session.json", "before": "1731234560000", "after": "1731234567890",
//              "revertedTo": "", "repositories": ["file:///opt/tools/site"], "variablesFile": "",
//              "cachedBefore": "/opt/old/eclipse", "cachedAfter": "/opt/ide/eclipse", "completed": false,
//              "units": ["com.example.tools.feature.group"]}]}
//
// A run that began and did not end has an empty "after". "cachedBefore" and "cachedAfter" are missing when the variable was
// unset, "completed" when the run ended by itself.
#include "instance/run_journal.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <nlohmann/json.hpp>
#include <system_error>
#include <utility>

#include "base/file.h"
#include "base/file_replacement.h"
#include "base/json_document.h"
#include "base/json_text.h"
#include "instance/owner.h"
#include "instance/reversion.h"
#include "p2/instance_paths.h"
#include "p2/profile.h"

namespace fs = std::filesystem;
using namespace eclipse_base;
using namespace eclipse_p2;

namespace eclipse_instance {

namespace {

fs::path journal_of(const fs::path& instance) {
  return instance / eclipse_p2::configuration_directory / ".eclipse-int.runs.json";
}

std::optional<std::string> text_or_nothing(const JsonElement& element, const char* key) {
  const auto found = element.find(key);
  return found ? std::optional(found->text()) : std::nullopt;
}

RecordedRun run_of(const JsonElement& element) {
  RecordedRun run{element.get("command").text(),
                  element.get("before").text(),
                  element.get("after").text(),
                  element.get("revertedTo").text(),
                  {}};
  for (const JsonElement& url : element.get("repositories").items()) run.repositories.push_back(url.text());
  run.cached_before = text_or_nothing(element, "cachedBefore");
  run.cached_after = text_or_nothing(element, "cachedAfter");
  run.variables_file = element.get("variablesFile").text();
  const auto completed = element.find("completed");
  run.is_completed = !completed || completed->boolean();
  if (const auto units = element.find("units")) {
    run.units.emplace();
    for (const JsonElement& unit : units->items()) run.units->insert(unit.text());
  }
  return run;
}

Json json_of(const RecordedRun& run) {
  Json json = {{"command", run.command},
               {"before", run.before},
               {"after", run.after},
               {"revertedTo", run.reverted_to},
               {"repositories", run.repositories},
               {"variablesFile", run.variables_file}};
  if (run.cached_before) json["cachedBefore"] = *run.cached_before;
  if (run.cached_after) json["cachedAfter"] = *run.cached_after;
  if (!run.is_completed) json["completed"] = false;
  if (run.units) json["units"] = *run.units;
  return json;
}

/// One who may write into the instance could make a link of it that leads out.
void check_is_no_link(const fs::path& file) {
  std::error_code error;
  if (fs::is_symlink(file, error)) throw FileError(file, "is a symlink, so no run is recorded; remove it");
}

RunJournal read_file_of_runs(const fs::path& instance) {
  const fs::path file = journal_of(instance);
  std::error_code error;
  if (!fs::exists(fs::symlink_status(file, error))) return {};
  RunJournal journal;
  try {
    check_is_no_link(file);
    const JsonDocument document(file);
    for (const JsonElement& run : document.root().get("runs").items()) journal.runs.push_back(run_of(run));
    return journal;
  } catch (const FileError& unreadable) {
    return {{}, unreadable.what()};
  }
}

void share(const fs::path& file) {
  const fs::path directory = file.parent_path();
  const int descriptor = open(file.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
  if (descriptor < 0) return;
  share_with_users_of(directory, descriptor);
  close(descriptor);
}

void write(const fs::path& instance, const std::vector<RecordedRun>& runs) {
  const fs::path file = journal_of(instance);
  check_is_no_link(file);
  const std::size_t first = runs.size() - std::min(runs.size(), most_recorded_runs);
  Json list = Json::array();
  for (std::size_t i = first; i < runs.size(); ++i) list.push_back(json_of(runs[i]));
  replace_file(file, json_text({{"runs", list}}));
  share(file);
}

bool is_beginning_of(const RecordedRun& run, const RecordedRun& beginning) {
  return beginning.after.empty() && beginning.before == run.before && beginning.command == run.command;
}

/// A state that cannot be read is one that its director left when it was killed.
bool may_have_made(const RecordedRun& run, const std::optional<ProfileState>& older, const ProfileState& state) {
  if (!older) return false;
  if (!older->is_readable() || !state.is_readable()) return true;
  return run.not_asked_for(change_between(installed_in(*older), installed_in(state))).is_empty();
}

/// What a run without an end has left: the states that follow the one before it, up to the first one for which it did not ask,
/// or that the next run found. False when it made no state.
bool find_end(RecordedRun& run, const std::vector<RecordedRun>& runs, const fs::path& instance) {
  const auto next =
      std::find_if(runs.begin(), runs.end(), [&](const RecordedRun& other) { return is_before(run.before, other.before); });
  run.is_completed = false;
  std::optional<ProfileState> older;
  std::vector<fs::path> oldest_first = profile_states(instance);
  std::reverse(oldest_first.begin(), oldest_first.end());
  for (const fs::path& file : oldest_first) {
    const std::string time = time_of_state(file);
    if (is_before(time, run.before)) continue;
    if (next != runs.end() && is_before(next->before, time)) break;
    if (run.units) {
      ProfileState state = read_profile_state(file);
      if (time != run.before && !may_have_made(run, older, state)) break;
      older = std::move(state);
    }
    run.after = time;
  }
  return is_before(run.before, run.after);
}

/// Without those that made no state.
RunJournal with_ends(RunJournal journal, const fs::path& instance) {
  std::vector<RecordedRun> ended;
  for (RecordedRun run : journal.runs) {
    if (!run.after.empty() || find_end(run, journal.runs, instance)) ended.push_back(std::move(run));
  }
  journal.runs = std::move(ended);
  return journal;
}

}  // namespace

UnitChange RecordedRun::not_asked_for(const UnitChange& change) const {
  if (!units) return {};
  const auto others = [&](const std::vector<Unit>& all) {
    std::vector<Unit> found;
    std::copy_if(all.begin(), all.end(), std::back_inserter(found),
                 [&](const Unit& unit) { return !units->contains(unit.id); });
    return found;
  };
  return {others(change.installed), others(change.removed), others(change.now_by_name), others(change.no_longer_by_name)};
}

const RecordedRun* RunJournal::run_that_left(const std::string& time) const {
  const auto found = std::find_if(runs.rbegin(), runs.rend(), [&](const RecordedRun& run) { return run.after == time; });
  return found == runs.rend() ? nullptr : &*found;
}

std::vector<std::string> RunJournal::repositories() const {
  std::vector<std::string> all;
  for (auto run = runs.rbegin(); run != runs.rend(); ++run) {
    for (const std::string& url : run->repositories) {
      if (std::find(all.begin(), all.end(), url) == all.end()) all.push_back(url);
    }
  }
  return all;
}

RunJournal read_run_journal(const fs::path& instance) { return with_ends(read_file_of_runs(instance), instance); }

void record_beginning(const fs::path& instance, const RecordedRun& run) {
  RunJournal journal = read_file_of_runs(instance);
  if (!journal.error.empty()) return;
  journal = with_ends(std::move(journal), instance);
  journal.runs.push_back(run);
  write(instance, journal.runs);
}

void forget_beginning(const fs::path& instance) {
  // Those of other runs that were killed have an end by then.
  std::vector<RecordedRun> runs = read_file_of_runs(instance).runs;
  if (std::erase_if(runs, [](const RecordedRun& run) { return run.after.empty(); }) > 0) write(instance, runs);
}

fs::path set_unreadable_journal_aside(const fs::path& instance) {
  const fs::path file = journal_of(instance);
  check_is_no_link(file);
  if (read_file_of_runs(instance).error.empty()) return {};
  // Another user may read it.
  if (faccessat(AT_FDCWD, file.c_str(), R_OK, AT_EACCESS) != 0) {
    throw FileError(file, std::string("cannot be read: ") + std::strerror(errno) + "; make it readable for this user");
  }
  return renamed_to_damaged(file);
}

void record_run(const fs::path& instance, const RecordedRun& run) {
  RunJournal journal = read_file_of_runs(instance);
  if (!journal.runs.empty() && is_beginning_of(run, journal.runs.back())) journal.runs.pop_back();
  journal.runs.push_back(run);
  write(instance, with_ends(std::move(journal), instance).runs);
}

}  // namespace eclipse_instance
