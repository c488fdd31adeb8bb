// That lint and plan agree on which executables can be started.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "lint/samples.h"
#include "plan/make_plan.h"
#include "standalone_host/session_file.h"

namespace fs = std::filesystem;
using namespace eclipse_lint;
using namespace lint_test;
using Json = nlohmann::json;

namespace {

class ExecutableAgreement : public testing::Test {
 protected:
  ExecutableAgreement() {
    fake::write_file("tools/etc/eclipse/t", "s\ta.b.feature.group\n");
    fake::write_file("tools/s/content.xml",
                     "<repository><units><unit id='a.b.feature.group' version='1'/></units></repository>");
  }

  static void write_executable(const std::string& file, unsigned permissions = 0755) {
    fake::write_file(file, "#!/bin/sh\n");
    fs::permissions(file, fs::perms(permissions));
  }

  static void write_session(const std::string& mode, Json variables, const std::string& ide) {
    const auto component = [](const std::string& name, const std::string& capability, const std::string& file) {
      return Json{{"code", name},
                  {"installBase", "."},
                  {"installDir", name},
                  {"install", true},
                  {"remove", true},
                  {"capabilities", {capability}},
                  {"package", {{"files", {file}}}}};
    };
    Json components = Json::array();
    if (!ide.empty()) components.push_back(component(ide, "ECLIPSE_IDE", "eclipse"));
    components.push_back(component("tools", "ECLIPSE_PLUGIN", "etc/eclipse/t"));
    fake::write_file("session.json",
                     Json{{"mode", mode}, {"variables", std::move(variables)}, {"components", components}}.dump());
  }

  /// Whether plan says that the run is refused, or that its command would not start the executable.
  static bool plan_fails() {
    static const eclipse_host::Plugin plugin(ECLIPSE_INT_LIBRARY);
    eclipse_host::Session session;
    eclipse_host::read_session_file("session.json", session);
    const auto plan = eclipse_plan::make_plan(plugin, session, eclipse_plan::Retries::distinct);
    if (!plan.refusal.empty()) return true;
    if (!plan.command) return false;
    return !plan.command->executable_error.empty() || !plan.command->causes.empty();
  }

  static bool lint_fails() {
    const Findings findings = findings_in("session.json");
    // Without an executable there is no command that could fail.
    return std::any_of(findings.begin(), findings.end(), [](const Finding& each) {
      return each.severity == Severity::error && each.rule->name != "internal-eclipse-not-found";
    });
  }

  /// Compares the two for one session, and returns what they say.
  static bool fails(const std::string& mode, const Json& variables, const std::string& ide = "") {
    write_session(mode, variables, ide);
    const bool expected = plan_fails();
    EXPECT_EQ(lint_fails(), expected) << mode << " " << variables << " "
                                      << testing::PrintToString(summary_of(findings_in("session.json")));
    return expected;
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(ExecutableAgreement, OnTheEclipseThatTheUserNames) {
  write_executable("good/eclipse");
  write_executable("plain/eclipse", 0644);
  write_executable("eclipse");
  fs::create_directories("linked");
  fs::create_symlink("../good/eclipse", "linked/eclipse");
  fs::create_directories("dangling");
  fs::create_symlink("missing", "dangling/eclipse");
  std::vector<std::string> failing;
  for (const std::string path : {"good/eclipse", "plain/eclipse", "linked/eclipse", "dangling/eclipse", "good", "./good/",
                                 "eclipse", "./eclipse", "missing/eclipse", ""}) {
    const Json variables = {{"ECLIPSE_INTEGRATION_CHOICE", "user"},
                            {"ECLIPSE_BIN", fs::path(path).filename().string()},
                            {"USER_DEFINED_ECLIPSE_PATH", path}};
    for (const std::string mode : {"install", "uninstall"}) {
      if (fails(mode, variables)) failing.push_back(mode + " " + path);
    }
  }
  EXPECT_EQ(failing, (std::vector<std::string>{"install plain/eclipse", "uninstall plain/eclipse", "install dangling/eclipse",
                                               "install good", "uninstall good", "install ./good/", "uninstall ./good/",
                                               "install eclipse", "uninstall eclipse", "install ./eclipse",
                                               "uninstall ./eclipse", "install missing/eclipse", "install "}));
}

TEST_F(ExecutableAgreement, OnPathsThatTheShellWouldChange) {
  std::string failing;
  for (char byte = ' '; byte <= '~'; ++byte) {
    if (byte == '/' || byte == '\\') continue;
    for (const std::string& name : {std::string(1, byte) + "a", "a" + std::string(1, byte), "a" + std::string(1, byte) + "b"}) {
      write_executable(name + "/eclipse");
      const Json variables = {
          {"ECLIPSE_INTEGRATION_CHOICE", "user"}, {"ECLIPSE_BIN", "eclipse"}, {"USER_DEFINED_ECLIPSE_PATH", name + "/eclipse"}};
      if (fails("install", variables) && !failing.ends_with(byte)) failing += byte;
    }
  }
  EXPECT_EQ(failing, " \"#$%&'()*:;<=>?`|~");
}

TEST_F(ExecutableAgreement, OnTheEclipseOfAComponent) {
  const Json variables = {{"ECLIPSE_INTEGRATION_CHOICE", "internal"}, {"ECLIPSE_BIN", "eclipse"}};
  write_executable("good/eclipse");
  write_executable("my ide/eclipse");
  write_executable("a;b/eclipse");
  write_executable("plain/eclipse", 0644);
  fs::create_directories("missing");
  std::vector<std::string> failing;
  for (const std::string ide : {"good", "my ide", "a;b", "plain", "missing"}) {
    if (fails("install", variables, ide)) failing.push_back(ide);
  }
  EXPECT_EQ(failing, (std::vector<std::string>{"my ide", "a;b", "plain"}));
}

}  // namespace
