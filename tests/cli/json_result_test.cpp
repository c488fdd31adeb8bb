#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/child_command.h"
#include "cli/json_documents.h"

namespace cli_test {

namespace {

using Json = nlohmann::json;

class JsonResult : public ChildCommand {
 protected:
  /// The one document on standard output, with 0 for the seconds that commands took.
  static Json result_of(const Outcome& outcome) {
    Json result = Json::parse(outcome.output);
    for (Json& command : result.at("commands")) {
      EXPECT_TRUE(command.at("seconds").is_number());
      EXPECT_GT(command.at("seconds"), 0);
      command["seconds"] = 0;
    }
    return result;
  }

  /// So many features, each of which fails after four megabytes of output, as all at once did before.
  void fail_with_much_output(int features) const {
    std::filesystem::remove("eclipse/calls");
    std::string descriptor = "Repository\tFeature\n";
    for (int i = 0; i < features; ++i) descriptor += "site\tf" + std::to_string(i) + "\n";
    fake::write_file("tools/etc/eclipse/tools.txt", descriptor);
    for (int i = 1; i <= features + 1; ++i) script(i, "head -c 4000000 /dev/zero | tr '\\0' x; exit 13");
  }
};

TEST_F(JsonResult, HoldsAllThatHappened) {
  write_session("install", {{"QN_SCRIPTS_COMPLETE_DESC", "Installed."}});
  script(1, "echo Installation failed.; echo no site; exit 13");
  script(3, "printf 'two\\n'; exit 9");
  const Outcome outcome = eclipse_int("call define_eclipse_path perform_integration session.json --json");
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.error, "");
  const std::string all = "DIRECTORY/eclipse/eclipse " + install_arguments("one,two") + " 2>&1";
  const std::string one = "DIRECTORY/eclipse/eclipse " + install_arguments("one") + " 2>&1";
  const std::string two = "DIRECTORY/eclipse/eclipse " + install_arguments("two") + " 2>&1";
  const Json before = {{"ECLIPSE_BIN", "eclipse"},
                       {"ECLIPSE_INTEGRATION_CHOICE", "user"},
                       {"KORU_MODE", "install"},
                       {"QN_SCRIPTS_COMPLETE_DESC", "Installed."},
                       {"USER_DEFINED_ECLIPSE_PATH", "DIRECTORY/eclipse/eclipse"},
                       {"eclipse_integration_failed_title", "These failed:"}};
  Json after = before;
  after["CASHED_ECLIPSE_PATH"] = "DIRECTORY/eclipse/eclipse";
  after["ECLIPSE_PATH"] = "DIRECTORY/eclipse";
  after["QN_SCRIPTS_COMPLETE_DESC"] = "Installed.\nThese failed:\n\ntwo\n";
  after["QN_SCRIPTS_FAILED"] = "yes";
  const auto command = [](const std::string& text, const std::string& output, int exit_code, const Json& failure) {
    return Json{{"action", "perform_integration"}, {"command", text}, {"output", output},  {"errorOutput", ""},
                {"exitCode", exit_code},           {"seconds", 0},    {"failure", failure}};
  };
  const Json all_failed = {
      {"layer", "the director"}, {"meaning", "it could not complete the operation"}, {"causes", {"no site"}}, {"log", nullptr}};
  const Json two_failed = {{"layer", "an unknown layer"},
                           {"meaning", result_of(outcome).at("commands").at(2).at("failure").at("meaning")},
                           {"causes", {"two"}},
                           {"log", nullptr}};
  const Json expected = {
      {"status", "failed"},
      {"exitStatus", 1},
      {"actions", {{{"name", "define_eclipse_path"}, {"result", 0}}, {{"name", "perform_integration"}, {"result", 9}}}},
      {"variables", {{"before", before}, {"after", after}}},
      {"log",
       {"eclipse_int: eclipse not found",
        "eclipse_int: user eclipse install subdir: DIRECTORY/eclipse",
        "eclipse_int: perform_integration entered",
        "eclipse_int: integrate_into_instance entered",
        "eclipse_int: eclipse install subdir: DIRECTORY/eclipse",
        "eclipse_int: found eclipse configuration: etc/eclipse/tools.txt",
        "eclipse_int: Repository: file://DIRECTORY/tools/site Feature: one",
        "eclipse_int: Repository: file://DIRECTORY/tools/site Feature: two",
        "eclipse_int: order: 0 feature: one",
        "eclipse_int: order: 1 feature: two",
        "eclipse_int: running command: " + all,
        "eclipse_int: out: Installation failed.\nno site\n",
        "eclipse_int: exit code: 13",
        "eclipse_int: failed to integrate all plug-ins at once, integrating individually",
        "eclipse_int: running command: " + one,
        "eclipse_int: out: ",
        "eclipse_int: exit code: 0",
        "eclipse_int: running command: " + two,
        "eclipse_int: out: two\n",
        "eclipse_int: exit code: 9"}},
      {"commands",
       {command(all, "Installation failed.\nno site\n", 13, all_failed), command(one, "", 0, nullptr),
        command(two, "two\n", 9, two_failed)}}};
  EXPECT_EQ(result_of(outcome), expected);
}

TEST_F(JsonResult, SaysDoneAndRefused) {
  write_session("install");
  const Json done = result_of(eclipse_int("run session.json --json"));
  EXPECT_EQ(done.at("status"), "done");
  EXPECT_EQ(done.at("exitStatus"), 0);
  EXPECT_FALSE(done.contains("refusal"));

  const Outcome outcome = eclipse_int("run session.json --json --set ECLIPSE_BIN=other");
  const Json refused = result_of(outcome);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(refused.at("status"), "refused");
  EXPECT_EQ(refused.at("exitStatus"), 1);
  EXPECT_EQ(
      refused.at("refusal"),
      "USER_DEFINED_ECLIPSE_PATH is \"DIRECTORY/eclipse/eclipse\", which is not the Eclipse executable: give the full path of "
      "an existing file named \"other\" (ECLIPSE_BIN)");
}

TEST_F(JsonResult, IsKeptForTheCheckAgainstItsSchema) {
  write_session("install");
  for (const std::string arguments :
       {"run session.json --json", "call find_eclipse_ide session.json --json", "plan session.json --json",
        "lint --format json session.json", "lint --format=json tools"}) {
    eclipse_int(arguments);
    EXPECT_EQ(content_of(kept_json_document(arguments, content_of(".output"))), content_of(".output")) << arguments;
    EXPECT_NE(content_of(".output"), "");
  }
  eclipse_int("lint --format sarif session.json");
  EXPECT_EQ(content_of(kept_json_document("lint", content_of(".output"))), "") << "its schema is not ours";
}

TEST_F(JsonResult, HoldsEmptyListsWhenNothingHappened) {
  fake::write_file("session.json", R"({"mode": "install", "components": []})");
  EXPECT_EQ(result_of(eclipse_int("call verify_user_defined_eclipse_path session.json --json")),
            Json::parse(R"({"status": "done", "exitStatus": 0,
                            "actions": [{"name": "verify_user_defined_eclipse_path", "result": 0}],
                            "variables": {"before": {"KORU_MODE": "install"},
                                          "after": {"KORU_MODE": "install", "USER_DEFINED_ECLIPSE_PATH_CORRECT": "no",
                                                    "USER_DEFINED_ECLIPSE_PATH_EMPTY": "yes"}},
                            "log": [], "commands": []})"));
}

TEST_F(JsonResult, HoldsAReplacementForBytesThatAreNotUtf8) {
  write_session("install");
  script(1, "printf 'a\\377\\303\\244\\0b'");
  const Json result = result_of(eclipse_int("run session.json --json --set \"X=$(printf '\\377')\""));
  EXPECT_EQ(result.at("commands").at(0).at("output"), std::string("a\xEF\xBF\xBD\xC3\xA4\0b", 8));
  EXPECT_EQ(result.at("variables").at("before").at("X"), "\xEF\xBF\xBD");
}

TEST_F(JsonResult, HasTheBytesOfWhatIsNotUtf8) {
  write_session("install");
  fake::write_file("tools/etc/eclipse/tools.txt", "site\t\xFF\n");
  script(1, "printf 'a\\377\\303\\244'; printf '\\303' >&2; exit 13");
  const Json commands = result_of(eclipse_int("run session.json --json")).at("commands");
  EXPECT_TRUE(commands.at(0).at("hex").get<std::string>().ends_with("202d6920ff20323e2631"));
  EXPECT_EQ(commands.at(0).at("hex"), Json::parse(eclipse_int("plan session.json --json").output).at("command").at("hex"));
  EXPECT_EQ(commands.at(0).value("outputHex", "") + commands.at(0).value("errorOutputHex", ""), "61ffc3a4c3");
  EXPECT_TRUE(commands.at(1).contains("hex"));
  EXPECT_FALSE(commands.at(1).contains("outputHex"));
  EXPECT_FALSE(commands.at(1).contains("errorOutputHex"));
}

TEST_F(JsonResult, HoldsWhatTheShellItselfSays) {
  write_session("uninstall", {}, "\"remove\": true");
  script(1, "exit 13");
  const Outcome outcome = eclipse_int("run session.json --json");
  const Json result = result_of(outcome);
  EXPECT_EQ(outcome.status, 1);
  ASSERT_EQ(result.at("commands").size(), 3U);
  EXPECT_EQ(result.at("commands").at(1).at("command"),
            "DIRECTORY/eclipse/eclipse " + removal_arguments("one,two") + " 2>&1one 2>&1");
  EXPECT_NE(result.at("commands").at(1).at("errorOutput"), "");
}

TEST_F(JsonResult, HoldsWhatIsKnownWhenTheRunBreaksOff) {
  write_session("install", {{"ECLIPSE_INTEGRATION_CHOICE", "none"}});
  const Outcome outcome = eclipse_int(std::string("run session.json --json --plugin ") + THROWING_PLUGIN);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_EQ(outcome.error, "eclipse-int: the run was aborted: no more of this\n");
  const Json before = {{"ECLIPSE_BIN", "eclipse"},
                       {"ECLIPSE_INTEGRATION_CHOICE", "none"},
                       {"KORU_MODE", "install"},
                       {"USER_DEFINED_ECLIPSE_PATH", "DIRECTORY/eclipse/eclipse"},
                       {"eclipse_integration_failed_title", "These failed:"}};
  Json after = before;
  after["WRITTEN_BEFORE"] = "yes";
  const auto action = [](const std::string& name, const Json& result) { return Json{{"name", name}, {"result", result}}; };
  const Json expected = {{"status", "aborted"},
                         {"exitStatus", 1},
                         {"reason", "no more of this"},
                         {"actions",
                          {action("eclipse_integration_required", 0), action("find_eclipse_ide", 0),
                           action("define_eclipse_path", 0), action("perform_integration", nullptr)}},
                         {"variables", {{"before", before}, {"after", after}}},
                         {"log", Json::array()},
                         {"commands", Json::array()}};
  EXPECT_EQ(result_of(outcome), expected);
}

TEST_F(JsonResult, LeavesOutTheOutputThatItHadNoMemoryFor) {
  const std::string little_memory = memory_limit(250);
  if (little_memory.empty()) GTEST_SKIP() << "this build needs more memory to start";
  write_session("install");
  fail_with_much_output(60);
  const Outcome outcome = eclipse_int("run session.json --json", little_memory);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_TRUE(outcome.error.starts_with("eclipse-int: the run was aborted: there is not enough memory\n")) << outcome.error;
  const Json result = Json::parse(outcome.output);
  EXPECT_EQ(result.at("status"), "aborted");
  EXPECT_EQ(result.at("reason"), "there is not enough memory");
  ASSERT_FALSE(result.at("commands").empty());
  EXPECT_EQ(result.at("commands").at(0).at("exitCode"), 13);
}

TEST_F(JsonResult, IsPrintedWithoutOutputsThatDoNotFitIntoMemory) {
  const std::string little_memory = memory_limit(250);
  if (little_memory.empty()) GTEST_SKIP() << "this build needs more memory to start";
  write_session("install");
  bool was_without_outputs = false;
  for (int features = 1; features <= 16 && !was_without_outputs; ++features) {
    fail_with_much_output(features);
    const Outcome outcome = eclipse_int("run session.json --json", little_memory);
    ASSERT_NE(outcome.output, "") << features << outcome.error;
    const Json result = Json::parse(outcome.output);
    if (result.at("status") != "failed") continue;
    EXPECT_EQ(result.at("exitStatus"), outcome.status);
    was_without_outputs = result.at("commands").at(0).at("output") == "";
    if (!was_without_outputs) continue;
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.error,
              "eclipse-int: the JSON document does not fit into memory, so it is printed without the output of the commands\n");
  }
  EXPECT_TRUE(was_without_outputs);
}

TEST_F(JsonResult, HoldsHugeOutputs) {
  write_session("install");
  constexpr std::size_t size = 4'000'000;
  script(1, "head -c " + std::to_string(size) + " /dev/zero | tr '\\0' x");
  const Outcome outcome = eclipse_int("run session.json --json");
  EXPECT_EQ(outcome.status, 0);
  const std::string output = result_of(outcome).at("commands").at(0).at("output");
  EXPECT_EQ(output.size(), size);
  EXPECT_EQ(output.find_first_not_of('x'), std::string::npos);
}

}  // namespace

}  // namespace cli_test
