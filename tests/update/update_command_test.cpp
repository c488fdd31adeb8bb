// run --update and plan --update, with a script in the place of the director. With the real one: tests/director.
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

namespace cli_test {

namespace {

using Json = nlohmann::json;

const std::string update =
    "-nosplash -nl en -application org.eclipse.equinox.p2.director -repository file://DIRECTORY/tools/site -u one/1.0.0 "
    "-i one/2.0.0\n";

const std::string registry = "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";

class UpdateCommand : public ChildCommand {
 protected:
  UpdateCommand() {
    write_session("modify");
    write_repository("2.0.0");
    write_profile("1.0.0");
  }

  static void write_repository(const std::string& version) {
    fake::write_file("tools/site/content.xml", "<repository><units><unit id='one' version='" + version +
                                                   "'/><unit id='two' version='1.0.0'/></units></repository>");
  }

  static void write_profile(const std::string& version, const std::string& file = registry + "1.profile") {
    fake::write_file(file, "<profile><units><unit id='one' version='" + version +
                               "'/></units><iusProperties><iuProperties id='one' version='" + version +
                               "'><properties><property name='org.eclipse.equinox.p2.type.root' value='true'/></properties>"
                               "</iuProperties></iusProperties></profile>");
  }
};

const std::string refusal =
    "one 1.0.0 is installed, and the session offers 2.0.0; the director would not replace the installed version; use --update";

TEST_F(UpdateCommand, IsRecommendedBeforeAnythingIsRun) {
  for (const std::string mode : {"modify", "install"}) {
    write_session(mode);
    const Outcome run = eclipse_int("run session.json --json");
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(Json::parse(run.output).at("refusal"), refusal);
    EXPECT_EQ(Json::parse(run.output).at("update").at("command"), nullptr);
    const Outcome plan = eclipse_int("plan session.json");
    EXPECT_EQ(plan.status, 1);
    EXPECT_NE(plan.output.find("  ~  one  1.0.0 -> 2.0.0  is refused: the director does not replace version 1.0.0, which was "
                               "installed by name; --update does\n"),
              std::string::npos)
        << plan.output;
    EXPECT_NE(plan.output.find("\nThe run would be refused\n  " + refusal + "\n"), std::string::npos) << plan.output;
  }
  EXPECT_EQ(Json::parse(eclipse_int("plan session.json --json").output).at("update").at("refusal"), refusal);
  EXPECT_EQ(director_calls(), "");
}

TEST_F(UpdateCommand, IsOneCommandBeforeThatOfThePlugIn) {
  const Outcome plan = eclipse_int("plan session.json --update");
  EXPECT_EQ(plan.status, 0);
  EXPECT_NE(plan.output.find("  ~  one  1.0.0 -> 2.0.0  updated\n"), std::string::npos) << plan.output;
  EXPECT_NE(plan.output.find("\nCommand of the update, before all others\n  DIRECTORY/eclipse/eclipse -nosplash "),
            std::string::npos)
      << plan.output;
  let_director_leave_states();
  const Outcome run = eclipse_int("run session.json --update");
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(run.output.ends_with("\nUpdated:\n  ~ one 1.0.0 -> 2.0.0\n")) << run.output;
  EXPECT_EQ(director_calls(), update + install_arguments("one,two") + "\n");
}

TEST_F(UpdateCommand, IsThereForPrograms) {
  const Json plan = Json::parse(eclipse_int("plan session.json --update --json").output);
  const Json run = Json::parse(eclipse_int("run session.json --update --json").output);
  EXPECT_EQ(plan.at("update").at("refusal"), nullptr);
  EXPECT_EQ(plan.at("update").at("replacements"), run.at("update").at("replacements"));
  EXPECT_EQ(run.at("update").at("replacements"),
            Json::parse("[{\"unit\": \"one\", \"installed\": \"1.0.0\", \"version\": \"2.0.0\", \"downgrade\": false, "
                        "\"location\": \"DIRECTORY/tools/etc/eclipse/tools.txt:2\"}]"));
  EXPECT_EQ(run.at("update").at("command"), plan.at("update").at("command"));
  ASSERT_EQ(run.at("commands").size(), 2U);
  EXPECT_EQ(run.at("commands").at(0).at("action"), "update");
  EXPECT_EQ(run.at("commands").at(0).at("command"), run.at("update").at("command"));
}

TEST_F(UpdateCommand, ThatFailsLeavesEverythingAsItIs) {
  script(1, "echo 'Cannot complete the install.'; echo held > eclipse/configuration/1.log; exit 13");
  const Outcome run = eclipse_int("run session.json --update");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.output.find("Refused: the director did not update the features, and nothing was changed\n  Why: "),
            std::string::npos)
      << run.output;
  EXPECT_EQ(director_calls(), update);
}

TEST_F(UpdateCommand, ThatFailsSaysWhatItChanged) {
  write_profile("2.0.0", "prepared");
  script(1, "cp prepared " + registry + "2.profile; exit 137");
  const Outcome run = eclipse_int("run session.json --update");
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(
      run.output.find("Refused: the director failed, but it has changed the Eclipse instance: + one/2.0.0, - one/1.0.0\n"),
      std::string::npos)
      << run.output;
  EXPECT_EQ(director_calls(), update);
}

TEST_F(UpdateCommand, ThatFailsAndLeavesAStateWithoutAChangeHasChangedNothing) {
  script(1, "cp " + registry + "1.profile " + registry + "2.profile; exit 13");
  EXPECT_EQ(Json::parse(eclipse_int("run session.json --update --json").output).at("refusal"),
            "the director did not update the features, and nothing was changed");
}

TEST_F(UpdateCommand, ThatFailsAndDamagesTheProfileSaysSo) {
  script(1, "printf '<profile' > " + registry + "2.profile; exit 137");
  EXPECT_EQ(Json::parse(eclipse_int("run session.json --update --json").output).at("refusal"),
            "the director failed, and the newest state of the p2 profile, DIRECTORY/" + registry +
                "2.profile, is not well-formed XML");
}

TEST_F(UpdateCommand, EndsWithASignal) {
  script(1, "kill -s TERM $(cat number); sleep 0.3");
  const Outcome run = eclipse_int("run session.json --update", "sh -c 'echo $$ > number; exec \"$@\"' -");
  EXPECT_EQ(run.status, 143);
  EXPECT_EQ(director_calls(), update) << "no other director is started";
}

TEST_F(UpdateCommand, IsNoDowngradeUnlessThatIsAllowed) {
  write_profile("3.0.0");
  const Outcome refused = eclipse_int("run session.json --update --json");
  EXPECT_EQ(refused.status, 1);
  EXPECT_EQ(Json::parse(refused.output).at("refusal"),
            "one 3.0.0 is installed, and the session offers only 2.0.0; --allow-downgrade goes back to it");
  EXPECT_EQ(director_calls(), "");
  let_director_leave_states();
  EXPECT_EQ(eclipse_int("run session.json --update --allow-downgrade").status, 0);
  EXPECT_NE(director_calls().find(" -u one/3.0.0 -i one/2.0.0\n"), std::string::npos);
  EXPECT_EQ(eclipse_int("run session.json --allow-downgrade").status, 2);
  EXPECT_EQ(eclipse_int("run session.json --update --resolve").status, 2);
}

TEST_F(UpdateCommand, IsRefusedAsPlannedForAFeatureInTwoVersions) {
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone/1.0.0\nsite\tone\n");
  fake::write_file("tools/site/content.xml",
                   "<repository><units><unit id='one' version='1.0.0'/><unit id='one' version='2.0.0'/></units></repository>");
  const std::string contradiction =
      "the session offers one in the versions 2.0.0 (DIRECTORY/tools/etc/eclipse/tools.txt:2) and 1.0.0 "
      "(DIRECTORY/tools/etc/eclipse/tools.txt:1); leave out all but one of the lines";
  const Outcome plan = eclipse_int("plan session.json --update --json");
  EXPECT_EQ(plan.status, 1);
  EXPECT_EQ(Json::parse(plan.output).at("update").at("refusal"), contradiction);
  EXPECT_EQ(Json::parse(plan.output).at("changes").at(0).at("change"), "keep");
  EXPECT_EQ(Json::parse(plan.output).at("changes").at(1).at("change"), "fail");
  const Outcome run = eclipse_int("run session.json --update --json");
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(Json::parse(run.output).at("refusal"), contradiction);
  EXPECT_EQ(director_calls(), "");

  std::filesystem::remove_all("eclipse/p2");
  const Outcome fresh = eclipse_int("plan session.json --update");
  EXPECT_EQ(fresh.status, 1);
  EXPECT_NE(
      fresh.output.find(
          "  !  one        2.0.0  will most likely fail: the session also brings version 1.0.0 (DIRECTORY/tools/etc/eclipse/"
          "tools.txt:1) (DIRECTORY/tools/etc/eclipse/tools.txt:2)\n"),
      std::string::npos)
      << fresh.output;
}

const std::string question = "-nosplash -application org.eclipse.equinox.p2.director -repository file://DIRECTORY/tools/site ";

TEST_F(UpdateCommand, IsPartOfWhatTheDirectorIsAsked) {
  const std::string unmet = "echo 'Installation failed.'; echo 'Cannot complete the install.' >&2; exit 13";
  script(2, unmet);
  script(4, unmet);
  const Outcome plan = eclipse_int("plan session.json --update --resolve");
  EXPECT_EQ(plan.status, 1);
  EXPECT_NE(plan.output.find("  The director would perform the update.\n  The director would not install all 2 features at "
                             "once.\n"),
            std::string::npos)
      << plan.output;
  EXPECT_NE(plan.output.find("  The run would try the features one by one and install 1 of 2.\n"), std::string::npos)
      << plan.output;
  const std::string asked = " -u one/1.0.0 -nl en -verifyOnly";
  for (const std::string features : {"one/2.0.0", "one/2.0.0,one,two", "one/2.0.0,one", "one/2.0.0,two"}) {
    EXPECT_NE(director_calls().find(question + "-i " + features + asked), std::string::npos) << director_calls();
  }
}

TEST_F(UpdateCommand, ThatTheDirectorWouldNotDoEndsTheQuestions) {
  script(1, "exit 13");
  const Outcome plan = eclipse_int("plan session.json --update --resolve");
  EXPECT_EQ(plan.status, 1);
  EXPECT_NE(plan.output.find("  !  one  2.0.0  see what the director says below (DIRECTORY/tools/etc/eclipse/tools.txt:2)\n"),
            std::string::npos)
      << plan.output;
  EXPECT_NE(plan.output.find("  The director would not perform the update, so the run would end without a change.\n"),
            std::string::npos)
      << plan.output;
  const Json json = Json::parse(eclipse_int("plan session.json --update --resolve --json").output);
  EXPECT_EQ(json.at("resolution").at("update").at("features"), Json({"one/2.0.0"}));
}

TEST_F(UpdateCommand, IsNothingWhenThereIsNothingToReplace) {
  write_profile("2.0.0");
  let_director_leave_states();
  EXPECT_EQ(eclipse_int("run session.json --update").status, 0);
  EXPECT_EQ(director_calls(), install_arguments("one,two") + "\n");
}

}  // namespace

}  // namespace cli_test
