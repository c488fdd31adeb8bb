// The states of a profile, going back and repair, each part of each record as text and as JSON.
#include <gtest/gtest.h>
#include <unistd.h>

#include <nlohmann/json.hpp>

#include "fake_host/written_down.h"
#include "report/history_report.h"
#include "report/repair_report.h"
#include "report/state_report.h"
#include "report/undo_report.h"
#include "terminal/redirected_stream.h"

namespace {

using namespace eclipse_report;
using namespace eclipse_instance;
using eclipse_p2::ProfileState;
using eclipse_p2::UnitChange;
using terminal_test::written_to;

const std::string written_down = WRITTEN_DOWN;
const eclipse_p2::Failure failure{eclipse_p2::Layer::director, "it failed", {"cause\x1B"}, "ide/1.log"};
const InstanceDamage damage{"P.profile", "P.profile is damaged", "repair it"};

ProfileState state(const std::string& time, const std::string& error = "", bool is_damaged = false) {
  return {time + ".profile", time, error, is_damaged, {}};
}

/// A version that was replaced, one of two that were, and all else that can happen to a unit.
UnitChange change() {
  return {.installed = {{"a", "2"}, {"b", "3"}, {"new\x1B", "1"}},
          .removed = {{"a", "1"}, {"b", "1"}, {"b", "2"}, {"gone", "1"}},
          .now_by_name = {{"named", "1"}},
          .no_longer_by_name = {{"unnamed", "1"}},
          .others_installed = 2,
          .others_removed = 1};
}

RecordedRun run_of(const std::string& command, bool is_completed = true) {
  RecordedRun run;
  run.command = command;
  run.before = "1";
  run.after = "2";
  run.is_completed = is_completed;
  return run;
}

TEST(Change, NamesRootsAndCountsOthers) {
  EXPECT_EQ(change_text({}, "  "), "  no change\n");
  EXPECT_EQ(change_text(change(), "  "),
            "  ~ a 1 -> 2\n  + b 3\n  + new\\x1B 1\n  - b 1\n  - b 2\n  - gone 1\n"
            "  + named 1 by name (before: as a requirement)\n  - unnamed 1 by name (stays as a requirement)\n"
            "  + 2 other units, - 1 other unit\n");
  UnitChange others;
  others.others_removed = 3;
  EXPECT_EQ(change_text(others, ""), "- 3 other units\n");
  others = {};
  others.others_installed = 1;
  EXPECT_EQ(change_text(others, ""), "+ 1 other unit\n");
}

TEST(State, HasADateAndItsUnitsOrAnError) {
  EXPECT_EQ(state_text(state("1700000000000"), 1), "1700000000000 (2023-11-14 22:13:20 UTC): 1 unit");
  EXPECT_EQ(state_text(state("1", "is damaged", true), 0), dated("1") + ": is damaged");
  EXPECT_EQ(state_json(state("1"), 2).dump(), R"({"file":"1.profile","time":"1","status":"readable","error":null,"units":2})");
  EXPECT_EQ(state_json(state("1", "e", true), 0).dump(),
            R"({"file":"1.profile","time":"1","status":"damaged","error":"e","units":null})");
  EXPECT_EQ(state_json(state("1", "e"), 0).dump(),
            R"({"file":"1.profile","time":"1","status":"unknown","error":"e","units":null})");
}

TEST(History, ShowsStatesRunsAndChanges) {
  RecordedRun back = run_of("undo\x1B", false);
  back.reverted_to = "0";
  const RecordedRun whole = run_of("run");
  History history{"ide/eclipse\x1B", {}, {{state("3"), 5, change(), &back}, {state("2"), 4, UnitChange(), &whole}}, damage};
  history.states.push_back({state("1", "is damaged", true), 0, {}, nullptr});
  std::string text = history_text(history) + written_to(STDOUT_FILENO, [&] { print_history(history); });
  history.journal.error = "journal cannot be read";
  history.damage.reset();
  history.states.clear();
  text += history_text(history) + written_to(STDOUT_FILENO, [&] { print_history(history); });
  fake::expect_written_down(text, written_down + "/history.txt");
}

std::string shown(const Repair& repair, int exit_status) {
  return repair_text(repair) + written_to(STDOUT_FILENO, [&] { print_repair(repair, exit_status); });
}

TEST(Repair, ShowsWhatWasDoneOrWouldBe) {
  Repair repair;
  repair.executable = "ide/eclipse\x1B";
  std::string text = shown(repair, 0);
  repair.roots = {{"a", "1"}, {"b\x1B", "2"}};
  text += shown(repair, 0);
  repair.states = {state("2", "is damaged", true), state("1")};
  repair.unit_counts = {0, 7};
  repair.renamed = {{"2.profile", "2.profile.damaged"}};
  repair.reverted = {{"2", run_of("run\x1B"), change()}, {"1", {}, {}}};
  repair.configuration = {.file = "config.ini", .error = "is missing", .consequence = "", .time_before = ""};
  repair.restored = {"config.ini"};
  repair.orphaned_bundles = {{"bundle", "1"}, {"other", "2"}};
  repair.lost = LostUnits{1, 5, 4, "1"};
  repair.damage = damage;
  repair.error = "it does not answer";
  text += shown(repair, 1);
  repair.is_dry_run = true;
  repair.renamed.front().to.clear();
  text += shown(repair, 1);
  Repair refused;
  refused.reverted = {{"1", {}, {}}};
  refused.error = "too much";
  text += shown(refused, 1);
  fake::expect_written_down(text, written_down + "/repair.txt");
}

std::string shown(const Undo& undo, int exit_status) {
  return found_text(undo) + undone_text(undo) + written_to(STDOUT_FILENO, [&] { print_undo(undo, exit_status); });
}

TEST(Undo, ShowsWhatWasUndoneOrWouldBe) {
  Undo undo;
  undo.executable = "ide/eclipse\x1B";
  std::string text = shown(undo, 0);
  const RecordedRun run = run_of("run\x1B");
  undo.newest = "3";
  undo.way = {"1", {&run}, {"2"}};
  undo.change = change();
  undo.outside_changes = {{"2", change()}};
  undo.missing = {{"bundle a\x1B"}, {}};
  undo.is_dry_run = true;
  text += shown(undo, 0);
  undo.is_dry_run = false;
  undo.is_forced = true;
  undo.missing.unexamined = {"http://one\x1B", "http://two"};
  undo.reversion = Reversion{"eclipse -revert 1\x1B", {}, ""};
  undo.variables_of_run = "v.json\x1B";
  text += shown(undo, 0);
  undo.variables_written = "w.json\x1B";
  text += shown(undo, 0);
  undo.cached = "eclipse\x1B";
  undo.variables_of_run = "";
  text += shown(undo, 0);
  undo.variables_written.reset();
  undo.error = "not reverted\x1B";
  undo.variables_of_run = "v.json";
  text += shown(undo, 1);
  undo.reversion->failure = failure;
  undo.reversion->command = "";
  undo.damage = damage;
  text += shown(undo, 1);
  fake::expect_written_down(text, written_down + "/undo.txt");
}

}  // namespace
