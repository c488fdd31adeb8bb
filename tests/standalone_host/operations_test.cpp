// What the stand-alone host has beyond the contract of a host: the active session, and the seams.
#include <gtest/gtest.h>

#include <functional>

#include "fake_host/fake_host.h"
#include "standalone_host/session.h"

using eclipse_host::ActiveSession;
using eclipse_host::HostCall;
using eclipse_host::Session;
using fake::Texts;

namespace {

class Operations : public testing::Test {
 protected:
  Session session;
  ActiveSession active{session};
  fake::TemporaryDirectory directory;
};

// ---- The session ----

TEST_F(Operations, WriteIsSeenAfterItWasMade) {
  Texts seen;
  session.on_variable = [&](const std::string& name, const std::string& value) {
    EXPECT_EQ(session.variables[name], value);
    seen.push_back(name + "=" + value);
  };
  env_set_string(&session, "A", "1");
  env_set_string(&session, std::string("B"), std::string());
  EXPECT_EQ(seen, (Texts{"A=1", "B="}));
}

// ---- Which session ----

const std::vector<std::pair<std::string, std::function<void(Session&)>>> session_operations = {
    {"env_get_string", [](Session& session) { env_get_string(&session, "NAME"); }},
    {"env_set_string of characters", [](Session& session) { env_set_string(&session, "NAME", "value"); }},
    {"env_set_string of texts", [](Session& session) { env_set_string(&session, std::string("NAME"), std::string("value")); }},
    {"expand_operand", [](Session& session) { expand_operand(&session, "", true); }},
    {"session_get_cdata",
     [](Session& session) {
       char name[] = "KORU_YUM_CAPABILITY_PROVIDERS";
       session_get_cdata(&session, name);
     }},
    {"is_gui_mode", [](Session& session) { is_gui_mode(&session); }},
    {"TSD::components", [](Session& session) { session.tsd.components(); }},
};

TEST_F(Operations, AnotherSessionThanTheActiveOneIsRefused) {
  Session another;
  for (const auto& [name, operation] : session_operations) {
    EXPECT_NO_THROW(operation(session)) << name;
    EXPECT_THROW(operation(another), std::logic_error) << name;
  }
  EXPECT_TRUE(another.variables.empty());
}

TEST(OperationsWithoutASession, AreRefused) {
  Session session;
  for (const auto& [name, operation] : session_operations) EXPECT_THROW(operation(session), std::logic_error) << name;
  EXPECT_THROW(print_log("line"), std::logic_error);
  EXPECT_THROW(path("x"), std::logic_error);
  int exit_code = 0;
  EXPECT_THROW(get_command_output("true", &exit_code, true, ""), std::logic_error);
}

TEST(ActiveSession, IsTheInnermostOneAndTheOneBeforeComesBack) {
  Session outer;
  Session inner;
  Texts lines;
  outer.on_log = [&](const std::string& line) { lines.push_back("outer " + line); };
  inner.on_log = [&](const std::string& line) { lines.push_back("inner " + line); };
  const ActiveSession outer_active(outer);
  try {
    const ActiveSession inner_active(inner);
    print_log("1");
    EXPECT_THROW(env_get_string(&outer, "NAME"), std::logic_error);
    throw 1;
  } catch (int) {
  }
  print_log("2");
  EXPECT_EQ(env_get_string(&outer, "NAME"), "");
  EXPECT_EQ(lines, (Texts{"inner 1", "outer 2"}));
}

// ---- Commands ----

TEST_F(Operations, ScriptedCommandsAreNotRun) {
  Texts commands;
  session.run_command = [&](const std::string& command) {
    commands.push_back(command);
    return eclipse_shell::CommandResult{"scripted", "not returned", -7, 0};
  };
  int exit_code = 99;
  EXPECT_EQ(get_command_output("touch made", &exit_code, true, ""), "scripted");
  EXPECT_EQ(exit_code, -7);
  EXPECT_EQ(commands, Texts{"touch made"});
  EXPECT_FALSE(std::filesystem::exists("made"));
}

// ---- A look at every call ----

TEST_F(Operations, EachCallIsSeenWithItsArguments) {
  auto* const component = fake::add_component(session, {.code = "c"});
  session.run_command = [](const std::string&) { return eclipse_shell::CommandResult{}; };
  Texts seen;
  session.on_call = [&](const HostCall& call) {
    seen.emplace_back(call.operation);
    for (const std::string& argument : call.arguments) seen.back() += "|" + argument;
  };
  char name[] = "name";
  int exit_code = 0;
  env_get_string(&session, "n");
  env_set_string(&session, "n", "v");
  env_set_string(&session, std::string("n"), std::string("w"));
  expand_operand(&session, "${n}", true);
  session_get_cdata(&session, name);
  is_gui_mode(&session);
  session.tsd.components();
  component->provider();
  component->installCondition();
  component->uninstallCondition();
  component->getInstalled(0);
  print_log("%s", "line");
  path("a//b");
  resolved_path("a");
  path_is_relative("a");
  get_basename("a");
  get_dirname("a");
  is_file("a");
  file_exists("a", false);
  get_file("a", 0, nullptr);
  join(Texts{"y", "x"}, ";");
  join(std::set<std::string>{"y", "x"}, ";");
  replaceAllSubstrings("t", "f", "r");
  get_command_output("command", &exit_code, true, "");
  EXPECT_EQ(seen, (Texts{"env_get_string|n",
                         "env_set_string|n|v",
                         "env_set_string|n|w",
                         "expand_operand|${n}",
                         "session_get_cdata|name",
                         "is_gui_mode",
                         "TSD::components",
                         "Component::provider|c",
                         "Component::installCondition|c",
                         "Component::uninstallCondition|c",
                         "Component::getInstalled|c",
                         "print_log|line",
                         "path|a//b",
                         "resolved_path|a",
                         "path_is_relative|a",
                         "get_basename|a",
                         "get_dirname|a",
                         "is_file|a",
                         "file_exists|a",
                         "get_file|a",
                         "join|y,x|;",
                         "join|x,y|;",
                         "replaceAllSubstrings|t|f|r",
                         "get_command_output|command"}));
}

TEST_F(Operations, WhatTheLookThrowsComesOutBeforeAnythingIsDone) {
  session.on_log = [](const std::string&) { ADD_FAILURE() << "logged"; };
  session.run_command = [](const std::string&) -> eclipse_shell::CommandResult {
    ADD_FAILURE() << "run";
    return {};
  };
  session.on_call = [](const HostCall&) { throw 42; };
  int exit_code = 99;
  EXPECT_THROW(env_set_string(&session, "NAME", "value"), int);
  EXPECT_THROW(print_log("line"), int);
  EXPECT_THROW(get_command_output("command", &exit_code, true, ""), int);
  EXPECT_TRUE(session.variables.empty());
  EXPECT_EQ(exit_code, 99);
}

}  // namespace
