// The input is the files of an Eclipse instance: states of its profile (N.profile or N.profile.gz), config.ini, bundles.info,
// source.info and journal.json, which are put where they belong, and others. What is read agrees with itself, in each form.
#include <algorithm>
#include <filesystem>

#include "base/file.h"
#include "base/limits.h"
#include "base/packing.h"
#include "base/text.h"
#include "differential/readable.h"
#include "fake_host/temporary_directory.h"
#include "fuzz/target.h"
#include "instance/profile_history.h"
#include "instance/run_journal.h"
#include "p2/configuration_files.h"
#include "p2/data_area.h"
#include "p2/installed_units.h"
#include "p2/instance_paths.h"

using namespace eclipse_instance;
using namespace eclipse_p2;
using differential::readable;
using fuzz::expect;
using fuzz::expect_same;
namespace fs = std::filesystem;

namespace {

const std::string registry = "p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";

std::string place_of(const std::string& name) {
  if (name == "config.ini") return configuration_file;
  if (name == "bundles.info") return bundle_list;
  if (name == "source.info") return source_list;
  if (name == "journal.json") return "configuration/.eclipse-int.runs.json";
  return name.find('/') == name.npos && name.find(".profile") != name.npos ? registry + name : name;
}

std::string description_of(const ProfileState& state) {
  std::string text =
      readable(state.error) + readable(state.is_damaged) + readable(state.install_folder) + readable(state.units.has_value());
  for (const InstalledUnit& unit : state.units.value_or(std::vector<InstalledUnit>())) {
    text += "\n" + readable(unit.id) + readable(unit.version) + readable(unit.is_root) + readable(unit.is_bundle) +
            readable(unit.required_by.get());
  }
  return text;
}

std::string description_of(const RecordedRun& run) {
  return readable(run.command) + readable(run.before) + readable(run.after) + readable(run.reverted_to) +
         readable(run.repositories) + readable(run.cached_before.value_or("-")) + readable(run.cached_after.value_or("-")) +
         readable(run.variables_file) + readable(run.is_completed);
}

void check_units(const std::vector<InstalledUnit>& units) {
  std::set<std::string> ids;
  for (const InstalledUnit& unit : units) ids.insert(unit.id);
  for (const InstalledUnit& unit : units) {
    for (const std::string& id : unit.required_by.get()) expect(ids.contains(id) && id != unit.id, "another unit requires it");
  }
}

/// The same content is the same state, packed or not.
void check_forms(const fs::path& state) {
  const std::string content = eclipse_base::read_file(state, eclipse_base::largest::profile).bytes;
  fake::write_file("forms/1.profile", content);
  fake::write_file("forms/1.profile.gz", base_test::compressed_with_gzip(content));
  expect_same("a state in gzip", description_of(read_profile_state("forms/1.profile.gz")),
              description_of(read_profile_state("forms/1.profile")));
}

void check_state(const ProfileState& state) {
  expect(state.error.empty() || !state.units, "a state with an error has no units");
  expect(!state.is_damaged || !state.error.empty(), "a damaged state has an error");
  expect_same("a state read again", description_of(read_profile_state(state.file)), description_of(state));
  if (state.units) check_units(*state.units);
  if (state.file.extension() == ".profile") check_forms(state.file);
}

void check_damage(const ProfileState& state) {
  const auto damage = configuration_damage("ide", state);
  if (!damage) return;
  expect(!damage->error.empty() && damage->file.string().starts_with("ide/"), "damage is in a file of the instance");
}

void check_states(const std::vector<ProfileState>& states) {
  const auto listed = listed_bundles("ide");
  for (std::size_t i = 0; i < states.size(); ++i) {
    expect(i == 0 || !is_before(states[i - 1].time, states[i].time), "the newest state is the first one");
    check_state(states[i]);
    check_damage(states[i]);
    for (const Unit& bundle : orphaned_bundles("ide", states.front(), states[i]))
      expect(listed.contains(bundle), "what is left is listed");
  }
  const auto units = profile_units("ide");
  expect(units.has_value() == (!states.empty() && states.front().units), "the newest state counts");
  expect(units || states.empty() || profile_units_error("ide").find(states.front().file.string()) != std::string::npos,
         "why there are no units names the file");
  const auto recorded = recorded_units("ide");
  expect(recorded.has_value() == units.has_value() &&
             (!recorded || std::is_sorted(recorded->roots.begin(), recorded->roots.end())),
         "the roots are in order");
}

void check_history(const std::vector<ProfileState>& states, const RunJournal& journal) {
  const auto history = profile_history("ide", journal);
  const auto times = state_times("ide");
  expect(history.size() == states.size() && times.size() == states.size(), "every state is in the history");
  for (std::size_t i = 0; i < states.size(); ++i) {
    expect(history[i].state.file == states[i].file && times[i] == states[i].time, "in the same order");
    expect(history[i].unit_count == 0 || history[i].unit_count == states[i].units->size(), "with all units");
    const WayBack way = way_back_to(times, journal, times[i]);
    expect(way.target.empty() == !way.error.empty(), "there is a way or a reason");
    expect(way.target.empty() || way.target == times[i], "the way leads where it should");
  }
  const WayBack way = way_back(times, journal, [](const std::string&) { return false; });
  expect(way.target.empty() == !way.error.empty(), "there is a way back or a reason");
  expect(way.target.empty() || std::find(times.begin(), times.end(), way.target) != times.end(), "a way leads to a state");
}

void check_journal(const RunJournal& journal) {
  if (!journal.error.empty()) {
    fuzz::expect_printable(journal.error, true);
    expect(journal.runs.empty() && journal.error.starts_with("ide/configuration/.eclipse-int.runs.json:"),
           "an error names the journal");
    expect(!set_unreadable_journal_aside("ide").empty() && read_run_journal("ide").error.empty(), "it can be set aside");
    return;
  }
  for (const RecordedRun& run : journal.runs) expect(!run.after.empty(), "a run that is listed made a state");
  const RecordedRun run{"command \x01\xC3\xA4", "1", "2", "3", {"file:/a", "file:/a"}, std::nullopt, "", "v", true};
  record_run("ide", run);
  const RunJournal again = read_run_journal("ide");
  expect(again.error.empty() && !again.runs.empty(), "a run is recorded");
  expect_same("the run", description_of(again.runs.back()), description_of(run));
  expect(again.runs.size() <= most_recorded_runs, "so many runs are kept");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::enter_own_directory();
  std::string input = fuzz::text_of(data, size);
  std::map<std::string, std::string> files;
  for (auto& [name, content] : fuzz::files_in(input)) files[place_of(name)] = std::move(content);
  fuzz::write_files("ide", files);
  fs::create_directories("ide/configuration");
  const DataArea area = data_area_of("ide");
  expect(area.directory.empty() == !area.reason.empty(), "the data is somewhere, or there is a reason");
  std::vector<ProfileState> states;
  for (const fs::path& file : profile_states("ide")) states.push_back(read_profile_state(file));
  check_states(states);
  const RunJournal journal = read_run_journal("ide");
  check_history(states, journal);
  check_journal(journal);
  return 0;
}
