// A plan as text and as JSON, of records that the tests fill in.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "fake_host/written_down.h"
#include "report/plan_json.h"
#include "report/plan_text.h"

namespace {

using namespace eclipse_plan;
using eclipse_report::detailed_plan_text;
using eclipse_report::plan_json;
using eclipse_report::plan_text;

const std::string written_down = WRITTEN_DOWN;

PlannedRecord record(std::size_t line, RecordStatus status, const std::string& feature, std::int64_t slot,
                     std::int64_t wanted) {
  PlannedRecord made;
  made.file = "etc/e\x1B.txt";
  made.line = line;
  made.config.repository = status == RecordStatus::no_repository ? "" : "site";
  made.config.feature = feature;
  made.config.order = std::to_string(wanted);
  made.status = status;
  made.repository = "file:///opt/site";
  made.slot = slot;
  made.wanted_slot = wanted;
  return made;
}

/// A component and a line of each kind.
Plan plan_of_every_kind(bool is_removal) {
  Plan plan;
  plan.is_removal = is_removal;
  plan.executable = "/opt/ide/eclipse";
  plan.components = {
      {"", ComponentStatus::no_code, {}},
      {"other", ComponentStatus::not_selected, {}},
      {"bare", ComponentStatus::no_package, {}},
      {"empty", ComponentStatus::searched, {}},
      {"whole",
       ComponentStatus::searched,
       {{"etc/e\x1B.txt", true, 5, ""}, {"missing.txt", false, 0, ""}, {"cut.txt", true, 1, "cannot be read after 7 bytes"}}}};
  plan.records = {record(1, RecordStatus::listed, "one", 2, 2), record(2, RecordStatus::listed, "two", 3, 2),
                  record(3, RecordStatus::repeated, "one", 4, 4), record(4, RecordStatus::no_feature, "", 5, 5),
                  record(5, RecordStatus::no_repository, "three", 0, 0)};
  plan.repositories = {"file:///opt/site"};
  return plan;
}

TEST(PlanReport, NamesEachKindOfComponentAndLine) {
  for (const bool is_removal : {false, true}) {
    Plan plan = plan_of_every_kind(is_removal);
    plan.last_log_line = "the last\x1B line";
    plan.reasons = {"the first reason", "the second reason"};
    const std::string name = written_down + (is_removal ? "/plan-removal" : "/plan-installation");
    fake::expect_written_down(
        detailed_plan_text(plan, {}, "s\x1B.json") + "\n-- in short\n" + plan_text(plan, {}, "s\x1B.json"), name + ".txt");
    fake::expect_written_down(plan_json(plan, {}).dump(2) + "\n", name + ".json");
  }
}

TEST(PlanReport, ShowsWhatEachActionSetsAndHowVersionsCompare) {
  Plan plan;
  plan.actions = {{"get_eclipse_path", {{"ECLIPSE_PATH", "/opt/\x1B"}, {"ECLIPSE_NAME", ""}}}, {"perform_integration", {}}};
  plan.components = {{"tools", ComponentStatus::not_reached, {}}};
  plan.last_log_line = "the end";
  plan.reasons = {"a reason\x1B"};
  std::string text;
  for (const VersionCheck& version : std::vector<VersionCheck>{
           {"4.7\x1B", "4.26\x1B", "yes"}, {"4.7", "4.26", "yes"}, {"4.10", "4.7", "no"}, {"4.6", "4.7", "no"}}) {
    plan.version = version;
    text += detailed_plan_text(plan, {}, "s.json");
  }
  plan.version.reset();
  plan.command.emplace();
  text += detailed_plan_text(plan, {}, "s.json");
  fake::expect_written_down(text, written_down + "/plan-actions.txt");
}

TEST(PlanReport, WhatTheShellChangesIsShownWithoutACauseToo) {
  Plan plan;
  plan.command.emplace();
  plan.command->text = "/e -i $F 2>&1 >log";
  plan.command->intended = {"/e", "-i", "$F"};
  plan.command->shell = eclipse_shell::read_as_shell(plan.command->text);
  plan.command->executable_error = "/e does not exist";
  EXPECT_EQ(plan_text(plan, {}, "s.json"),
            "Plan of s.json (dry run: nothing is run or changed)\n\n"
            "Command (18 of at most 131071 bytes)\n  /e -i $F 2>&1 >log\n"
            "  Warning: /e does not exist\n"
            "  Warning: the shell would change this command:\n"
            "    Words of command 1:\n      /e\n      -i\n      $F\n"
            "    Redirection: >log\n"
            "    Byte 7 ($): the value of a variable is substituted\n"
            "    Byte 15 (>): the input or output is redirected to a file\n");
}

TEST(PlanReport, ARefusalTakesThePlaceOfTheCommand) {
  Plan plan;
  plan.refusal = "the instance is too old";
  plan.last_log_line = "not shown";
  EXPECT_EQ(plan_text(plan, {}, "s.json"),
            "Plan of s.json (dry run: nothing is run or changed)\n\nCommand\n  None: the instance is too old\n");
  EXPECT_EQ(plan_json(plan, {}).at("refusal"), "the instance is too old");
}

}  // namespace
