#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

namespace cli_test {

namespace {

using Json = nlohmann::json;

/// The first and the last start of the director is the question for what is installed.
class VerifiedRun : public ChildCommand {
 protected:
  std::string verification(const Outcome& outcome) const {
    const std::size_t start = outcome.output.find("\nVerification:\n");
    return start == std::string::npos ? "" : outcome.output.substr(start);
  }
};

const std::string only_roots =
    "  Only units that were installed by name are known, not their requirements: the p2 profile of the instance cannot be "
    "read.\n";

const std::string question = "-nosplash -nl en -application org.eclipse.equinox.p2.director -listInstalledRoots\n";

TEST_F(VerifiedRun, TellsWhatCameIn) {
  write_session("install");
  script(3, "echo one/1.0.0; echo two/1.0.0");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.error, "");
  EXPECT_EQ(director_calls(), question + install_arguments("one,two") + "\n" + question);
  EXPECT_EQ(verification(outcome),
            "\nVerification:\n"
            "  Installed:\n"
            "    one/1.0.0\n"
            "    two/1.0.0\n"
            "Same: all 2 units to be installed are installed in DIRECTORY/eclipse/eclipse\n" +
                only_roots);
}

TEST_F(VerifiedRun, FailsWhenWhatWasDoneIsNotThere) {
  write_session("install");
  script(3, "echo one/1.0.0");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 1) << "although every command succeeded";
  EXPECT_NE(verification(outcome).find("\n  two is not installed by name ("), std::string::npos) << outcome.output;
  EXPECT_NE(outcome.output.find("\n\nDone, but the Eclipse instance is not in the state that the session describes\n"
                                "  Installed into DIRECTORY/eclipse:\n"
                                "    one\n"
                                "  The director reports success, but the verification below does not find these features in "
                                "DIRECTORY/eclipse:\n"
                                "    two\n\n"),
            std::string::npos)
      << outcome.output;
}

TEST_F(VerifiedRun, DoesNotDenyWhatIsThereAlthoughTheDirectorFailed) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone/1.0\nsite\ttwo\nsite\tthree\r\n");
  script(2, "exit 13");
  script(3, "exit 13");
  script(4, "exit 13");
  script(6, "echo one/1.0.0; echo three/1.0.0");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(outcome.output.find("\n  Why: the launcher failed: the application exited early and logged no reason\n"
                                "  Installing all features at once failed, so each was tried separately.\n"
                                "  Installed into DIRECTORY/eclipse:\n"
                                "    three\\r\n"
                                "  Not installed into DIRECTORY/eclipse:\n"
                                "    two\n"
                                "  The director reports failure, but the verification below finds these features in "
                                "DIRECTORY/eclipse:\n"
                                "    one/1.0\n\n"),
            std::string::npos)
      << outcome.output;
}

TEST_F(VerifiedRun, WarnsBeforeARemovalThatIsBlocked) {
  write_session("uninstall", {}, "\"remove\": true");
  script(1, "echo one/1.0.0");
  script(2, "echo 'Installation failed.'; echo 'two has not been found.'; exit 13");
  script(3, "echo one/1.0.0");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.error,
            "eclipse-int: warning: two (DIRECTORY/tools/etc/eclipse/tools.txt:3) is not installed by name, so the "
            "director removes none of the features, unless it is installed as a requirement\n");
  EXPECT_NE(outcome.output.find("\nFailed\n"
                                "  Why: two has not been found.\n"
                                "    Fix: remove only what is installed: the director removes all features or none\n"
                                "    Features: one, two\n"
                                "  Why: the shell failed: "),
            std::string::npos)
      << outcome.output;
  EXPECT_EQ(verification(outcome),
            "\nVerification:\n"
            "  Nothing was installed or removed.\n"
            "Different: 1 of 2 units to be removed is still installed in DIRECTORY/eclipse/eclipse\n"
            "  one is still installed (DIRECTORY/tools/etc/eclipse/tools.txt:2)\n" +
                only_roots);
}

TEST_F(VerifiedRun, WarnsOfWhatIsCertainWhereTheProfileTells) {
  write_session("uninstall", {}, "\"remove\": true");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite\ttwo\nsite\tthree\n");
  script(1, "echo one/1.0.0; echo other/1.0.0");
  const std::string registry = "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";
  script(2, "cp " + registry + "1.profile " + registry + "2.profile");
  script(3, "echo other/1.0.0; echo two/1.0.0");
  fake::write_file(registry + "1.profile",
                   "<profile><units><unit id='one' version='1.0.0'/><unit id='two' version='1.0.0'/>"
                   "<unit id='other' version='1'><requires><required namespace='org.eclipse.equinox.p2.iu' "
                   "name='two'/></requires></unit></units></profile>");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(
      outcome.error,
      "eclipse-int: warning: three (DIRECTORY/tools/etc/eclipse/tools.txt:3) is not installed, so the director removes none of "
      "the features\n"
      "eclipse-int: warning: two (DIRECTORY/tools/etc/eclipse/tools.txt:2) is required by other, so the director does not "
      "remove it, even when it reports success\n");
  EXPECT_NE(outcome.output.find("\n\nDone, but the Eclipse instance is not in the state that the session describes\n"
                                "  Removed from DIRECTORY/eclipse:\n"
                                "    three\n"
                                "  The director reports success, but the verification below finds these features in "
                                "DIRECTORY/eclipse:\n"
                                "    one\n"
                                "    two\n\n"),
            std::string::npos)
      << outcome.output;
  EXPECT_TRUE(
      verification(outcome).starts_with("\nVerification:\n"
                                        "  Now installed by name (before: as a requirement):\n"
                                        "    two/1.0.0\n"
                                        "  Still installed, but no longer by name:\n"
                                        "    one/1.0.0\n"))
      << verification(outcome);
}

TEST_F(VerifiedRun, ReadsTheLogOfTheInstanceThatALinkNames) {
  std::filesystem::create_symlink("eclipse/eclipse", "link");
  write_session("install", {{"USER_DEFINED_ECLIPSE_PATH", directory.path() + "/link"}, {"ECLIPSE_BIN", "link"}});
  const std::string log =
      "mkdir -p \"$here/eclipse/configuration\"; printf '!SESSION\\n!MESSAGE what failed\\n' > "
      "\"$here/eclipse/configuration/1.log\"; exit 13";
  fake::write_file("2.sh", log + "\n");
  const Outcome outcome = eclipse_int("run session.json --verify --json");
  const Json commands = Json::parse(outcome.output).at("commands");
  EXPECT_EQ(commands.at(0).at("failure").at("log"), "DIRECTORY/eclipse/configuration/1.log");
}

TEST_F(VerifiedRun, IsThereForPrograms) {
  write_session("install");
  script(2, "exit 13");
  script(3, "echo 'Installation failed.'; echo 'no one'; exit 13");
  script(5, "echo two/1.0.0");
  const Outcome outcome = eclipse_int("run session.json --verify --json");
  EXPECT_EQ(outcome.status, 1);
  const Json verification = Json::parse(outcome.output).at("verification");
  EXPECT_EQ(verification.at("planned"), true);
  EXPECT_EQ(verification.at("before"), Json::array());
  EXPECT_EQ(verification.at("installed"), Json::array({"two/1.0.0"}));
  EXPECT_EQ(verification.at("removed"), Json::array());
  EXPECT_EQ(verification.at("notRemovable"), Json::array());
  EXPECT_EQ(verification.at("staying"), Json::array());
  EXPECT_EQ(verification.at("nowByName"), Json::array());
  EXPECT_EQ(verification.at("noLongerByName"), Json::array());
  EXPECT_EQ(verification.at("errors"), Json::array());
  EXPECT_EQ(verification.at("after").at("same"), false);
  EXPECT_FALSE(verification.contains("failures"));
}

TEST_F(VerifiedRun, IsRunAllTheSameWhenTheInstanceCannotBeAsked) {
  write_session("install");
  script(1, "exit 15");
  script(3, "exit 15");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(director_calls(), question + install_arguments("one,two") + "\n" + question);
  EXPECT_EQ(
      verification(outcome),
      "\n"
      "Verification:\n"
      "  Error: before the run: \"DIRECTORY/eclipse/eclipse\" failed with exit code 15, so the installed units are not known; "
      "the launcher failed: the instance or its configuration cannot be written\n"
      "  Error: after the run: \"DIRECTORY/eclipse/eclipse\" failed with exit code 15, so the installed units are not known; "
      "the launcher failed: the instance or its configuration cannot be written\n");
}

TEST_F(VerifiedRun, AsksNothingWhenNothingIsRun) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(verification(outcome), "\nVerification:\n  The session runs no command, so there is nothing to verify.\n");
  EXPECT_EQ(director_calls(), "");
}

TEST_F(VerifiedRun, SaysThatNoEclipseIsThereAsVerifyDoes) {
  write_session("uninstall", {{"USER_DEFINED_ECLIPSE_PATH", "/missing/eclipse"}}, "\"remove\": true");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 2);
  const std::string error = "the Eclipse instance does not exist, so a run does nothing";
  EXPECT_EQ(verification(outcome), "\nVerification:\n  Error: " + error + "\n    \"/missing/eclipse\" does not exist\n");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{2, "", "eclipse-int: " + error + "\n  \"/missing/eclipse\" does not exist\n"}));
  const Json result = Json::parse(eclipse_int("run session.json --verify --json").output);
  EXPECT_EQ(result.at("exitStatus"), 2);
  EXPECT_EQ(result.at("verification"), Json::parse(R"({"planned": false, "reasons": ["\"/missing/eclipse\" does not exist"],
    "errors": ["the Eclipse instance does not exist, so a run does nothing"]})"));
  EXPECT_EQ(eclipse_int("run session.json").status, 0) << "nothing was left undone that was asked for";
}

TEST_F(VerifiedRun, OfASessionThatIsRefusedSaysNoMoreThanThat) {
  write_session("install", {{"USER_DEFINED_ECLIPSE_PATH", "/missing/eclipse"}});
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(verification(outcome), "\nVerification:\n  The session runs no command, so there is nothing to verify.\n");
}

TEST_F(VerifiedRun, IsTheRunItself) {
  write_session("install");
  script(5, "echo one/1.0.0; echo two/1.0.0");
  script(1, "exit 13");
  const Outcome plain = eclipse_int("run session.json");
  std::filesystem::remove("eclipse/calls");
  std::filesystem::rename("eclipse/1.sh", "eclipse/2.sh");
  // What was installed is known better then.
  const std::string events = plain.output.substr(0, plain.output.find("  The director reports success"));
  EXPECT_NE(events.find("\nDone\n"), std::string::npos) << events;
  EXPECT_TRUE(eclipse_int("run session.json --verify").output.starts_with(events));
}

}  // namespace

}  // namespace cli_test
