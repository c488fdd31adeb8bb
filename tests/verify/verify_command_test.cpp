#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

namespace cli_test {

namespace {

using Json = nlohmann::json;

class VerifyCommand : public ChildCommand {};

const std::string question = "-nosplash -application org.eclipse.equinox.p2.director -listInstalledRoots\n";

TEST_F(VerifyCommand, IsTheSameWhenAllIsThere) {
  write_session("install");
  script(1, "echo one/1.0.0; echo two/2.0.0; echo local.ide/4.26.0; echo 'Operation completed in 8 ms.'");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{0, "Same: the units that the session installs (2) are all installed in FOLDER/eclipse/eclipse\n", ""}));
  EXPECT_EQ(director_calls(), question);
}

TEST_F(VerifyCommand, NamesEveryDifferenceOfAnInstallation) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite\ttwo/2.0\nsite\tthree\n");
  script(1, "echo one/1.0.0; echo two/1.0.0");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{1,
                     "Different: of the units that the session installs (3), 2 not installed in FOLDER/eclipse/eclipse\n"
                     "  two/2.0 is not installed, but in version 1.0.0 (FOLDER/tools/etc/eclipse/tools.txt:2)\n"
                     "  three is not installed (FOLDER/tools/etc/eclipse/tools.txt:3)\n",
                     ""}));
}

TEST_F(VerifyCommand, NamesWhatARemovalLeft) {
  write_session("uninstall", {}, "\"remove\": true");
  script(1, "echo one/1.0.0");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{1,
                     "Different: of the units that the session removes (2), 1 still installed in FOLDER/eclipse/eclipse\n"
                     "  one is still installed (FOLDER/tools/etc/eclipse/tools.txt:2)\n",
                     ""}));
  script(2, ":");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{0, "Same: the units that the session removes (2) are all gone from FOLDER/eclipse/eclipse\n", ""}));
}

TEST_F(VerifyCommand, IsThereForPrograms) {
  write_session("install");
  script(1, "echo one/1.0.0; echo local.ide/4");
  const Outcome outcome = eclipse_int("verify session.json --json");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(Json::parse(outcome.output), Json::parse(R"({
    "removal": false, "executable": "FOLDER/eclipse/eclipse", "same": false,
    "units": [
      {"unit": "one", "places": ["FOLDER/tools/etc/eclipse/tools.txt:2"], "installed": true, "otherVersions": [], "same": true},
      {"unit": "two", "places": ["FOLDER/tools/etc/eclipse/tools.txt:3"], "installed": false, "otherVersions": [], "same": false}],
    "installed": ["local.ide/4", "one/1.0.0"]})"));
}

TEST_F(VerifyCommand, ThereIsNothingToVerifyWhenNothingIsDone) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{0, "Same: the session changes nothing; the log ends with: eclipse_int: nothing to integrate\n", ""}));
  EXPECT_EQ(Json::parse(eclipse_int("verify session.json --json").output),
            Json::parse(R"({"same": true, "units": [], "reason": "eclipse_int: nothing to integrate"})"));
  EXPECT_EQ(director_calls(), "");
}

TEST_F(VerifyCommand, TellsWhyTheInstanceCannotBeAsked) {
  write_session("install");
  script(1, "echo 'Locking is not possible' >&2; exit 15");
  EXPECT_EQ(
      eclipse_int("verify session.json"),
      (Outcome{2, "",
               "eclipse-int: \"FOLDER/eclipse/eclipse\" cannot be asked for what is installed: exit code 15, the launcher: the "
               "instance or its configuration cannot be written\n"
               "  Locking is not possible\n"}));
  write_session("install", {{"USER_DEFINED_ECLIPSE_PATH", "/missing/eclipse"}});
  EXPECT_EQ(eclipse_int("verify session.json").status, 2) << "the run would be refused";
  write_session("uninstall", {{"USER_DEFINED_ECLIPSE_PATH", "/missing/eclipse"}}, "\"remove\": true");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{2, "", "eclipse-int: there is no Eclipse to ask: \"/missing/eclipse\" does not exist\n"}));
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "internal"}});
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{2, "", "eclipse-int: there is no Eclipse to ask: eclipse_int: eclipse not found\n"}));
}

}  // namespace

}  // namespace cli_test
