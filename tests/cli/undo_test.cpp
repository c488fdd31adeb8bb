// The history of a profile, and going back in it.
#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

namespace cli_test {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

const std::string registry = "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";
const std::string journal = "eclipse/configuration/.eclipse-int.runs.json";

std::string profile(const std::vector<std::string>& roots) {
  std::string units;
  std::string properties;
  for (const std::string& root : roots) {
    const std::string unit = "id='" + root.substr(0, root.find('/')) + "' version='" + root.substr(root.find('/') + 1) + "'";
    units += "<unit " + unit + "/>";
    properties += "<iuProperties " + unit +
                  "><properties><property name='org.eclipse.equinox.p2.type.root' value='true'/></properties></iuProperties>";
  }
  return "<profile><units>" + units + "</units><iusProperties>" + properties + "</iusProperties></profile>";
}

class WithHistory : public ChildCommand {
 protected:
  WithHistory() {
    write_session("install");
    fs::create_directory("eclipse/configuration");
    write_state("1731234500000", {"ide/4.0.0"});
  }

  static void write_state(const std::string& time, const std::vector<std::string>& roots) {
    fake::write_file(registry + time + ".profile", profile(roots));
  }

  /// What a director does that leaves this state.
  static std::string leave(const std::string& time, const std::vector<std::string>& roots) {
    fake::write_file("prepared-" + time, profile(roots));
    return "cp prepared-" + time + " " + registry + time + ".profile";
  }

  Json undo(const std::string& arguments, int status) const {
    const Outcome outcome = eclipse_int("undo " + arguments + " --json");
    EXPECT_EQ(outcome.status, status) << outcome.output << outcome.error;
    return Json::parse(outcome.output);
  }
};

using History = WithHistory;
using Undo = WithHistory;

TEST_F(History, ListsStatesWithTheRunsThatMadeThem) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  script(2, leave("1731234700000", {"ide/4.0.0", "one/2.0.0"}));
  ASSERT_EQ(eclipse_int("call perform_integration session.json").status, 0);
  write_state("1731234800000", {"one/2.0.0", "two/1.0.0"});
  write_state("1731234900000", {"one/2.0.0", "two/1.0.0"});
  EXPECT_EQ(
      eclipse_int("history eclipse"),
      (Outcome{0,
               "Eclipse DIRECTORY/eclipse/eclipse\n"
               "  1731234900000 (2024-11-10 10:35:00 UTC): 2 units\n"
               "    no change\n"
               "  1731234800000 (2024-11-10 10:33:20 UTC): 2 units\n"
               "    + two 1.0.0\n"
               "    - ide 4.0.0\n"
               "  1731234700000 (2024-11-10 10:31:40 UTC): 2 units, by eclipse-int call perform_integration session.json\n"
               "    ~ one 1.0.0 -> 2.0.0\n"
               "  1731234600000 (2024-11-10 10:30:00 UTC): 2 units, by eclipse-int run session.json\n"
               "    + one 1.0.0\n"
               "  1731234500000 (2024-11-10 10:28:20 UTC): 1 unit\n",
               ""}));
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n" + install_arguments("one,two") + "\n");
}

TEST_F(History, IsThereForPrograms) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  const Outcome outcome = eclipse_int("history eclipse/eclipse --json");
  EXPECT_EQ(outcome.status, 0);
  const Json result = Json::parse(outcome.output);
  ASSERT_EQ(result.at("states").size(), 2U);
  EXPECT_EQ(result.at("states").at(0).at("run"), (Json{{"command", "eclipse-int run session.json"},
                                                       {"before", "1731234500000"},
                                                       {"after", "1731234600000"},
                                                       {"completed", true},
                                                       {"revertedTo", nullptr}}));
  EXPECT_EQ(result.at("states").at(0).at("change").at("installed"), Json({"one/1.0.0"}));
  EXPECT_EQ(result.at("states").at(1).at("run"), nullptr);
  EXPECT_EQ(result.at("error"), nullptr);
}

TEST_F(History, NamesDamage) {
  fake::write_file(registry + "1731234600000.profile", "<profile");
  fake::write_file(journal, "{");
  const Outcome outcome = eclipse_int("history eclipse");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find("It is unknown which runs made the states: DIRECTORY/" + journal), std::string::npos)
      << outcome.output;
  EXPECT_NE(outcome.output.find("  1731234600000 (2024-11-10 10:30:00 UTC): is not well-formed XML\n"), std::string::npos)
      << outcome.output;
  EXPECT_NE(outcome.error.find("run: eclipse-int repair"), std::string::npos) << outcome.error;
  EXPECT_EQ(Json::parse(eclipse_int("history eclipse --json").output).at("states").at(0).at("status"), "damaged");
}

TEST_F(History, NeedsAProfile) {
  fs::remove_all("eclipse/p2");
  const Outcome outcome = eclipse_int("history eclipse");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.error.find("has no p2 profile of its own"), std::string::npos) << outcome.error;
}

TEST_F(History, IsThatOfTheProfileThatTheDirectorUses) {
  fs::rename("eclipse/p2", "shared");
  fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.data.area=file\\:" + directory.path() + "/shared\n");
  EXPECT_EQ(Json::parse(eclipse_int("history eclipse --json").output).at("states").size(), 1U);
  fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.data.area=@user.home/.p2\n");
  const std::string reason =
      "eclipse-int: \"DIRECTORY/eclipse/eclipse\" has a p2 profile that cannot be found: "
      "DIRECTORY/eclipse/configuration/config.ini "
      "has eclipse.p2.data.area=@user.home/.p2\n";
  EXPECT_EQ(eclipse_int("history eclipse"), (Outcome{2, "", reason}));
  EXPECT_EQ(eclipse_int("undo --eclipse eclipse"), (Outcome{2, "", reason}));
}

/// A script that drops its arguments succeeds, too.
TEST_F(History, ASuccessWithoutANewStateIsNotBelieved) {
  const std::string contradiction =
      "the director reports success, but has written no new state of the p2 profile since 1731234500000: it worked on another "
      "profile, or the executable belongs to another Eclipse or drops its arguments";
  const Outcome outcome = eclipse_int("run session.json");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find("\nFailed: " + contradiction + "\n"), std::string::npos) << outcome.output;
  const Json result = Json::parse(eclipse_int("run session.json --json").output);
  EXPECT_EQ(result.at("status"), "failed");
  EXPECT_EQ(result.at("contradiction"), contradiction);
  let_director_leave_states();
  EXPECT_EQ(eclipse_int("run session.json").status, 0);
}

TEST_F(Undo, UndoesTheLastRun) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  const std::string variables = " --variables v.json --write-variables v.json";
  ASSERT_EQ(eclipse_int("run session.json" + variables).status, 0);
  const std::string found =
      "Eclipse DIRECTORY/eclipse/eclipse\n"
      "  Reverts to the state 1731234500000 (2024-11-10 10:28:20 UTC)\n"
      "  Undoes: eclipse-int run session.json" +
      variables + "\n";
  EXPECT_EQ(eclipse_int("undo session.json --dry-run"),
            (Outcome{0,
                     found + "  Changes:\n"
                             "    - one 1.0.0\n"
                             "  Note: the run wrote its variables to DIRECTORY/v.json, which this undo leaves unchanged; to "
                             "update it, use --variables and --write-variables with this file\n"
                             "  Dry run: nothing was changed.\n",
                     ""}));
  script(2, leave("1731234700000", {"ide/4.0.0"}));
  const Outcome outcome = eclipse_int("undo session.json" + variables);
  EXPECT_EQ(outcome.status, 0) << outcome.error;
  EXPECT_TRUE(
      outcome.output.starts_with(found + "  Changes:\n    - one 1.0.0\n  Command: DIRECTORY/eclipse/eclipse -nosplash "))
      << outcome.output;
  EXPECT_TRUE(
      outcome.output.ends_with(" -revert '1731234500000' 2>&1\n"
                               "  Variables: CASHED_ECLIPSE_PATH is unset in v.json\n"
                               "  Done\n"))
      << outcome.output;
  EXPECT_NE(outcome.output.find(",file://DIRECTORY/tools/site' -revert "), std::string::npos) << "what has to be fetched";
  EXPECT_FALSE(Json::parse(content_of("v.json")).contains("CASHED_ECLIPSE_PATH"));
  EXPECT_TRUE(Json::parse(content_of("v.json")).contains("ECLIPSE_PATH")) << "the others stay";
  EXPECT_EQ(undo("session.json", 1).at("error"),
            "this instance has no recorded run of eclipse-int that could be undone; choose a state with "
            "--to TIME (\"eclipse-int history\" lists them)");
}

TEST_F(Undo, UndoesOneRunAfterTheOther) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  script(2, leave("1731234700000", {"ide/4.0.0", "one/2.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  script(3, leave("1731234800000", {"ide/4.0.0", "one/1.0.0"}));
  const std::string variables = " --variables v.json --write-variables v.json";
  fake::write_file("v.json", "{}");
  EXPECT_EQ(undo("--eclipse eclipse" + variables, 0).at("to"), "1731234600000");
  EXPECT_EQ(Json::parse(content_of("v.json")), (Json{{"CASHED_ECLIPSE_PATH", directory.path() + "/eclipse/eclipse"}}))
      << "as the first run left it";
  EXPECT_EQ(Json::parse(content_of(journal)).at("runs").at(2).at("cachedAfter"), directory.path() + "/eclipse/eclipse");
  EXPECT_TRUE(fs::exists("eclipse/configuration/.eclipse-int.kept/1731234700000"));
  script(4, leave("1731234900000", {"ide/4.0.0"}));
  const Json second = undo("--eclipse eclipse" + variables, 0);
  EXPECT_EQ(second.at("from"), "1731234800000");
  EXPECT_EQ(second.at("to"), "1731234500000");
  EXPECT_EQ(Json::parse(content_of("v.json")), Json::object());
  script(5, leave("1731235000000", {"ide/4.0.0", "one/2.0.0"}));
  const Json forward = undo("--eclipse eclipse --to 1731234700000", 0);
  EXPECT_EQ(forward.at("change").at("installed"), Json({"one/2.0.0"})) << "and forward again";
  EXPECT_EQ(undo("--eclipse eclipse --dry-run", 0).at("to"), "1731234600000");
}

TEST_F(Undo, IsRecordedLikeARun) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0", "two/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  script(2, leave("1731234700000", {"ide/4.0.0"}));
  ASSERT_EQ(eclipse_int("undo session.json").status, 0);
  const std::string executable = directory.path() + "/eclipse/eclipse";
  const Json run = {{"command", "eclipse-int run session.json"},
                    {"before", "1731234500000"},
                    {"after", "1731234600000"},
                    {"revertedTo", ""},
                    {"repositories", {"file://" + directory.path() + "/tools/site"}},
                    {"variablesFile", ""},
                    {"cachedAfter", executable},
                    {"units", {"one", "two"}}};
  const Json undo = {{"command", "eclipse-int undo session.json"},
                     {"before", "1731234600000"},
                     {"after", "1731234700000"},
                     {"revertedTo", "1731234500000"},
                     {"repositories", Json::array()},
                     {"variablesFile", ""},
                     {"cachedBefore", executable},
                     {"units", {"one", "two"}}};
  EXPECT_EQ(Json::parse(content_of(journal)).at("runs"), Json({run, undo}));
}

TEST_F(Undo, AsksBeforeItUndoesWhatOthersChanged) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  write_state("1731234700000", {"ide/4.0.0", "one/1.0.0"});
  EXPECT_EQ(undo("session.json --dry-run", 0).at("outsideChanges"), Json::array()) << "nothing came or went";
  write_state("1731234800000", {"ide/4.0.0", "one/1.0.0", "guest/1.0.0"});
  write_state("1731234850000", {"ide/4.0.0", "one/1.0.0", "guest/1.0.0", "other/1.0.0"});
  const Outcome refused = eclipse_int("undo session.json");
  EXPECT_EQ(refused,
            (Outcome{1,
                     "Eclipse DIRECTORY/eclipse/eclipse\n"
                     "  Reverts to the state 1731234500000 (2024-11-10 10:28:20 UTC)\n"
                     "  Undoes: eclipse-int run session.json\n"
                     "  Also undoes 1731234850000 (2024-11-10 10:34:10 UTC), made outside eclipse-int:\n"
                     "    + other 1.0.0\n"
                     "  Also undoes 1731234800000 (2024-11-10 10:33:20 UTC), made outside eclipse-int:\n"
                     "    + guest 1.0.0\n"
                     "  Changes:\n"
                     "    - guest 1.0.0\n"
                     "    - one 1.0.0\n"
                     "    - other 1.0.0\n"
                     "  Error: this would also undo the changes above, which were made outside eclipse-int; use --force to "
                     "undo them, too\n",
                     ""}));
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
  script(2, leave("1731234900000", {"ide/4.0.0"}));
  const Json forced = undo("session.json --force", 0);
  EXPECT_EQ(forced.at("forced"), true);
  EXPECT_EQ(forced.at("outsideChanges").at(0).at("time"), "1731234850000");
}

/// By hand, while a run is at work.
TEST_F(Undo, AsksBeforeItUndoesWhatOthersChangedDuringARun) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0", "three/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  EXPECT_EQ(Json::parse(eclipse_int("history eclipse --json").output).at("states").at(0).at("run"), nullptr);
  script(2, leave("1731234700000", {"ide/4.0.0", "one/2.0.0", "three/1.0.0", "four/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  const std::string undo_both = "undo session.json --to 1731234500000";
  EXPECT_EQ(eclipse_int(undo_both),
            (Outcome{1,
                     "Eclipse DIRECTORY/eclipse/eclipse\n"
                     "  Reverts to the state 1731234500000 (2024-11-10 10:28:20 UTC)\n"
                     "  Undoes: eclipse-int run session.json\n"
                     "  Undoes: eclipse-int run session.json\n"
                     "  Also undoes 1731234700000 (2024-11-10 10:31:40 UTC), made outside eclipse-int:\n"
                     "    + four 1.0.0\n"
                     "  Also undoes 1731234600000 (2024-11-10 10:30:00 UTC), made outside eclipse-int:\n"
                     "    + three 1.0.0\n"
                     "  Changes:\n"
                     "    - four 1.0.0\n"
                     "    - one 2.0.0\n"
                     "    - three 1.0.0\n"
                     "  Error: this would also undo the changes above, which were made outside eclipse-int; use --force to "
                     "undo them, too\n",
                     ""}));
  script(3, leave("1731234800000", {"ide/4.0.0"}));
  EXPECT_EQ(eclipse_int(undo_both + " --force").status, 0);
}

TEST_F(Undo, ThatIsKilledIsKnown) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  script(2, leave("1731234700000", {"ide/4.0.0"}) + "; kill -9 $PPID $(ps -o ppid= $PPID)");
  eclipse_int("undo session.json");
  const Json states = Json::parse(eclipse_int("history eclipse --json").output).at("states");
  EXPECT_EQ(states.at(0).at("time"), "1731234700000");
  EXPECT_EQ(states.at(0).at("run").at("revertedTo"), "1731234500000");
  EXPECT_EQ(states.at(0).at("run").at("completed"), false);
}

TEST_F(Undo, PassesOverRunsThatChangedNothing) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  script(2, leave("1731234700000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  script(3, leave("1731234800000", {"ide/4.0.0"}));
  const Json result = undo("session.json", 0);
  EXPECT_EQ(result.at("to"), "1731234500000");
  EXPECT_EQ(result.at("change").at("removed"), Json({"one/1.0.0"}));
  EXPECT_EQ(undo("session.json", 1).at("error"),
            "this instance has no recorded run of eclipse-int that could be undone; choose a state with "
            "--to TIME (\"eclipse-int history\" lists them)");
}

TEST_F(Undo, DoesNotStartADirectorForNothing) {
  script(1, leave("1731234600000", {"ide/4.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  for (const std::string more : {"", " --repository missing"}) {
    const Outcome outcome = eclipse_int("undo session.json --to 1731234500000" + more);
    EXPECT_EQ(outcome.status, 0);
    EXPECT_TRUE(outcome.output.ends_with("  Nothing to do: the instance has the units of this state already.\n"))
        << outcome.output;
  }
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
  EXPECT_EQ(Json::parse(content_of(journal)).at("runs").size(), 1U);
}

TEST_F(Undo, ExplainsWhatTheDirectorDidNotDo) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  script(2, "echo 'Cannot complete the request.'; exit 13");
  const Json failed = undo("session.json", 1);
  EXPECT_EQ(failed.at("error"), "the director did not revert the profile: exit code 13");
  EXPECT_EQ(failed.at("failure").at("layer"), "the launcher");
  EXPECT_FALSE(failed.contains("damage"));
  EXPECT_EQ(undo("session.json --dry-run", 0).at("to"), "1731234500000") << "it was not undone";
  script(3, "printf '<profile' > " + registry + "1731234700000.profile; exit 13");
  EXPECT_TRUE(undo("session.json", 1).contains("damage"));
}

TEST_F(Undo, LeavesADamagedProfileToRepair) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  fake::write_file(registry + "1731234700000.profile", "<profile");
  EXPECT_EQ(eclipse_int("undo session.json"),
            (Outcome{1,
                     "Eclipse DIRECTORY/eclipse/eclipse\n"
                     "  Reverts to the state 1731234500000 (2024-11-10 10:28:20 UTC)\n"
                     "  Undoes: eclipse-int run session.json\n"
                     "  Error: the state 1731234700000 of the p2 profile is not well-formed XML\n",
                     "eclipse-int: the newest state of the p2 profile, DIRECTORY/" + registry +
                         "1731234700000.profile, is not well-formed XML, so every director fails; run: eclipse-int repair "
                         "DIRECTORY/eclipse/eclipse\n"}));
  EXPECT_TRUE(undo("session.json", 1).contains("damage"));
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
}

TEST_F(Undo, DoesNotSayThatItIsDoneBeforeAnError) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  const std::string configuration = "eclipse/configuration/config.ini";
  fake::write_file(configuration, "eclipse.p2.profile=P\n");
  ASSERT_EQ(eclipse_int("run session.json --write-variables v.json").status, 0);
  const std::string found =
      "Eclipse DIRECTORY/eclipse/eclipse\n"
      "  Reverts to the state 1731234500000 (2024-11-10 10:28:20 UTC)\n"
      "  Undoes: eclipse-int run session.json --write-variables v.json\n"
      "  Changes:\n"
      "    - one 1.0.0\n";
  fake::write_file(configuration, "");
  const Outcome damaged = eclipse_int("undo session.json");
  EXPECT_EQ(damaged.status, 1);
  EXPECT_EQ(damaged.output,
            found + "  Error: the Eclipse instance is damaged; run: eclipse-int repair DIRECTORY/eclipse/eclipse\n");
  EXPECT_EQ(damaged.error,
            "eclipse-int: DIRECTORY/" + configuration +
                " has no settings, so every director fails; run: eclipse-int repair DIRECTORY/eclipse/eclipse\n");
  fake::write_file(configuration, "eclipse.p2.profile=P\n");
  const Outcome without_place = eclipse_int("undo session.json", "env TMPDIR=/missing");
  EXPECT_EQ(
      without_place,
      (Outcome{1,
               found + "  Error: /missing: no temporary directory can be made here: No such file or directory; set TMPDIR to a "
                       "directory with enough space that this user can write to\n",
               ""}));
  EXPECT_EQ(undo("session.json --dry-run", 0).at("command"), nullptr);
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
}

TEST_F(Undo, SaysThatItIsDoneBeforeTheVariablesCannotBeWritten) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json --write-variables v.json").status, 0);
  script(2, leave("1731234700000", {"ide/4.0.0"}) + "; rm v.json; mkdir v.json");
  const Outcome outcome = eclipse_int("undo session.json --variables v.json --write-variables v.json 2>&1");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_TRUE(
      outcome.output.ends_with(" 2>&1\n"
                               "  Note: the run wrote its variables to DIRECTORY/v.json, which this undo leaves unchanged; to "
                               "update it, use --variables and --write-variables with this file\n"
                               "  Done\n"
                               "eclipse-int: v.json: is not a regular file; give the path of a JSON file\n"))
      << outcome.output;
}

TEST_F(Undo, IsKnownAlsoWhenItsDirectorFailsAtTheEnd) {
  const std::string with_number = "sh -c 'echo $$ > number; exec \"$@\"' -";
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  script(2, leave("1731234700000", {"ide/4.0.0"}) + "; exit 13");
  EXPECT_EQ(undo("session.json", 1).at("error"), "the director did not revert the profile: exit code 13");
  EXPECT_EQ(Json::parse(eclipse_int("history eclipse --json").output).at("states").at(0).at("run").at("revertedTo"),
            "1731234500000");
  script(3, leave("1731234800000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(undo("session.json --to 1731234600000", 0).at("error"), nullptr);
  script(4, leave("1731234900000", {"ide/4.0.0"}) +
                "; kill -s TERM $(cat number); sleep 0.5; kill -s TERM $(cat number); exec sleep 100");
  EXPECT_EQ(eclipse_int("undo session.json", with_number).status, 143);
  const Json states = Json::parse(eclipse_int("history eclipse --json").output).at("states");
  EXPECT_EQ(states.at(0).at("run").at("revertedTo"), "1731234500000");
  EXPECT_EQ(states.at(0).at("run").at("completed"), true);
}

TEST_F(Undo, LetsTheDirectorEndUnlessASecondSignalComes) {
  const std::string with_number = "sh -c 'echo $$ > number; exec \"$@\"' -";
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  script(2, "sleep 0.3; kill -s TERM $(cat number); sleep 0.5; kill -s TERM $(cat number); exec sleep 100");
  const Outcome stopped = eclipse_int("undo session.json --json", with_number);
  EXPECT_EQ(stopped.status, 143);
  EXPECT_EQ(Json::parse(stopped.output).at("error"), "SIGTERM stopped the director");
  script(3, "kill -s TERM $(cat number); sleep 0.5; " + leave("1731234700000", {"ide/4.0.0"}));
  const Outcome done = eclipse_int("undo session.json", with_number);
  EXPECT_EQ(done.status, 0) << done.output;
  EXPECT_NE(done.error.find("waiting for the director to end"), std::string::npos) << done.error;
  script(4, "printf '<profile' > " + registry +
                "1731234800000.profile; for i in 1 2 3 4 5 6; do kill -s TERM $(cat number); sleep 0.5; done; exec sleep 100");
  const Outcome damaged = eclipse_int("undo --eclipse eclipse --to 1731234600000 --json", with_number);
  EXPECT_EQ(damaged.status, 143);
  EXPECT_TRUE(Json::parse(damaged.output).contains("damage")) << damaged.output;
}

TEST_F(Undo, NeedsAnEclipse) {
  const auto error_of = [&](const std::string& arguments) {
    const Outcome outcome = eclipse_int("undo " + arguments);
    EXPECT_EQ(outcome.status, 2) << arguments;
    EXPECT_EQ(outcome.output, "");
    return outcome.error;
  };
  const std::string more = "\nRun with --help for more information.\n";
  EXPECT_EQ(error_of(""), "eclipse-int: SESSION: missing; give a session file, or --eclipse with the Eclipse instance" + more);
  EXPECT_EQ(error_of("--eclipse nowhere"),
            "eclipse-int: DIRECTORY/nowhere: is not a file; give the Eclipse executable, or the directory that contains it\n");
  EXPECT_EQ(error_of("session.json --set ECLIPSE_INTEGRATION_CHOICE=none"),
            "eclipse-int: session.json: the session chooses no Eclipse instance; use --eclipse with one" + more);
  EXPECT_EQ(error_of("session.json --write-variables v.json"),
            "eclipse-int: --write-variables: needs --variables with the file of the last run" + more);
  fake::write_file("v.json", "{}");
  EXPECT_EQ(eclipse_int("undo session.json --variables v.json --write-variables session.json").status, 2);
}

TEST_F(Undo, DoesNotWriteVariablesOverTheEclipse) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json --write-variables v.json").status, 0);
  fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.profile=P\n");
  for (const std::string file : {"eclipse/configuration/config.ini", "eclipse/eclipse"}) {
    const Outcome outcome = eclipse_int("undo --eclipse eclipse --variables v.json --write-variables " + file);
    EXPECT_EQ(outcome.status, 2) << file;
    EXPECT_NE(outcome.error.find(file + ": --write-variables would overwrite DIRECTORY/" + file), std::string::npos)
        << outcome.error;
  }
  EXPECT_EQ(content_of("eclipse/configuration/config.ini"), "eclipse.p2.profile=P\n");
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
}

TEST_F(Undo, IsNotBegunWhenTheVariablesCannotBeWritten) {
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json --write-variables v.json").status, 0);
  EXPECT_EQ(eclipse_int("undo --eclipse eclipse --variables v.json --write-variables missing/v.json"),
            (Outcome{2, "",
                     "eclipse-int: missing/v.json: cannot be written: No such file or directory; give the path of a writable "
                     "file in a writable directory\n"}));
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
}

TEST_F(Undo, TakesWhatItNeedsFromTheNamedRepositoriesAndThoseOfTheRuns) {
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nother\ttwo\n");
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  ASSERT_EQ(eclipse_int("run session.json").status, 0);
  const std::string run = director_calls();
  fs::create_directory("my: site");
  fake::write_file("a.zip", "");
  script(2, leave("1731234700000", {"ide/4.0.0"}));
  const std::string undo = "undo session.json --repository ";
  EXPECT_EQ(eclipse_int(undo + "missing"),
            (Outcome{2, "", "eclipse-int: --repository: \"missing\" does not exist\nRun with --help for more information.\n"}));
  EXPECT_EQ(director_calls(), run);
  EXPECT_EQ(eclipse_int(undo + "'my: site' --repository a.zip --repository http://example.org/a").status, 0);
  const std::string calls = director_calls().substr(run.size());
  EXPECT_EQ(calls.substr(std::min(calls.find(','), calls.size())),
            ",file://DIRECTORY/my%3A%20site,jar:file://DIRECTORY/a.zip!/,http://example.org/a,file://DIRECTORY/tools/other,"
            "file://DIRECTORY/tools/site -revert 1731234500000\n");
}

TEST_F(Undo, IsNotBegunWhenNoRepositoryHasWhatIsMissing) {
  const auto state = [&](const std::string& version) {
    return "<profile><properties><property name='org.eclipse.equinox.p2.cache' value='" + directory.path() +
           "/eclipse'/></properties><units><unit id='f' version='" + version +
           "'><touchpoint id='org.eclipse.equinox.p2.osgi' version='1.0.0'/><artifacts><artifact "
           "classifier='org.eclipse.update.feature' id='f' version='" +
           version + "'/></artifacts></unit></units></profile>";
  };
  fake::write_file("eclipse/artifacts.xml", "<repository><artifacts/></repository>");
  fake::write_file(registry + "1731234500000.profile", state("1.0.0"));
  fake::write_file(registry + "1731234600000.profile", state("2.0.0"));
  EXPECT_EQ(eclipse_int("undo --eclipse eclipse --force --to 1731234500000"),
            (Outcome{1,
                     "Eclipse DIRECTORY/eclipse/eclipse\n"
                     "  Reverts to the state 1731234500000 (2024-11-10 10:28:20 UTC)\n"
                     "  Also undoes 1731234600000 (2024-11-10 10:30:00 UTC), made outside eclipse-int:\n"
                     "    + 1 other unit, - 1 other unit\n"
                     "  Changes:\n"
                     "    + 1 other unit, - 1 other unit\n"
                     "  Missing, in the instance and in all known repositories: feature f 1.0.0\n"
                     "  Error: the director would fail, since no known repository has what is missing; use --repository with "
                     "one that has it\n",
                     ""}));
  EXPECT_EQ(director_calls(), "");
}

TEST_F(Undo, WaitsForItsTurn) {
  for (const std::string seconds : {"nan", "-nan", "1e308", "inf", "-1"}) {
    EXPECT_EQ(eclipse_int("undo session.json --wait=" + seconds).status, 2) << seconds;
  }
  const Outcome outcome = eclipse_int("undo session.json", "flock eclipse/configuration/.eclipse-int.lock");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_NE(outcome.error.find("another director is at work"), std::string::npos) << outcome.error;
  EXPECT_EQ(eclipse_int("undo --eclipse eclipse --to 1731234500000 --dry-run", "flock eclipse/configuration/.eclipse-int.lock"),
            (Outcome{1,
                     "Eclipse DIRECTORY/eclipse/eclipse\n"
                     "  Reverts to the state 1731234500000 (2024-11-10 10:28:20 UTC)\n"
                     "  Changes:\n    no change\n"
                     "  Error: another director is at work on the instance, and may change it; try again when it has ended\n",
                     ""}));
}

TEST_F(Undo, OfRunsInAListThatCannotBeReadIsImpossibleAndTheRunSaysSo) {
  fake::write_file(journal, "{");
  script(1, leave("1731234600000", {"ide/4.0.0", "one/1.0.0"}));
  const Outcome outcome = eclipse_int("run session.json");
  EXPECT_EQ(outcome.status, 0) << outcome.output;
  EXPECT_EQ(outcome.error, "eclipse-int: warning: the list of runs cannot be read and was renamed to DIRECTORY/" + journal +
                               ".damaged; \"undo\" cannot undo earlier runs\n");
  EXPECT_EQ(content_of(journal + ".damaged"), "{");
  EXPECT_EQ(Json::parse(content_of(journal)).at("runs").size(), 1U);
}

}  // namespace

}  // namespace cli_test
