// The file is configuration/.eclipse-int.runs.json in the instance:
//
//   {"runs": [{"command": "eclipse-int run session.json", "before": "1731234560000", "after": "1731234567890",
//              "wentBackTo": "", "repositories": ["file:///opt/tools/site"], "variablesFile": "",
//              "cachedAfter": "/opt/ide/eclipse"}]}
#include "p2/run_journal.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <system_error>

#include "base/file_replacement.h"
#include "base/json_document.h"
#include "base/json_text.h"
#include "p2/profile.h"

namespace fs = std::filesystem;
using namespace eclipse_base;
using Json = nlohmann::ordered_json;

namespace eclipse_p2 {

namespace {

fs::path journal_of(const fs::path& instance) { return instance / "configuration/.eclipse-int.runs.json"; }

std::optional<std::string> text_or_nothing(const JsonElement& element, const char* key) {
  const auto found = element.find(key);
  return found ? std::optional(found->text()) : std::nullopt;
}

RecordedRun run_of(const JsonElement& element) {
  RecordedRun run{element.get("command").text(),
                  element.get("before").text(),
                  element.get("after").text(),
                  element.get("wentBackTo").text(),
                  {}};
  for (const JsonElement& url : element.get("repositories").items()) run.repositories.push_back(url.text());
  run.cached_before = text_or_nothing(element, "cachedBefore");
  run.cached_after = text_or_nothing(element, "cachedAfter");
  run.variables_file = element.get("variablesFile").text();
  const auto completed = element.find("completed");
  run.is_completed = !completed || completed->boolean();
  return run;
}

Json json_of(const RecordedRun& run) {
  Json json = {{"command", run.command},
               {"before", run.before},
               {"after", run.after},
               {"wentBackTo", run.went_back_to},
               {"repositories", run.repositories},
               {"variablesFile", run.variables_file}};
  if (run.cached_before) json["cachedBefore"] = *run.cached_before;
  if (run.cached_after) json["cachedAfter"] = *run.cached_after;
  if (!run.is_completed) json["completed"] = false;
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

void write(const fs::path& instance, const std::vector<RecordedRun>& runs) {
  const fs::path file = journal_of(instance);
  check_is_no_link(file);
  const std::size_t first = runs.size() - std::min(runs.size(), most_recorded_runs);
  Json list = Json::array();
  for (std::size_t i = first; i < runs.size(); ++i) list.push_back(json_of(runs[i]));
  FileReplacement(file).replace_target_with(json_text({{"runs", list}}));
}

/// What a run without an end has left is what the next run found. False when it made no state.
bool find_end(RecordedRun& run, const std::vector<RecordedRun>& runs, const fs::path& instance) {
  const auto next =
      std::find_if(runs.begin(), runs.end(), [&](const RecordedRun& other) { return is_before(run.before, other.before); });
  const fs::path newest = profile_file(instance);
  run.after = next != runs.end() ? next->before : newest.empty() ? run.before : time_of_state(newest);
  run.is_completed = false;
  return is_before(run.before, run.after);
}

}  // namespace

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

RunJournal read_run_journal(const fs::path& instance) {
  RunJournal journal = read_file_of_runs(instance);
  std::erase_if(journal.runs, [&](RecordedRun& run) { return run.after.empty() && !find_end(run, journal.runs, instance); });
  return journal;
}

void record_beginning(const fs::path& instance, const RecordedRun& run) {
  RunJournal journal = read_run_journal(instance);
  if (!journal.error.empty()) return;
  journal.runs.push_back(run);
  write(instance, journal.runs);
}

void forget_beginning(const fs::path& instance) {
  std::vector<RecordedRun> runs = read_file_of_runs(instance).runs;
  if (std::erase_if(runs, [](const RecordedRun& run) { return run.after.empty(); }) > 0) write(instance, runs);
}

void record_run(const fs::path& instance, const RecordedRun& run) {
  std::vector<RecordedRun> runs = read_file_of_runs(instance).runs;
  if (!runs.empty() && runs.back().after.empty()) runs.pop_back();
  runs.push_back(run);
  write(instance, runs);
}

}  // namespace eclipse_p2
