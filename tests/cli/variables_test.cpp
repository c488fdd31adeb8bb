#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"

namespace cli_test {

namespace {

using Json = nlohmann::json;

class Variables : public ChildCommand {
 protected:
  Json before(const std::string& options) const {
    return Json::parse(eclipse_int("call find_eclipse_ide session.json --json " + options).output).at("variables").at("before");
  }
};

TEST_F(Variables, OfTheSessionFileStandOverThoseOfAFileAndUnderThoseOfArguments) {
  fake::write_file("session.json", R"({"mode": "install", "variables": {"B": "session", "C": "session"}, "components": []})");
  fake::write_file("v.json", R"({"A": "file", "B": "file", "C": "file", "KORU_MODE": "uninstall"} // kept)");
  EXPECT_EQ(before("--variables v.json --set C=first --set C=argument --set 'D=a=b c' --set E="),
            (Json{{"A", "file"}, {"B", "session"}, {"C", "argument"}, {"D", "a=b c"}, {"E", ""}, {"KORU_MODE", "install"}}));
}

TEST_F(Variables, ThatSayAnotherModeAreNotedAndNotUsed) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  fake::write_file("v.json", R"({"KORU_MODE": "uninstall"})");
  for (const std::string command : {"run", "plan", "verify"}) {
    const Outcome outcome = eclipse_int(command + " session.json --variables v.json");
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.error,
              "eclipse-int: note: v.json: KORU_MODE \"uninstall\" is ignored; the session file, or --set KORU_MODE=..., sets "
              "the mode\n");
  }
  fake::write_file("v.json", R"({"KORU_MODE": "install"})");
  EXPECT_EQ(eclipse_int("run session.json --variables v.json").error, "");
}

TEST_F(Variables, OfArgumentsAreTakenAsTheyAre) {
  fake::write_file("session.json", R"({"mode": "install", "components": []})");
  EXPECT_EQ(before("--set 'A=[1,2]' --set 'B=\"x\"' --set=C=--json --set 'D={}' --set 'E=,' --set KORU_MODE="),
            (Json{{"A", "[1,2]"}, {"B", "\"x\""}, {"C", "--json"}, {"D", "{}"}, {"E", ","}, {"KORU_MODE", ""}}));
}

TEST_F(Variables, AreCarriedFromOneRunToTheNext) {
  write_session("install");
  fake::write_file("more/etc/eclipse/more.txt", "site\tthree\n");
  const std::string options = " --variables v.json --write-variables ./v.json";
  EXPECT_EQ(eclipse_int("run session.json" + options).status, 0);
  EXPECT_EQ(Json::parse(content_of("v.json")), (Json{{"CASHED_ECLIPSE_PATH", directory.path() + "/eclipse/eclipse"},
                                                     {"ECLIPSE_BIN", "eclipse"},
                                                     {"ECLIPSE_IDE", "no"},
                                                     {"ECLIPSE_IDE_ENABLED", "no"},
                                                     {"ECLIPSE_INTEGRATION_CHOICE", "user"},
                                                     {"ECLIPSE_INTEGRATION_REQUIRED", "yes"},
                                                     {"ECLIPSE_PATH", directory.path() + "/eclipse"},
                                                     {"ECLIPSE_VERSION", ""},
                                                     {"USER_DEFINED_ECLIPSE_PATH", directory.path() + "/eclipse/eclipse"},
                                                     {"USER_DEFINED_ECLIPSE_PATH_CORRECT", "yes"},
                                                     {"USER_DEFINED_ECLIPSE_PATH_EMPTY", "no"},
                                                     {"eclipse_integration_failed_title", "These failed:"}}));
  // The instance is known now, so only what is selected in this run goes in.
  write_session("modify", {}, R"("installed": true}, {"code": "more", "installBase": ".", "installDir": "more",
                              "capabilities": ["MORE_ECLIPSE_PLUGIN"], "package": {"scan": "more"}, "install": true)");
  EXPECT_EQ(eclipse_int("run session.json" + options).status, 0);
  EXPECT_EQ(director_calls(),
            install_arguments("one,two") +
                "\n-nosplash -application org.eclipse.equinox.p2.director -repository file://DIRECTORY/more/site -i "
                "three\n");
}

TEST_F(Variables, AreWrittenWhenTheRunFailed) {
  write_session("install");
  script(1, "exit 13");
  script(3, "exit 13");
  EXPECT_EQ(eclipse_int("run session.json --write-variables v.json").status, 1);
  const Json kept = Json::parse(content_of("v.json"));
  EXPECT_EQ(kept.at("ECLIPSE_PATH"), directory.path() + "/eclipse");
  EXPECT_FALSE(kept.contains("QN_SCRIPTS_FAILED"));
}

TEST_F(Variables, ThatAreNotUtf8AreRefusedBeforeTheRun) {
  write_session("install");
  const std::string title = "--set \"eclipse_integration_failed_title=$(printf 'rat\\351')\"";
  EXPECT_EQ(eclipse_int("run session.json --write-variables v.json --log log " + title),
            (Outcome{2, "",
                     "eclipse-int: v.json: cannot keep variables that are not UTF-8: \"eclipse_integration_failed_title\"; "
                     "give other values\n"}));
  EXPECT_EQ(director_calls(), "");
  EXPECT_FALSE(std::filesystem::exists("v.json"));
  EXPECT_FALSE(std::filesystem::exists("log"));
  EXPECT_EQ(eclipse_int("run session.json " + title).status, 0);
}

TEST_F(Variables, ThatAreNoLongerUtf8AfterTheRunAreLeftOut) {
  write_session("install");
  fake::write_file("eclipse/configuration/config.ini", "eclipse.buildId=4.\xE9\n");
  const Outcome outcome = eclipse_int("run session.json --json --write-variables v.json");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.error,
            "eclipse-int: v.json: is written without variables that are not UTF-8: \"ECLIPSE_VERSION\"; give other values\n");
  EXPECT_EQ(Json::parse(outcome.output).at("status"), "done");
  const Json kept = Json::parse(content_of("v.json"));
  EXPECT_EQ(kept.at("ECLIPSE_PATH"), directory.path() + "/eclipse");
  EXPECT_FALSE(kept.contains("ECLIPSE_VERSION"));
}

/// It could be written, but not replaced.
TEST_F(Variables, InAFileThatIsAMountPointAreRefusedBeforeTheRun) {
  write_session("install");
  fake::write_file("v.json", "{}");
  const std::string mounted = "unshare -rm sh -c 'mount --bind v.json v.json && exec \"$@\"' -";
  if (eclipse_int("--version", mounted).status != 0) GTEST_SKIP() << "this user can mount nothing here";
  EXPECT_EQ(
      eclipse_int("run session.json --write-variables v.json", mounted),
      (Outcome{2, "",
               "eclipse-int: v.json: cannot be written: it is a mount point; give the path of a writable file in a writable "
               "directory\n"}));
  EXPECT_EQ(director_calls(), "");
}

TEST_F(Variables, ThatCannotBeWrittenAfterTheRunAreTold) {
  write_session("install");
  std::filesystem::create_directory("directory");
  script(1, "rmdir directory");
  const Outcome outcome = eclipse_int("run session.json --json --write-variables directory/v.json");
  EXPECT_EQ(outcome.status, 2);
  EXPECT_EQ(outcome.error,
            "eclipse-int: directory/v.json: cannot be written: No such file or directory; give the path of a writable "
            "file in a writable directory\n");
  const Json result = Json::parse(outcome.output);
  EXPECT_EQ(result.at("status"), "done");
  EXPECT_EQ(result.at("exitStatus"), 2);
}

}  // namespace

}  // namespace cli_test
