#include "standalone_host/session_run.h"

#include <gtest/gtest.h>

#include <deque>

#include "base/file.h"
#include "fake_host/fake_host.h"

using eclipse_host::call_actions;
using eclipse_host::Plugin;
using eclipse_host::run_session;
using eclipse_host::RunObserver;
using eclipse_host::RunObservers;
using eclipse_host::RunRecord;
using eclipse_host::Session;
using eclipse_shell::CommandResult;
using fake::fails;
using fake::succeeds;
using fake::Texts;

namespace {

/// A session with an IDE and one plug-in component, whose two features F1 and F2 are being installed or removed, and with an
/// Eclipse of the user's own. What its commands come to is scripted.
class SessionRun : public testing::Test {
 protected:
  SessionRun() {
    fake::write_file("own/eclipse", "");
    fake::write_file("own/configuration/config.ini", "eclipse.buildId=4.5\n");
    fake::write_file("ide/eclipse", "");
    fake::write_file("c/etc/eclipse/p", "site\tF1\nsite\tF2\n");
    fake::add_component(session, {.code = "c",
                                  .installBase = "c",
                                  .install = true,
                                  .remove = true,
                                  .package = {{.files = {"etc/eclipse/p"}}},
                                  .capabilities = {"ECLIPSE_PLUGIN"}});
    fake::add_component(session, {.code = "ide",
                                  .install = true,
                                  .package = {{.prefix = directory.path() + "/ide", .files = {"eclipse"}}},
                                  .capabilities = {"ECLIPSE_IDE"}});
    session.variables = {{"ECLIPSE_BIN", "eclipse"}};
    session.run_command = [this](const std::string& command) {
      commands.push_back(command);
      if (results.empty()) throw std::logic_error("not scripted: " + command);
      CommandResult result = results.front();
      results.pop_front();
      return result;
    };
  }
  ~SessionRun() override { EXPECT_TRUE(results.empty()) << "not every scripted result was used"; }

  RunRecord run(const std::string& mode, const std::string& choice, const RunObservers& observers = {}) {
    RunRecord record;
    run_into(record, mode, choice, observers);
    return record;
  }
  void run_into(RunRecord& record, const std::string& mode, const std::string& choice, const RunObservers& observers = {}) {
    session.variables["KORU_MODE"] = mode;
    session.variables["ECLIPSE_INTEGRATION_CHOICE"] = choice;
    run_session(plugin, session, record, observers);
  }
  RunRecord call(const Texts& actions) {
    RunRecord record;
    call_actions(plugin, session, actions, record);
    return record;
  }

  const Plugin plugin{PLUGIN};
  fake::TemporaryDirectory directory;
  Session session;
  std::deque<CommandResult> results;
  Texts commands;
};

Texts names(const RunRecord& record) {
  Texts names;
  for (const auto& action : record.actions) names.push_back(action.name);
  return names;
}

const Texts questions = {"eclipse_integration_required", "find_eclipse_ide"};
const Texts questions_and_check = {"eclipse_integration_required", "find_eclipse_ide", "verify_eclipse_version"};

TEST_F(SessionRun, ActionsFollowModeAndChoice) {
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "own/eclipse";
  for (const std::string choice : {"internal", "user", "none", ""}) {
    for (const std::string mode : {"install", "modify", "uninstall"}) {
      if (choice == "internal" || choice == "user") results = {succeeds()};
      const RunRecord record = run(mode, choice);
      const std::string perform = mode == "uninstall" ? "perform_unintegration" : "perform_integration";
      const Texts expected =
          fake::in_order(choice == "user" ? questions_and_check : questions, Texts{"define_eclipse_path", perform});
      EXPECT_EQ(names(record), expected) << mode << " " << choice;
      EXPECT_FALSE(record.failed());
      EXPECT_EQ(record.refusal, "");
    }
  }
}

TEST_F(SessionRun, EverythingIsInTheRecord) {
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "own/eclipse";
  session.variables["CASHED_ECLIPSE_PATH"] = "own/eclipse";
  results = {fails(13, "all failed"), fails(4, "F1 failed"), succeeds("F2 done")};
  const RunRecord record = run("modify", "user");
  const std::string install =
      "own/eclipse -nosplash -application org.eclipse.equinox.p2.director -repository file://c/site -i ";
  ASSERT_EQ(record.commands.size(), 3U);
  for (const auto& command : record.commands) EXPECT_EQ(command.action, "perform_integration");
  EXPECT_EQ(commands, (Texts{install + "F1,F2 2>&1", install + "F1 2>&1", install + "F2 2>&1"}));
  EXPECT_EQ(record.commands[1].command, commands[1]);
  EXPECT_EQ(record.commands[1].result.output, "F1 failed");
  EXPECT_EQ(record.commands[1].result.exit_code, 4);
  EXPECT_FALSE(record.commands[0].is_retry);
  EXPECT_TRUE(record.commands[1].is_retry && record.commands[2].is_retry);
  for (const auto& action : record.actions) EXPECT_EQ(action.result, 0) << action.name;
  EXPECT_EQ(record.unfinished_command(), nullptr);
  EXPECT_TRUE(record.failed());
  EXPECT_EQ(record.log.front(), "eclipse_int: eclipse_integration_required entered");
  EXPECT_EQ(fake::last(record.log, 3), (Texts{"eclipse_int: running command: " + install + "F2 2>&1",
                                              "eclipse_int: out: F2 done", "eclipse_int: exit code: 0"}));
  EXPECT_EQ(record.variables_before, (std::map<std::string, std::string>{{"CASHED_ECLIPSE_PATH", "own/eclipse"},
                                                                         {"ECLIPSE_BIN", "eclipse"},
                                                                         {"ECLIPSE_INTEGRATION_CHOICE", "user"},
                                                                         {"KORU_MODE", "modify"},
                                                                         {"USER_DEFINED_ECLIPSE_PATH", "own/eclipse"}}));
  EXPECT_EQ(session.variables.at("QN_SCRIPTS_FAILED"), "yes");
  EXPECT_EQ(session.variables.at("ECLIPSE_VERSION"), "4.5");
}

// ---- Refusal ----

TEST_F(SessionRun, EclipseOfTheUsersOwnHasToBeOne) {
  struct Case {
    std::map<std::string, std::string> variables;
    std::string refusal;
  };
  const std::vector<Case> cases = {
      {{}, "no Eclipse is given: set USER_DEFINED_ECLIPSE_PATH to the full path of its executable"},
      {{{"USER_DEFINED_ECLIPSE_PATH", "missing/eclipse"}},
       "USER_DEFINED_ECLIPSE_PATH is \"missing/eclipse\", which is not the Eclipse executable: give the full path of an "
       "existing file named \"eclipse\" (ECLIPSE_BIN)"},
      {{{"USER_DEFINED_ECLIPSE_PATH", "own/eclipse"}, {"ECLIPSE_MIN_SUPPORTED_VERSION", "4.7"}},
       "the version of \"own/eclipse\", 4.5, is below the minimum 4.7 (versions are compared as text, byte by byte)"},
  };
  for (const auto& [variables, refusal] : cases) {
    for (const std::string mode : {"install", "modify"}) {
      session.variables = variables;
      session.variables["ECLIPSE_BIN"] = "eclipse";
      const RunRecord record = run(mode, "user");
      EXPECT_EQ(record.refusal, refusal);
      EXPECT_EQ(names(record), questions_and_check);
      EXPECT_TRUE(record.failed());
      EXPECT_FALSE(session.variables.contains("ECLIPSE_PATH"));
    }
  }
  EXPECT_EQ(commands, Texts{});
}

TEST_F(SessionRun, RemovalIsNotRefused) {
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "own/eclipse";
  session.variables["ECLIPSE_MIN_SUPPORTED_VERSION"] = "4.7";
  results = {succeeds()};
  EXPECT_EQ(run("uninstall", "user").refusal, "");
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "missing";
  EXPECT_FALSE(run("uninstall", "user").failed());
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "";
  EXPECT_FALSE(run("uninstall", "user").failed());
}

TEST_F(SessionRun, VerdictOfAnEarlierRunDoesNotRefuse) {
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "own/eclipse";
  session.variables["ECLIPSE_VERSION_IS_SUPPORTED"] = "no";
  results = {succeeds()};
  const RunRecord record = run("install", "user");
  EXPECT_EQ(record.refusal, "");
  EXPECT_FALSE(session.variables.contains("ECLIPSE_VERSION_IS_SUPPORTED"));
}

// ---- The executable of this run ----

TEST_F(SessionRun, ExecutableIsRecordedAsTheUserGaveIt) {
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "own//eclipse";
  results = {succeeds()};
  run("install", "user");
  EXPECT_EQ(session.variables.at("CASHED_ECLIPSE_PATH"), "own//eclipse");
}

TEST_F(SessionRun, ExecutableOfTheIdeIsRecorded) {
  for (const std::string mode : {"install", "uninstall"}) {
    session.variables.erase("CASHED_ECLIPSE_PATH");
    results = {succeeds()};
    run(mode, "internal");
    EXPECT_EQ(session.variables.at("CASHED_ECLIPSE_PATH"), directory.path() + "/ide/eclipse") << mode;
  }
}

TEST_F(SessionRun, NothingIsRecordedWhenNoCommandWasRun) {
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "own/eclipse";
  session.variables["CASHED_ECLIPSE_PATH"] = "earlier";
  fake::write_file("c/etc/eclipse/p", "");
  run("install", "user");
  EXPECT_EQ(session.variables.at("CASHED_ECLIPSE_PATH"), "earlier");
}

TEST_F(SessionRun, NextRunKnowsTheInstance) {
  fake::write_file("old/etc/eclipse/p", "site\tF0\n");
  fake::add_component(session, {.code = "old", .installBase = "old", .package = {{.files = {"etc/eclipse/p"}}}});
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "own/eclipse";
  results = {succeeds(), succeeds()};
  run("install", "user");
  run("install", "user");
  ASSERT_EQ(commands.size(), 2U);
  EXPECT_TRUE(commands[0].ends_with(" -i F1,F2,F0 2>&1")) << commands[0];
  EXPECT_TRUE(commands[1].ends_with(" -i F1,F2 2>&1")) << commands[1];
}

TEST_F(SessionRun, InstanceIsNotKnownAfterARunThatFailedCompletely) {
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "own/eclipse";
  results = {fails(13, ""), fails(13, ""), fails(13, "")};
  run("install", "user");
  EXPECT_EQ(session.variables.count("CASHED_ECLIPSE_PATH"), 0U);
  results = {fails(13, ""), fails(13, ""), succeeds()};
  run("install", "user");
  EXPECT_EQ(session.variables.at("CASHED_ECLIPSE_PATH"), "own/eclipse") << "one feature is installed";
  session.variables["CASHED_ECLIPSE_PATH"] = "own/eclipse";
  results = {fails(13, ""), fails(13, ""), fails(13, "")};
  run("modify", "user");
  EXPECT_EQ(session.variables.at("CASHED_ECLIPSE_PATH"), "own/eclipse") << "an earlier run had made it known";
}

// ---- Events on the way ----

TEST_F(SessionRun, ObserversAreNotifiedInOrder) {
  Texts events;
  RunObserver observer;
  observer.on_action = [&](const std::string& action) { events.push_back("action " + action); };
  observer.on_log = [&](const std::string& line) {
    if (line.starts_with("eclipse_int: running") || line.starts_with("eclipse_int: exit"))
      events.push_back("log " + line.substr(13, 7));
  };
  observer.on_command = [&](const std::string& command) {
    events.push_back("command " + command.substr(command.rfind(" -i")));
  };
  observer.on_command_end = [&](const eclipse_host::CommandRecord& record) {
    events.push_back("end of " + record.action + " " + std::to_string(record.result.exit_code));
  };
  results = {fails(5, ""), succeeds(), succeeds()};
  run("install", "internal", {observer});
  EXPECT_EQ(events,
            (Texts{"action eclipse_integration_required", "action find_eclipse_ide", "action define_eclipse_path",
                   "action perform_integration", "log running", "command  -i F1,F2 2>&1", "end of perform_integration 5",
                   "log exit co", "log running", "command  -i F1 2>&1", "end of perform_integration 0", "log exit co",
                   "log running", "command  -i F2 2>&1", "end of perform_integration 0", "log exit co"}));
}

TEST_F(SessionRun, ObserversAreNotifiedOneAfterTheOther) {
  Texts events;
  RunObserver first;
  RunObserver second;
  first.on_command = [&](const std::string&) { events.push_back("first"); };
  second.on_command = [&](const std::string&) { events.push_back("second"); };
  results = {succeeds()};
  run("install", "internal", {first, second});
  EXPECT_EQ(events, (Texts{"first", "second"}));
}

TEST_F(SessionRun, RecordSurvivesAnException) {
  fake::write_file("own/eclipse", "#!/bin/sh\necho half\nsleep 100\n");
  std::filesystem::permissions("own/eclipse", std::filesystem::perms::owner_all);
  session.run_command = {};
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = directory.path() + "/own/eclipse";
  RunObserver observer;
  observer.command_progress.on_output = [](std::string_view) { throw std::runtime_error("enough"); };
  RunRecord record;
  EXPECT_THROW(run_into(record, "install", "user", {observer}), std::runtime_error);
  ASSERT_EQ(names(record).size(), 5U);
  EXPECT_EQ(record.actions[3].result, 0);
  EXPECT_EQ(record.actions[4].result, std::nullopt);
  ASSERT_NE(record.unfinished_command(), nullptr);
  EXPECT_EQ(record.unfinished_command()->action, "perform_integration");
  EXPECT_EQ(record.unfinished_command()->result.output, "half\n");
  EXPECT_TRUE(record.log.back().starts_with("eclipse_int: running command: ")) << record.log.back();
  EXPECT_TRUE(record.failed());
  record.drop_unfinished_output();
  EXPECT_EQ(record.unfinished_command()->result.output, "");
}

TEST_F(SessionRun, CommandsThatAreNotScriptedAreRunAndReported) {
  fake::write_file("own/eclipse", "#!/bin/sh\necho \"director $5 $6\"\nexit 0\n");
  std::filesystem::permissions("own/eclipse", std::filesystem::perms::owner_all);
  session.run_command = {};
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = directory.path() + "/own/eclipse";
  std::string output;
  RunObserver observer;
  observer.command_progress.on_output = [&](std::string_view piece) { output += piece; };
  const RunRecord record = run("install", "user", {observer});
  ASSERT_EQ(record.commands.size(), 1U);
  EXPECT_EQ(record.commands[0].result.output, "director file://c/site -i\n");
  EXPECT_EQ(output, record.commands[0].result.output);
  EXPECT_FALSE(static_cast<bool>(session.run_command));
}

TEST_F(SessionRun, SeamsOfTheSessionAreUsedAndLeftAsTheyWere) {
  Texts lines;
  session.on_log = [&](const std::string& line) { lines.push_back(line); };
  results = {succeeds("x")};
  const RunRecord record = run("install", "internal");
  EXPECT_EQ(lines, record.log);
  results = {succeeds("y")};
  EXPECT_EQ(session.run_command("again").output, "y");
  session.on_log("again");
  EXPECT_EQ(lines.back(), "again");
  EXPECT_EQ(record.commands.size(), 1U);
}

TEST_F(SessionRun, ExceptionComesOutAndLeavesTheSeamsAsTheyWere) {
  Texts lines;
  session.on_log = [&](const std::string& line) { lines.push_back(line); };
  EXPECT_THROW(run("install", "internal"), std::logic_error);  // no result is scripted
  EXPECT_THROW(env_get_string(&session, "NAME"), std::logic_error) << "the session is still active";
  session.on_log("again");
  EXPECT_EQ(lines.back(), "again");
  results = {succeeds("y")};
  EXPECT_EQ(session.run_command("again").output, "y");
}

// ---- Single actions ----

TEST_F(SessionRun, CallActionsCallsJustTheseInThisOrder) {
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  results = {succeeds(), succeeds()};
  const RunRecord record = call({"perform_unintegration", "find_eclipse_ide", "find_eclipse_ide", "perform_integration"});
  EXPECT_EQ(names(record), (Texts{"perform_unintegration", "find_eclipse_ide", "find_eclipse_ide", "perform_integration"}));
  ASSERT_EQ(record.commands.size(), 2U);
  EXPECT_EQ(record.commands[0].action, "perform_unintegration");
  EXPECT_EQ(record.commands[1].action, "perform_integration");
  EXPECT_EQ(names(call({})), Texts{});
  EXPECT_THROW(call({"no_such_action"}), std::out_of_range);
}

TEST_F(SessionRun, RetriesThatSucceedAreNoFailureAlsoWhenAnActionIsCalledTwice) {
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  results = {succeeds(), fails(1, ""), succeeds(), succeeds()};
  EXPECT_FALSE(call({"perform_integration", "perform_integration"}).failed());
}

// ---- What counts as failed ----

TEST(RunCommand, IsRecordedAndReportedToEachObserver) {
  Texts events;
  RunObserver observer;
  observer.on_command = [&](const std::string& command) { events.push_back("run " + command); };
  observer.command_progress.on_output = [&](std::string_view piece) { events.push_back("output " + std::string(piece)); };
  observer.command_progress.on_error_output = [&](std::string_view piece) { events.push_back("error " + std::string(piece)); };
  observer.command_progress.on_held_outputs = [&] { events.push_back("held"); };
  observer.on_command_end = [&](const eclipse_host::CommandRecord& ended) {
    events.push_back("end " + std::to_string(ended.result.exit_code));
  };
  RunRecord record;
  const std::string command = "echo e >&2; sleep 0.1; echo 1; (sleep 1; echo 2) & exit 3";
  const auto& ended = eclipse_host::run_command("repair", command, record, {observer});
  EXPECT_EQ(events, (Texts{"run " + command, "error e\n", "output 1\n", "held", "output 2\n", "end 3"}));
  ASSERT_EQ(record.commands.size(), 1U);
  EXPECT_EQ(&ended, &record.commands.front());
  EXPECT_EQ(ended.action, "repair");
  EXPECT_EQ(ended.command, command);
  EXPECT_EQ(ended.result.output, "1\n2\n");
  EXPECT_EQ(ended.result.error_output, "e\n");
  EXPECT_FALSE(ended.is_retry);
  EXPECT_TRUE(ended.has_ended);
}

TEST(RunCommand, ReportsWhatIsLeftOutAndHowLongItTakes) {
  std::size_t left_out = 0;
  double waited = 0;
  RunObserver observer;
  observer.command_progress.on_left_out = [&](std::string_view piece) { left_out += piece.size(); };
  RunRecord record;
  observer.command_progress.on_wait = [&](double seconds) {
    waited = seconds;
    EXPECT_EQ(record.commands.front().result.seconds, seconds);
    EXPECT_FALSE(record.commands.front().has_ended);
  };
  const std::string more = std::to_string(eclipse_base::largest::output + 10);
  eclipse_host::run_command("repair", "sleep 0.4; head -c " + more + " /dev/zero", record, {observer});
  EXPECT_EQ(left_out, 10U);
  EXPECT_GT(waited, 0.2);
}

TEST(RunRecord, DropsLongTexts) {
  RunRecord record;
  record.commands = {{"a", "c", {"output", "error", 0}}, {"a", "d", {"more", "", 7}}};
  const std::string longest(65'536, 'x');
  record.log = {"short", longest + "x", longest};
  record.drop_outputs();
  EXPECT_EQ(record.log, (Texts{"short", longest}));
  for (const auto& command : record.commands) EXPECT_EQ(command.result.output + command.result.error_output, "");
  EXPECT_EQ(record.commands.back().result.exit_code, 7);
}

struct FailedCase {
  std::string refusal;
  std::vector<eclipse_host::ActionRecord> actions;
  std::vector<std::pair<std::string, int>> exit_codes;  ///< of the commands, each with its action
  bool failed;
};

TEST(RunRecord, FailedWhenRefusedOrAResultOrARetryIsNotZero) {
  const std::string in = "perform_integration";
  const std::string out = "perform_unintegration";
  const std::vector<FailedCase> cases = {
      {"", {}, {}, false},
      {"reason", {}, {}, true},
      {"", {{"find_eclipse_ide", 0}, {in, 0}}, {}, false},
      {"", {{in, 5}, {"find_eclipse_ide", 0}}, {}, true},
      {"", {{in, -1}}, {}, true},
      {"", {{in, 0}}, {{in, 0}}, false},
      {"", {{in, 0}}, {{in, 13}, {in, 0}, {in, 0}}, false},
      {"", {{in, 0}}, {{in, 13}, {in, 4}, {in, 0}}, true},
      {"", {{in, 0}, {out, 0}}, {{in, 13}, {in, 0}, {out, 13}, {out, 0}}, false},
      {"", {{in, 0}, {out, 0}}, {{in, 0}, {out, 13}, {out, 2}, {out, 0}}, true},
  };
  for (const auto& [refusal, actions, exit_codes, failed] : cases) {
    RunRecord record;
    record.refusal = refusal;
    record.actions = actions;
    for (const auto& [action, exit_code] : exit_codes) {
      const bool is_retry = !record.commands.empty() && record.commands.back().action == action;
      record.commands.push_back({action, "command", fails(exit_code, ""), is_retry});
    }
    EXPECT_EQ(record.failed(), failed) << refusal << testing::PrintToString(exit_codes);
  }
}

}  // namespace
