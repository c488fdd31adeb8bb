#include <unistd.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

namespace cli_test {

namespace {

using Json = nlohmann::json;

class VerifyCommand : public ChildCommand {
 protected:
  /// Puts another program in the place of the Eclipse.
  static void write_executable(const std::string& commands) {
    fake::write_file("eclipse/eclipse", "#!/bin/sh\n" + commands + "\n");
    std::filesystem::permissions("eclipse/eclipse", std::filesystem::perms(0755));
  }

  /// What the instance has, in the form of its p2 profile.
  static void write_profile(const std::string& units, const std::string& properties = "") {
    fake::write_file("eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile",
                     "<profile><units>" + units + "</units><iusProperties>" + properties + "</iusProperties></profile>");
  }
};

const std::string only_roots =
    "  Only units that were installed by name are known, not their requirements: the p2 profile of the instance cannot be "
    "read.\n";

const std::string question = "-nosplash -nl en -application org.eclipse.equinox.p2.director -listInstalledRoots\n";

TEST_F(VerifyCommand, IsTheSameWhenAllIsThere) {
  write_session("install");
  script(1, "echo one/1.0.0; echo two/2.0.0; echo local.ide/4.26.0");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{0, "Same: all 2 units to be installed are installed in DIRECTORY/eclipse/eclipse\n" + only_roots, ""}));
  EXPECT_EQ(director_calls(), question);
}

TEST_F(VerifyCommand, SaysWhyTheProfileIsNotKnown) {
  write_session("install");
  write_profile("");
  fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.data.area=@user.home/.p2\n");
  script(1, "echo one/1.0.0; echo two/2.0.0");
  const Outcome outcome = eclipse_int("verify session.json");
  EXPECT_EQ(outcome.status, 0) << outcome.error;
  EXPECT_TRUE(
      outcome.output.ends_with("read: DIRECTORY/eclipse/configuration/config.ini has "
                               "eclipse.p2.data.area=@user.home/.p2\n"))
      << outcome.output;
}

TEST_F(VerifyCommand, NamesEveryDifferenceOfAnInstallation) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite\ttwo/2.0\nsite\tthree\n");
  script(1, "echo one/1.0.0; echo two/1.0.0");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{1,
                     "Different: 2 of 3 units to be installed are not installed in DIRECTORY/eclipse/eclipse\n"
                     "  two/2.0 is not installed by name, but version 1.0.0 is (DIRECTORY/tools/etc/eclipse/tools.txt:2)\n"
                     "  three is not installed by name (DIRECTORY/tools/etc/eclipse/tools.txt:3)\n" +
                         only_roots,
                     ""}));
}

TEST_F(VerifyCommand, NamesWhatARemovalLeft) {
  write_session("uninstall", {}, "\"remove\": true");
  script(1, "echo one/1.0.0");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{1,
                     "Different: 1 of 2 units to be removed is still installed in DIRECTORY/eclipse/eclipse\n"
                     "  one is still installed (DIRECTORY/tools/etc/eclipse/tools.txt:2)\n" +
                         only_roots,
                     ""}));
  script(2, ":");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{0, "Same: all 2 units to be removed are not installed in DIRECTORY/eclipse/eclipse\n" + only_roots, ""}));
}

TEST_F(VerifyCommand, TellsWhatCameAlongFromWhatIsNotThere) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\tone\nsite\ttwo\nsite\tthree\n");
  script(1, "echo one/1.0.0");
  write_profile(
      "<unit id='one' version='1.0.0'><requires><required namespace='org.eclipse.equinox.p2.iu' name='two'/></requires></unit>"
      "<unit id='two' version='1.0.0'/>");
  EXPECT_EQ(eclipse_int("verify session.json --director"),
            (Outcome{1,
                     "Different: 1 of 3 units to be installed is not installed in DIRECTORY/eclipse/eclipse\n"
                     "  three is not installed (DIRECTORY/tools/etc/eclipse/tools.txt:3)\n"
                     "  two is installed, but not by name; required by one (DIRECTORY/tools/etc/eclipse/tools.txt:2)\n",
                     ""}));
  write_session("uninstall", {}, "\"remove\": true");
  script(2, "echo one/1.0.0");
  EXPECT_EQ(eclipse_int("verify session.json --director"),
            (Outcome{1,
                     "Different: 2 of 3 units to be removed are still installed in DIRECTORY/eclipse/eclipse\n"
                     "  one is still installed (DIRECTORY/tools/etc/eclipse/tools.txt:1)\n"
                     "  two is still installed, but not by name; required by one (DIRECTORY/tools/etc/eclipse/tools.txt:2)\n",
                     ""}));
}

TEST_F(VerifyCommand, ReadsTheProfileAndStartsNoDirector) {
  write_session("install");
  write_profile("<unit id='one' version='1.0.0'/>",
                "<iuProperties id='one' version='1.0.0'><properties>"
                "<property name='org.eclipse.equinox.p2.type.root' value='true'/></properties></iuProperties>");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{1,
                     "Different: 1 of 2 units to be installed is not installed in DIRECTORY/eclipse/eclipse, according to its "
                     "p2 profile\n"
                     "  two is not installed (DIRECTORY/tools/etc/eclipse/tools.txt:3)\n",
                     ""}));
  EXPECT_EQ(director_calls(), "");
  const Json read = Json::parse(eclipse_int("verify session.json --json").output);
  EXPECT_EQ(read.at("source"), "profile");
  EXPECT_EQ(read.at("roots"), Json::array({"one/1.0.0"}));
  script(1, "echo one/1.0.0");
  EXPECT_EQ(Json::parse(eclipse_int("verify session.json --json --director").output).at("source"), "director");
  EXPECT_EQ(director_calls(), question);
}

TEST_F(VerifyCommand, AsksTheDirectorWhenTheProfileCannotBeRead) {
  write_session("install");
  write_profile("<unit");
  script(1, "echo one/1.0.0; echo two/1.0.0");
  EXPECT_EQ(Json::parse(eclipse_int("verify session.json --json").output).at("same"), true);
  EXPECT_EQ(director_calls(), question);
}

TEST_F(VerifyCommand, TakesAnOlderVersionForDifferentAndANewerOneNot) {
  write_session("install");
  fake::write_file("tools/site/content.xml",
                   "<repository><units><unit id='one' version='2.0.0'/><unit id='two' version='1.0.0'/></units></repository>");
  script(1, "echo one/1.9.0; echo two/1.1.0");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{1,
                     "Different: 1 of 2 units to be installed is not installed in DIRECTORY/eclipse/eclipse\n"
                     "  one is not installed by name, but version 1.9.0 is; the session offers 2.0.0 "
                     "(DIRECTORY/tools/etc/eclipse/tools.txt:2)\n"
                     "  two is installed in the newer version 1.1.0; the session offers 1.0.0 "
                     "(DIRECTORY/tools/etc/eclipse/tools.txt:3)\n" +
                         only_roots,
                     ""}));
  write_profile("<unit id='one' version='1.9.0'/><unit id='two' version='1.1.0'/>");
  const Json units = Json::parse(eclipse_int("verify session.json --json").output).at("units");
  const Json& one = units.at(0);
  EXPECT_EQ(one.at("brought"), "2.0.0");
  EXPECT_EQ(one.at("otherVersions"), Json::array({"1.9.0"}));
  EXPECT_EQ(one.at("newer"), "");
  EXPECT_EQ(one.at("same"), false);
  EXPECT_EQ(units.at(1).at("newer"), "1.1.0");
  EXPECT_EQ(units.at(1).at("same"), true);
  write_session("uninstall", {}, "\"remove\": true");
  EXPECT_EQ(Json::parse(eclipse_int("verify session.json --json").output).at("units").at(0).at("installed"), true)
      << "any version has to go";
}

TEST_F(VerifyCommand, ComparesWhatTheShellMakesOfAFeature) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\t'one'\nsite\t\"two\"\n");
  script(1, "echo one/1.0.0; echo two/1.0.0");
  EXPECT_EQ(eclipse_int("verify session.json").status, 0);
  script(2, "echo one/1.0.0; echo two/1.0.0");
  script(4, "echo one/1.0.0; echo two/1.0.0");
  const Outcome run = eclipse_int("run session.json --verify");
  EXPECT_EQ(run.status, 0) << run.output;
  EXPECT_NE(run.output.find("  Installed into DIRECTORY/eclipse:\n"), std::string::npos) << run.output;
}

TEST_F(VerifyCommand, NamesOnlySomeOfManyThatRequireAUnit) {
  write_session("install");
  script(1, "echo one/1.0.0");
  std::string units = "<unit id='two' version='1.0.0'/>";
  for (const char* const id : {"a", "b", "c", "d", "e"}) {
    units += "<unit id='" + std::string(id) +
             "'><requires><required namespace='org.eclipse.equinox.p2.iu' name='two'/></requires></unit>";
  }
  write_profile(units);
  EXPECT_NE(eclipse_int("verify session.json --director").output.find("; required by a, b, c and 2 more ("), std::string::npos);
}

TEST_F(VerifyCommand, IsThereForPrograms) {
  write_session("install");
  script(1, "echo one/1.0.0; echo local.ide/4");
  const Outcome outcome = eclipse_int("verify session.json --json");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(Json::parse(outcome.output), Json::parse(R"({
    "removal": false, "executable": "DIRECTORY/eclipse/eclipse", "same": false,
    "units": [
      {"unit": "one", "locations": ["DIRECTORY/tools/etc/eclipse/tools.txt:2"], "installed": true, "byName": true,
       "brought": "", "requiredBy": [], "otherVersions": [], "newer": "", "same": true},
      {"unit": "two", "locations": ["DIRECTORY/tools/etc/eclipse/tools.txt:3"], "installed": false, "byName": false,
       "brought": "", "requiredBy": [], "otherVersions": [], "newer": "", "same": false}],
    "notRemoved": [], "missingFiles": [], "roots": ["local.ide/4", "one/1.0.0"], "source": "director", "knowsAll": false})"));
}

TEST_F(VerifyCommand, ThereIsNothingToVerifyWhenNothingIsDone) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none\x1B"}});
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{0,
                     "Same: the session changes nothing; the log ends with: eclipse_int: nothing to integrate\n"
                     "  ECLIPSE_INTEGRATION_CHOICE is \"none\\x1B\"\n"
                     "  no Eclipse instance is chosen, and no component is searched (1 component)\n",
                     ""}));
  EXPECT_EQ(Json::parse(eclipse_int("verify session.json --json").output),
            (Json{{"same", true},
                  {"units", Json::array()},
                  {"reason", "eclipse_int: nothing to integrate"},
                  {"reasons",
                   {"ECLIPSE_INTEGRATION_CHOICE is \"none\x1B\"",
                    "no Eclipse instance is chosen, and no component is searched (1 component)"}}}));
  EXPECT_EQ(director_calls(), "");
}

/// A run in the mode modify removes nothing, and reports success.
TEST_F(VerifyCommand, NamesWhatAModifySessionLeavesAlthoughItIsSelectedForRemoval) {
  write_session("modify", {{"CASHED_ECLIPSE_PATH", directory.path() + "/eclipse/eclipse"}}, "\"remove\": true");
  const std::string root =
      "><properties><property name='org.eclipse.equinox.p2.type.root' value='true'/></properties></iuProperties>";
  write_profile("<unit id='one' version='1.0.0'/><unit id='two' version='1.0.0'/>",
                "<iuProperties id='one' version='1.0.0'" + root);
  EXPECT_EQ(eclipse_int("run session.json").status, 0);
  EXPECT_EQ(
      eclipse_int("verify session.json"),
      (Outcome{1,
               "Different: the session installs nothing into DIRECTORY/eclipse/eclipse, according to its p2 profile; 1 unit "
               "selected for removal is still installed\n"
               "  one is still installed, although its component is selected for removal "
               "(DIRECTORY/tools/etc/eclipse/tools.txt:2); only a session with mode uninstall removes it\n",
               ""}));
  const Json result = Json::parse(eclipse_int("verify session.json --json").output);
  EXPECT_EQ(result.at("same"), false);
  EXPECT_EQ(result.at("notRemoved"),
            Json::parse(R"([{"unit": "one", "locations": ["DIRECTORY/tools/etc/eclipse/tools.txt:2"]}])"));
  script(1, "echo one/1.0.0; echo two/1.0.0");
  const Outcome run = eclipse_int("run session.json --verify");
  EXPECT_EQ(run.status, 1) << run.output << run.error;
  EXPECT_NE(run.output.find("is still installed, although its component is selected for removal"), std::string::npos)
      << run.output;
  write_profile("<unit id='two' version='1.0.0'/>");
  EXPECT_EQ(eclipse_int("verify session.json").status, 0) << "two came along with another unit";
}

TEST_F(VerifyCommand, TakesNoAnswerFromAnotherProgram) {
  write_session("install");
  const std::string error =
      "eclipse-int: \"DIRECTORY/eclipse/eclipse\" does not say which units are installed: the answer of a director ends with "
      "\"Operation "
      "completed in N ms.\", but ";
  const std::string fix = "; is this the Eclipse executable?\n";
  write_executable(":");
  EXPECT_EQ(eclipse_int("verify session.json"), (Outcome{2, "", error + "it printed nothing" + fix}));
  write_executable("printf 'one/1.0.0\\ntwo/1.0.0\\nusage\\033[0m\\n\\n'");
  EXPECT_EQ(eclipse_int("verify session.json --json"), (Outcome{2, "", error + "its last line is \"usage\\x1B[0m\"" + fix}));
  write_executable("head -c 10000 /dev/zero | tr '\\0' x");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{2, "", error + "its last line is \"" + std::string(200, 'x') + "... (9800 bytes left out)\"" + fix}));
}

TEST_F(VerifyCommand, TellsWhyTheInstanceCannotBeAsked) {
  write_session("install");
  script(1, "echo 'Locking is not possible' >&2; exit 15");
  EXPECT_EQ(eclipse_int("verify session.json"), (Outcome{2, "",
                                                         "eclipse-int: \"DIRECTORY/eclipse/eclipse\" failed with exit code 15, "
                                                         "so the installed units are not known; the launcher failed: "
                                                         "the instance or its configuration cannot be written\n"
                                                         "  Locking is not possible\n"}));
  write_session("install", {{"USER_DEFINED_ECLIPSE_PATH", "/missing\x1B/eclipse"}});
  EXPECT_EQ(
      eclipse_int("verify session.json"),
      (Outcome{
          2, "",
          "eclipse-int: the run would be refused: USER_DEFINED_ECLIPSE_PATH is \"/missing\\x1B/eclipse\", which is not the "
          "Eclipse executable: give the full path of an existing file named \"eclipse\" (ECLIPSE_BIN)\n"}));
  write_session("uninstall", {{"USER_DEFINED_ECLIPSE_PATH", "/missing/eclipse"}}, "\"remove\": true");
  EXPECT_EQ(
      eclipse_int("verify session.json"),
      (Outcome{
          2, "",
          "eclipse-int: the Eclipse instance does not exist, so a run does nothing\n  \"/missing/eclipse\" does not exist\n"}));
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "internal"}});
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{2, "",
                     "eclipse-int: the Eclipse instance does not exist, so a run does nothing\n"
                     "  ECLIPSE_INTEGRATION_CHOICE is \"internal\"\n"
                     "  ECLIPSE_BIN is \"eclipse\"\n"
                     "  no component provides an IDE; the capabilities are: TOOLS_ECLIPSE_PLUGIN\n"
                     "  no Eclipse instance is chosen, and no component is searched (1 component)\n"}));
}

TEST_F(VerifyCommand, SaysThatTheInstanceIsDamaged) {
  write_session("install");
  write_profile("<unit");
  const std::string profile = "DIRECTORY/eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile";
  const std::string message =
      "the newest state of the p2 profile, " + profile + ", is not well-formed XML, so every director fails";
  const std::string fix = "run: eclipse-int repair DIRECTORY/eclipse/eclipse";
  const std::string damage = "eclipse-int: " + message + "; " + fix + "\n";
  script(1, "echo one/1.0.0; echo two/1.0.0");
  EXPECT_EQ(eclipse_int("verify session.json"),
            (Outcome{1,
                     "Same: all 2 units to be installed are installed in DIRECTORY/eclipse/eclipse\n" +
                         only_roots.substr(0, only_roots.size() - 2) + ": " + profile + " is not well-formed XML\n",
                     damage}));
  script(2, "exit 13");
  script(3, "exit 13");
  const std::string error =
      "\"DIRECTORY/eclipse/eclipse\" failed with exit code 13, so the installed units are not known; the launcher failed: the "
      "application exited early and logged no reason";
  EXPECT_EQ(eclipse_int("verify session.json"), (Outcome{2, "", damage + "eclipse-int: " + error + "\n"}));
  EXPECT_EQ(Json::parse(eclipse_int("verify session.json --json").output),
            (Json{{"executable", "DIRECTORY/eclipse/eclipse"},
                  {"error", error},
                  {"damage", {{"file", profile}, {"message", message}, {"fix", fix}}}}));
}

TEST_F(VerifyCommand, EndsWithASignal) {
  write_session("install");
  script(1, "for i in 1 2 3 4 5 6; do kill -s TERM $(cat number); sleep 0.5; done; exec sleep 100");
  EXPECT_EQ(
      eclipse_int("verify session.json", "sh -c 'echo $$ > number; exec \"$@\"' -"),
      (Outcome{143, "",
               "eclipse-int: interrupted by SIGTERM; waiting for the director to end its command (interrupt again to stop "
               "it now)\n"
               "eclipse-int: interrupted again; stopping the director\n"
               "eclipse-int: interrupted by SIGTERM\n"}));
}

TEST_F(VerifyCommand, ChecksTheModeAndTheDescriptorsAsARunDoes) {
  write_session("install");
  EXPECT_EQ(eclipse_int("verify session.json --set KORU_MODE=remove"),
            (Outcome{2, "",
                     "eclipse-int: --set: KORU_MODE is \"remove\"; write \"install\", \"modify\" or \"uninstall\"\n"
                     "Run with --help for more information.\n"}));
  std::filesystem::remove("tools/etc/eclipse/tools.txt");
  std::filesystem::create_symlink("/proc/self/mem", "tools/etc/eclipse/tools.txt");
  EXPECT_EQ(
      eclipse_int("verify session.json"),
      (Outcome{0,
               "Same: the session changes nothing; the log ends with: eclipse_int: feature or repo list is empty, skip "
               "integration\n"
               "  descriptor files without records: DIRECTORY/tools/etc/eclipse/tools.txt\n",
               "eclipse-int: warning: DIRECTORY/tools/etc/eclipse/tools.txt: cannot be read: Input/output error; the plug-in "
               "ignores the error and uses the part that it can read\n"}));
}

/// Whoever owns the instance could no longer write what root has written.
TEST_F(VerifyCommand, WarnsRootOfADirectorInTheInstanceOfAnotherUser) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can give a directory away";
  write_session("install");
  const std::string warning =
      "eclipse-int: warning: DIRECTORY/eclipse belongs to user NAME, but this command runs its director as root, which may "
      "leave "
      "files of root there; run it as that user\n";
  for (const auto& [user, name] : std::map<uid_t, std::string>{{65534, "nobody"}, {4000000000, "ID 4000000000"}}) {
    if (chown("eclipse", user, 0) != 0) GTEST_SKIP() << "this root cannot give a directory to every user";
    script(1, "echo one/1.0.0; echo two/1.0.0");
    std::filesystem::remove("eclipse/calls");
    EXPECT_EQ(eclipse_int("verify session.json"),
              (Outcome{0, "Same: all 2 units to be installed are installed in DIRECTORY/eclipse/eclipse\n" + only_roots,
                       std::string(warning).replace(warning.find("NAME"), 4, name)}));
  }
}

}  // namespace

}  // namespace cli_test
