// run --all-or-nothing, with a script in the place of the director. With the real one: tests/director.
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

namespace cli_test {

namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

const std::string registry = "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";

std::string unit(const std::string& id) { return "<unit id='" + id + "' version='1.0.0'/>"; }

class AllOrNothing : public ChildCommand {
 protected:
  AllOrNothing() {
    write_session("install");
    fs::create_directory("eclipse/configuration");
    fake::write_file(registry + "1.profile", "<profile><units>" + unit("ide") + "</units></profile>");
    fake::write_file("with-one", "<profile><units>" + unit("ide") + unit("one") + "</units></profile>");
    fake::write_file("with-both", "<profile><units>" + unit("ide") + unit("one") + unit("two") + "</units></profile>");
  }

  static std::string leave(const std::string& file, const std::string& time) {
    return "cp " + file + " " + registry + time + ".profile";
  }
  const std::string go_back = "case $* in *-revert*) " + leave(registry + "1.profile", "9") + " ;; esac";

  Json run(int status, const std::string& options = "") const {
    const Outcome outcome =
        eclipse_int("run session.json --all-or-nothing --json" + options, "sh -c 'echo $$ > number; exec \"$@\"' -");
    EXPECT_EQ(outcome.status, status) << outcome.output << outcome.error;
    return Json::parse(outcome.output);
  }
};

TEST_F(AllOrNothing, LeavesAWholeRunAsItIs) {
  script(1, leave("with-both", "2"));
  EXPECT_EQ(run(0).at("allOrNothing"), (Json{{"whole", true},
                                             {"before", "1"},
                                             {"revertedTo", nullptr},
                                             {"renamed", Json::array()},
                                             {"restored", Json::array()},
                                             {"change", nullptr},
                                             {"command", nullptr},
                                             {"failure", nullptr},
                                             {"error", nullptr}}));
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
  script(2, leave("with-both", "3"));
  const Outcome outcome = eclipse_int("run session.json --all-or-nothing");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_TRUE(outcome.output.ends_with("\n  USER_DEFINED_ECLIPSE_PATH_EMPTY = no\n")) << outcome.output;
}

TEST_F(AllOrNothing, SaysNothingOfARunWithoutADirector) {
  fake::write_file("tools/etc/eclipse/tools.txt", "");
  EXPECT_FALSE(run(0).contains("allOrNothing"));
}

TEST_F(AllOrNothing, IsReportedWithAVerification) {
  script(1, leave("with-both", "2"));
  const Json result = run(0, " --verify");
  EXPECT_TRUE(result.contains("allOrNothing"));
  EXPECT_TRUE(result.contains("verification"));
}

TEST_F(AllOrNothing, RevertsHalfARun) {
  script(1, "exit 13");
  script(2, leave("with-one", "2"));
  script(3, "exit 13");
  script(4, go_back);
  const Outcome outcome = eclipse_int("run session.json --all-or-nothing --write-variables v.json");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.error, "eclipse-int: not all features were installed; reverting\n");
  EXPECT_NE(outcome.output.find("\nAll or nothing:\n"
                                "  Not all features were installed, so the instance is as it was before the run: the state 1 "
                                "(1970-01-01 00:00:00 UTC).\n"
                                "  Command: DIRECTORY/eclipse/eclipse -nosplash -nl en "),
            std::string::npos)
      << outcome.output;
  EXPECT_TRUE(outcome.output.ends_with(" 2>&1\n  Reverting changed:\n    - 1 other unit\n")) << outcome.output;
  EXPECT_TRUE(fs::exists(registry + "9.profile"));
  EXPECT_FALSE(Json::parse(content_of("v.json")).contains("CASHED_ECLIPSE_PATH")) << "the instance is as new as before";
  const Json history = Json::parse(eclipse_int("history eclipse --json").output);
  EXPECT_EQ(history.at("states").at(0).at("run").at("revertedTo"), "1");
}

TEST_F(AllOrNothing, KeepsTheExecutableThatTheHostKnew) {
  script(1, "exit 13");
  script(2, leave("with-one", "2"));
  script(3, "exit 13");
  script(4, go_back);
  fake::write_file("v.json", R"({"CASHED_ECLIPSE_PATH": "/old/eclipse"})");
  EXPECT_EQ(eclipse_int("run session.json --all-or-nothing --variables v.json --write-variables v.json").status, 1);
  EXPECT_EQ(Json::parse(content_of("v.json")).at("CASHED_ECLIPSE_PATH"), "/old/eclipse");
}

TEST_F(AllOrNothing, LooksForWhatIsMissingInTheRepositoriesOfEarlierRuns) {
  fake::write_file("eclipse/configuration/.eclipse-int.runs.json",
                   R"({"runs": [{"command": "c", "before": "0", "after": "1", "revertedTo": "", "variablesFile": "",
                                 "repositories": ["file:///first", "file:///second"]}]})");
  script(1, "exit 13");
  script(2, leave("with-one", "2"));
  script(3, "exit 13");
  script(4, go_back);
  const Json result = run(1).at("allOrNothing");
  EXPECT_EQ(result.at("failure"), nullptr);
  const std::string way_back = result.at("command");
  EXPECT_NE(way_back.find(",file://DIRECTORY/tools/site,file:///first,file:///second' -revert '1' 2>&1"), std::string::npos)
      << way_back;
}

TEST_F(AllOrNothing, StartsNoDirectorWhenTheUnitsAreTheSame) {
  script(1, leave(registry + "1.profile", "2") + "; exit 13");
  for (int start = 2; start <= 3; ++start) script(start, "exit 13");
  const Json result = run(1).at("allOrNothing");
  EXPECT_EQ(result.at("revertedTo"), "1");
  EXPECT_EQ(result.at("command"), nullptr);
}

TEST_F(AllOrNothing, DoesNotGoBackToAStateWithoutADirector) {
  fake::write_file("with-director",
                   "<profile><units>" + unit("ide") + unit("org.eclipse.equinox.p2.director.app") + "</units></profile>");
  script(1, leave("with-director", "2") + "; exit 13");
  for (int start = 2; start <= 3; ++start) script(start, "exit 13");
  const Json result = run(1).at("allOrNothing");
  EXPECT_EQ(result.at("error"),
            "the state 1 has no director (org.eclipse.equinox.p2.director.app), so nothing could be installed or undone "
            "afterwards");
  EXPECT_EQ(result.at("command"), nullptr);
}

TEST_F(AllOrNothing, SaysWhenThereIsNoWayBackAfterAll) {
  script(1, "rm " + registry + "1.profile; printf '<profile' > " + registry + "2.profile; exit 13");
  for (int start = 2; start <= 3; ++start) script(start, "exit 13");
  const Outcome outcome = eclipse_int("run session.json --all-or-nothing");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(outcome.output.ends_with(
      "\nAll or nothing:\n"
      "  Not all features were installed.\n"
      "  Error: the instance is not as it was before the run: no state of the p2 profile in DIRECTORY/" +
      fs::path(registry).parent_path().string() + " can be read\n"))
      << outcome.output;
}

/// As when the disk is full: the director reports success nevertheless, and no other director could start.
TEST_F(AllOrNothing, RestoresAConfigurationThatWasCut) {
  fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.profile=P\n");
  fake::write_file("eclipse/artifacts.xml", "<repository/>");
  script(1, leave("with-both", "2") + "; : > eclipse/configuration/config.ini; : > eclipse/artifacts.xml");
  const Outcome outcome = eclipse_int("run session.json --all-or-nothing");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(outcome.output.ends_with(
      "\nAll or nothing:\n"
      "  A director has damaged the Eclipse instance, so the instance is as it was before the run: the state 1 "
      "(1970-01-01 00:00:00 UTC).\n"
      "  Renamed a damaged state of the profile to DIRECTORY/" +
      registry +
      "2.profile.damaged\n  Restored: DIRECTORY/eclipse/configuration/config.ini\n  Restored: "
      "DIRECTORY/eclipse/artifacts.xml\n"))
      << outcome.output;
  EXPECT_EQ(content_of("eclipse/configuration/config.ini"), "eclipse.p2.profile=P\n");
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
  EXPECT_EQ(eclipse_int("verify session.json").status, 1) << "nothing is installed";
}

TEST_F(AllOrNothing, AKilledCommandLeavesATrace) {
  script(1, leave("with-both", "2") + "; kill -s KILL $(cat number)");
  eclipse_int("run session.json --all-or-nothing", "sh -c 'echo $$ > number; exec \"$@\"' -");
  const Json newest = Json::parse(eclipse_int("history eclipse --json").output).at("states").at(0);
  EXPECT_EQ(newest.at("run").at("before"), "1");
  EXPECT_EQ(newest.at("run").at("completed"), false);
  const Outcome undo = eclipse_int("undo --eclipse eclipse --dry-run");
  EXPECT_EQ(undo.status, 0) << undo.output << undo.error;
}

TEST_F(AllOrNothing, AnInstanceWithoutItsProfileIsNotWhole) {
  script(1, "mv eclipse/p2 eclipse/p2.moved");
  const Json result = run(1);
  EXPECT_EQ(result.at("allOrNothing").at("whole"), false);
  EXPECT_NE(result.at("allOrNothing").at("error"), nullptr);
}

TEST_F(AllOrNothing, StartsNoDirectorWhenNothingHasChanged) {
  for (int start = 1; start <= 3; ++start) script(start, "exit 13");
  const Json result = run(1);
  EXPECT_EQ(result.at("allOrNothing").at("revertedTo"), "1");
  EXPECT_EQ(result.at("allOrNothing").at("command"), nullptr);
  EXPECT_EQ(result.at("commands").size(), 3U);
}

TEST_F(AllOrNothing, RevertsARunThatASignalEnds) {
  script(1, leave("with-one", "2") + "; kill -s TERM $(cat number); sleep 0.3");
  script(2, go_back);
  const Json result = run(143);
  EXPECT_EQ(result.at("status"), "interrupted");
  EXPECT_EQ(result.at("allOrNothing").at("revertedTo"), "1");
  EXPECT_TRUE(fs::exists(registry + "9.profile"));
  script(3, leave("with-one", "10") + "; kill -s TERM $(cat number); sleep 0.3");
  script(4, "cp " + registry + "9.profile " + registry + "11.profile");
  const Outcome outcome = eclipse_int("run session.json --all-or-nothing", "sh -c 'echo $$ > number; exec \"$@\"' -");
  EXPECT_EQ(outcome.status, 143);
  EXPECT_NE(outcome.output.find("\nAll or nothing:\n  Not all features were installed, so the instance is as it was before"),
            std::string::npos)
      << outcome.output;
}

TEST_F(AllOrNothing, LeavesAWholeRunThatASignalEnds) {
  script(1, leave("with-both", "2") + "; kill -s TERM $(cat number); sleep 0.3");
  const Json result = run(143);
  EXPECT_EQ(result.at("allOrNothing").at("whole"), true);
  EXPECT_EQ(result.at("allOrNothing").at("revertedTo"), nullptr);
  EXPECT_FALSE(fs::exists(registry + "9.profile"));
}

TEST_F(AllOrNothing, RevertsARunThatTwoSignalsEnd) {
  script(1, leave("with-one", "2") + "; kill -s INT $(cat number); sleep 0.5; kill -s INT $(cat number); exec sleep 100");
  script(2, go_back + "; sleep 0.5");
  const Json result = run(130);
  EXPECT_EQ(result.at("allOrNothing").at("revertedTo"), "1") << "these signals do not stop the way back";
}

TEST_F(AllOrNothing, TheWayBackIsGentleToo) {
  script(1, "exit 13");
  script(2, leave("with-one", "2"));
  script(3, "exit 13");
  script(4, "kill -s TERM $(cat number); sleep 0.5; " + go_back);
  EXPECT_EQ(run(1).at("allOrNothing").at("revertedTo"), "1");
}

TEST_F(AllOrNothing, SaysWhenTheWayBackWasStopped) {
  script(1, "exit 13");
  script(2, leave("with-one", "2"));
  script(3, "exit 13");
  script(4, "kill -s TERM $(cat number); sleep 0.5; kill -s TERM $(cat number); exec sleep 100");
  const Json result = run(143);
  EXPECT_EQ(result.at("allOrNothing").at("revertedTo"), nullptr);
  EXPECT_EQ(result.at("allOrNothing").at("error"), "SIGTERM stopped the director on the way back");
}

TEST_F(AllOrNothing, RenamesADamagedState) {
  script(1, "printf '<profile' > " + registry + "2.profile; kill -s KILL $$");
  script(2, leave("with-one", "3") + "; exit 13");
  script(3, "printf '<profile' > " + registry + "4.profile; kill -s KILL $$");
  script(4, go_back);
  const Json result = run(1);
  EXPECT_EQ(result.at("allOrNothing").at("renamed"), Json({"DIRECTORY/" + registry + "4.profile.damaged"}));
  EXPECT_EQ(result.at("allOrNothing").at("revertedTo"), "1");
}

TEST_F(AllOrNothing, RenamesAllDamagedStates) {
  for (const std::string number : {"1", "2"}) {
    script(std::stoi(number), "printf '<profile' > " + registry + std::to_string(std::stoi(number) + 1) + ".profile; exit 13");
  }
  script(3, "exit 13");
  const Outcome outcome = eclipse_int("run session.json --all-or-nothing");
  EXPECT_TRUE(outcome.output.ends_with(
      "\nAll or nothing:\n"
      "  Not all features were installed, so the instance is as it was before the run: the state 1 (1970-01-01 00:00:00 "
      "UTC).\n"
      "  Renamed a damaged state of the profile to DIRECTORY/" +
      registry + "3.profile.damaged\n  Renamed a damaged state of the profile to DIRECTORY/" + registry +
      "2.profile.damaged\n"))
      << outcome.output;
}

TEST_F(AllOrNothing, RevertsARemovalThatLeavesSomething) {
  write_session("uninstall", {}, "\"remove\": true");
  fake::write_file(registry + "1.profile", "<profile><units>" + unit("ide") + unit("one") + unit("two") + "</units></profile>");
  script(1, leave("with-one", "2"));
  script(2, go_back);
  const Json result = run(1);
  EXPECT_EQ(result.at("status"), "done") << "of the director";
  EXPECT_EQ(result.at("allOrNothing").at("revertedTo"), "1");
  script(3, leave("with-one", "10"));
  script(4, "cp " + registry + "1.profile " + registry + "11.profile");
  const Outcome outcome = eclipse_int("run session.json --all-or-nothing");
  EXPECT_EQ(outcome.error, "eclipse-int: not all features were removed; reverting\n");
  EXPECT_NE(outcome.output.find("\nDone, but the Eclipse instance is not in the state that the session describes\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_NE(outcome.output.find("\n  Not all features were removed, so the instance is as it was before the run: "),
            std::string::npos)
      << outcome.output;
}

TEST_F(AllOrNothing, SaysWhenTheDirectorDoesNotGoBack) {
  script(1, "exit 13");
  script(2, leave("with-one", "2"));
  script(3, "exit 13");
  script(4, "exit 13");
  const Json result = run(1);
  EXPECT_EQ(result.at("allOrNothing").at("error"), "the director did not revert the profile: exit code 13");
  EXPECT_TRUE(result.at("allOrNothing").at("failure").is_object());
  for (int start = 5; start <= 8; ++start) script(start, start == 6 ? leave("with-both", "3") : "exit 13");
  const Outcome outcome = eclipse_int("run session.json --all-or-nothing --write-variables v.json");
  EXPECT_TRUE(
      outcome.output.ends_with(" -revert '2' 2>&1\n  Why: the launcher failed: the application exited early "
                               "and logged no reason\n"))
      << outcome.output;
  EXPECT_TRUE(Json::parse(content_of("v.json")).contains("CASHED_ECLIPSE_PATH")) << "the instance is that of the run";
}

/// The name of its directory steers a terminal, and is not UTF-8.
TEST_F(AllOrNothing, NamesAnOddInstanceInPrintableCharacters) {
  const std::string odd = "e\x1B\xFF";
  fs::rename("eclipse", odd);
  fs::create_directory_symlink(odd, "eclipse");
  fake::write_file("eclipse/artifacts.xml", "<repository/>");
  const std::string arguments =
      "run session.json --all-or-nothing --set 'USER_DEFINED_ECLIPSE_PATH=" + directory.path() + "/" + odd + "/eclipse'";
  script(1, leave("with-both", "2") + "; : > eclipse/artifacts.xml");
  const Outcome damaged = eclipse_int(arguments);
  EXPECT_TRUE(
      damaged.output.ends_with("\n  Renamed a damaged state of the profile to DIRECTORY/e\\x1B\\xFF/p2/"
                               "org.eclipse.equinox.p2.engine/profileRegistry/P.profile/2.profile.damaged\n"
                               "  Restored: DIRECTORY/e\\x1B\\xFF/artifacts.xml\n"))
      << damaged.output;
  for (int start = 2; start <= 5; ++start) script(start, "exit 13");
  script(3, leave("with-one", "3"));
  script(5, "echo 'the reason'; exit 13");
  const Outcome failed = eclipse_int(arguments);
  EXPECT_NE(failed.output.find("\n  Command: 'DIRECTORY/e\\x1B\\xFF/eclipse' -nosplash "), std::string::npos) << failed.output;
  EXPECT_TRUE(
      failed.output.ends_with(" -revert '1' 2>&1\n"
                              "  Why: the launcher failed: the application exited early and logged no reason\n"
                              "    the reason\n"))
      << failed.output;
}

TEST_F(AllOrNothing, NeedsAWayBackBeforeItBegins) {
  const Outcome nowhere = eclipse_int("run session.json --all-or-nothing --json", "env TMPDIR=/nonexistent");
  EXPECT_EQ(nowhere.status, 1);
  const std::string refusal = Json::parse(nowhere.output).at("refusal");
  EXPECT_TRUE(refusal.starts_with("--all-or-nothing needs a directory for temporary files: ")) << refusal;
  fs::remove_all("eclipse/p2");
  const Json unknown = run(1);
  EXPECT_EQ(unknown.at("status"), "refused");
  EXPECT_EQ(unknown.at("allOrNothing").at("before"), nullptr);
  EXPECT_EQ(
      unknown.at("refusal"),
      "--all-or-nothing needs a state of the p2 profile to go back to: that of \"DIRECTORY/eclipse/eclipse\" is not known");
  EXPECT_EQ(director_calls(), "");
}

TEST_F(AllOrNothing, SaysWhyTheProfileIsNotKnown) {
  fs::create_directory(registry + "2.profile");
  EXPECT_EQ(run(1).at("refusal"), "--all-or-nothing needs a state of the p2 profile to go back to: DIRECTORY/" + registry +
                                      "2.profile is not a regular file");
  fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.data.area=@user.home/.p2\n");
  EXPECT_EQ(run(1).at("refusal"),
            "--all-or-nothing needs a state of the p2 profile to go back to: "
            "DIRECTORY/eclipse/configuration/config.ini has eclipse.p2.data.area=@user.home/.p2");
}

/// Here, a script starts Eclipse with another configuration. What is damaged is not of this run.
TEST_F(AllOrNothing, DoesNotTakeAnotherProfileForThatOfTheDirector) {
  fake::write_file("eclipse/artifacts.xml", "<repository/>");
  script(1, ": > eclipse/artifacts.xml; exit 13");
  script(2, "true");
  script(3, "exit 13");
  const Json result = run(1).at("allOrNothing");
  EXPECT_EQ(result.at("revertedTo"), nullptr);
  EXPECT_EQ(
      result.at("error"),
      "the director reports success, but has written no new state of the p2 profile since 1: it worked on another profile, or "
      "the executable belongs to another Eclipse or drops its arguments");
  EXPECT_EQ(result.at("command"), nullptr);
  EXPECT_EQ(result.at("restored"), Json::array());
  EXPECT_EQ(content_of("eclipse/artifacts.xml"), "");
}

}  // namespace

}  // namespace cli_test
