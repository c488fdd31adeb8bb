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
    "  Only what was installed by name is known, not what came along with it: the instance's p2 profile cannot be read.\n";

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
            "  Came in:\n"
            "    one/1.0.0\n"
            "    two/1.0.0\n"
            "Same: the units that the session installs (2) are all installed in DIRECTORY/eclipse/eclipse\n" +
                only_roots);
}

TEST_F(VerifiedRun, FailsWhenWhatWasDoneIsNotThere) {
  write_session("install");
  script(3, "echo one/1.0.0");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 1) << "although every command succeeded";
  EXPECT_NE(verification(outcome).find("\n  two is not installed by name ("), std::string::npos) << outcome.output;
  EXPECT_NE(
      outcome.output.find("\n\nDone, but the Eclipse is not as the session should have left it\n"
                          "  These features were installed into DIRECTORY/eclipse:\n"
                          "    one\n"
                          "  The director succeeded, but these features were not installed into DIRECTORY/eclipse; it does "
                          "not have them, as the verification below says:\n"
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
  EXPECT_NE(outcome.output.find("\n\nFailed\n"
                                "  Not all went in at once, so they were tried one by one.\n"
                                "  These features were installed into DIRECTORY/eclipse:\n"
                                "    three\\r\n"
                                "  These features were not installed into DIRECTORY/eclipse:\n"
                                "    two\n"
                                "  The director failed, but these features are as they should be in DIRECTORY/eclipse, as the "
                                "verification below says:\n"
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
  EXPECT_EQ(
      outcome.error,
      "eclipse-int: warning: two (DIRECTORY/tools/etc/eclipse/tools.txt:3) is not installed by name; if it did not come along "
      "with another unit either, the director removes none\n");
  const std::size_t why = outcome.output.find("\nWhy commands failed:\n");
  ASSERT_NE(why, std::string::npos) << outcome.output;
  // How the shell says that it does not understand the retries is its own.
  EXPECT_TRUE(outcome.output.substr(why).starts_with(
      "\nWhy commands failed:\n"
      "  Command 1, exit code 13, from the director: it could not do what it was asked for\n"
      "    two has not been found.\n"
      "  Command 2 to 3, exit code "))
      << outcome.output;
  EXPECT_NE(outcome.output.find(", from the shell: it does not understand the command, and started nothing\n", why),
            std::string::npos);
  EXPECT_EQ(verification(outcome),
            "\nVerification:\n"
            "  Nothing came in and nothing went out.\n"
            "Different: of the units that the session removes (2), 1 still installed in DIRECTORY/eclipse/eclipse\n"
            "  one is still installed (DIRECTORY/tools/etc/eclipse/tools.txt:2)\n" +
                only_roots);
}

TEST_F(VerifiedRun, WarnsOfWhatIsCertainWhereTheProfileTells) {
  write_session("uninstall", {}, "\"remove\": true");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite\ttwo\nsite\tthree\n");
  script(1, "echo one/1.0.0; echo other/1.0.0");
  script(2, ":");
  script(3, "echo other/1.0.0; echo two/1.0.0");
  fake::write_file("eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile",
                   "<profile><units><unit id='one' version='1.0.0'/><unit id='two' version='1.0.0'/>"
                   "<unit id='other' version='1'><requires><required namespace='org.eclipse.equinox.p2.iu' "
                   "name='two'/></requires></unit></units></profile>");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(
      outcome.error,
      "eclipse-int: warning: three (DIRECTORY/tools/etc/eclipse/tools.txt:3) is not installed, so the director removes none of "
      "the units\n"
      "eclipse-int: warning: two (DIRECTORY/tools/etc/eclipse/tools.txt:2) is required by other, so the director leaves it "
      "there, also when it succeeds\n");
  EXPECT_NE(
      outcome.output.find("\n\nDone, but the Eclipse is not as the session should have left it\n"
                          "  These features were removed from DIRECTORY/eclipse:\n"
                          "    three\n"
                          "  The director succeeded, but these features were not removed from DIRECTORY/eclipse; it still "
                          "has them, as the verification below says:\n"
                          "    one\n"
                          "    two\n\n"),
      std::string::npos)
      << outcome.output;
  EXPECT_TRUE(
      verification(outcome).starts_with("\nVerification:\n"
                                        "  Now installed by name, and there before:\n"
                                        "    two/1.0.0\n"
                                        "  No longer installed by name, but still there:\n"
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
  const Json failures = Json::parse(outcome.output).at("verification").at("failures");
  EXPECT_EQ(failures.at(0).at("log"), "DIRECTORY/eclipse/configuration/1.log");
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
  EXPECT_EQ(verification.at("cameIn"), Json::array({"two/1.0.0"}));
  EXPECT_EQ(verification.at("wentOut"), Json::array());
  EXPECT_EQ(verification.at("notRemovable"), Json::array());
  EXPECT_EQ(verification.at("staying"), Json::array());
  EXPECT_EQ(verification.at("nowByName"), Json::array());
  EXPECT_EQ(verification.at("noLongerByName"), Json::array());
  EXPECT_EQ(verification.at("faults"), Json::array());
  EXPECT_EQ(verification.at("after").at("same"), false);
  EXPECT_EQ(verification.at("failures"), Json::parse(R"([
    {"command": 1, "exitCode": 13, "layer": "the launcher",
     "meaning": "the application did not run to its end, and nothing tells why", "causes": [], "log": null},
    {"command": 2, "exitCode": 13, "layer": "the director",
     "meaning": "it could not do what it was asked for", "causes": ["no one"], "log": null}])"));
}

TEST_F(VerifiedRun, IsRunAllTheSameWhenTheInstanceCannotBeAsked) {
  write_session("install");
  script(1, "exit 15");
  script(3, "exit 15");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(director_calls(), question + install_arguments("one,two") + "\n" + question);
  EXPECT_EQ(verification(outcome),
            "\nVerification:\n"
            "  Fault: before the run, \"DIRECTORY/eclipse/eclipse\" cannot be asked for what is installed: exit code 15, the "
            "launcher: the instance or its configuration cannot be written\n"
            "  Fault: after the run, \"DIRECTORY/eclipse/eclipse\" cannot be asked for what is installed: exit code 15, the "
            "launcher: the instance or its configuration cannot be written\n");
}

TEST_F(VerifiedRun, AsksNothingWhenNothingIsRun) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(verification(outcome), "\nVerification:\n  The session has no command to run, so there is nothing to verify.\n");
  EXPECT_EQ(director_calls(), "");
}

TEST_F(VerifiedRun, SaysThatNoEclipseIsThereAsVerifyDoes) {
  write_session("uninstall", {{"USER_DEFINED_ECLIPSE_PATH", "/missing/eclipse"}}, "\"remove\": true");
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 2);
  const std::string fault = "there is no Eclipse to ask, and a run does nothing";
  EXPECT_EQ(verification(outcome), "\nVerification:\n  Fault: " + fault + "\n    \"/missing/eclipse\" does not exist\n");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{2, "", "eclipse-int: " + fault + "\n  \"/missing/eclipse\" does not exist\n"}));
  const Json result = Json::parse(eclipse_int("run session.json --verify --json").output);
  EXPECT_EQ(result.at("exitStatus"), 2);
  EXPECT_EQ(result.at("verification"), Json::parse(R"({"planned": false, "reasons": ["\"/missing/eclipse\" does not exist"],
    "faults": ["there is no Eclipse to ask, and a run does nothing"], "failures": []})"));
  EXPECT_EQ(eclipse_int("run session.json").status, 0) << "nothing was left undone that was asked for";
}

TEST_F(VerifiedRun, OfASessionThatIsRefusedSaysNoMoreThanThat) {
  write_session("install", {{"USER_DEFINED_ECLIPSE_PATH", "/missing/eclipse"}});
  const Outcome outcome = eclipse_int("run session.json --verify");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(verification(outcome), "\nVerification:\n  The session has no command to run, so there is nothing to verify.\n");
}

TEST_F(VerifiedRun, IsTheRunItself) {
  write_session("install");
  script(5, "echo one/1.0.0; echo two/1.0.0");
  script(1, "exit 13");
  const Outcome plain = eclipse_int("run session.json");
  std::filesystem::remove("eclipse/calls");
  std::filesystem::rename("eclipse/1.sh", "eclipse/2.sh");
  EXPECT_TRUE(eclipse_int("run session.json --verify").output.starts_with(plain.output));
}

}  // namespace

}  // namespace cli_test
