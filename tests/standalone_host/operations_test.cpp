// What the stand-alone host has beyond the contract of a host: the active session, and the seams.
#include <gtest/gtest.h>

#include <cwchar>
#include <functional>
#include <new>

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

// ---- Bad answers ----

/// What each operation answers where a good answer differs from a bad one.
Texts answers(Session& session, Component& component) {
  fake::write_file("d/f", "content");
  char capabilities[] = "KORU_YUM_CAPABILITY_PROVIDERS";
  int exit_code = 0;
  const std::string output = get_command_output("echo output", &exit_code, true, "");
  char* const content = get_file("d/f", 0, nullptr);
  Texts answers = {
      "env_get_string " + env_get_string(&session, "A"),
      "expand_operand " + expand_operand(&session, "${A}", true),
      "session_get_cdata " + std::to_string(session_get_cdata(&session, capabilities) != nullptr),
      "is_gui_mode " + std::to_string(is_gui_mode(&session)),
      "TSD::components " + std::to_string(session.tsd.components().size()),
      "Component::provider " + std::to_string(component.provider() != nullptr),
      "Component::installCondition " + std::to_string(component.installCondition()),
      "Component::uninstallCondition " + std::to_string(component.uninstallCondition()),
      "Component::getInstalled " + std::to_string(component.getInstalled(0)),
      "path " + path("a//b"),
      "resolved_path " + resolved_path("/"),
      "path_is_relative " + std::to_string(path_is_relative("a")),
      "get_basename " + get_basename("d/f"),
      "get_dirname " + get_dirname("d/f"),
      "is_file " + std::to_string(is_file("d/f")),
      "file_exists " + std::to_string(file_exists("d", false)),
      "get_file " + std::string(content == nullptr ? "" : content),
      "join of a list " + join(Texts{"y", "x"}, ";"),
      "join of a set " + join(std::set<std::string>{"y", "x"}, ";"),
      "replaceAllSubstrings " + replaceAllSubstrings("text", "x", "s"),
      "get_command_output " + std::to_string(exit_code) + " " + output,
  };
  std::free(content);
  return answers;
}

TEST_F(Operations, EachCanBeAnsweredBadly) {
  auto* const component = fake::add_component(session, {.code = "c"});
  auto& in_catalogue = *session.components.back();
  in_catalogue.selected_for_install = in_catalogue.selected_for_removal = in_catalogue.installed = true;
  session.graphical = true;
  session.variables["A"] = "value";
  const Texts good = {"env_get_string value",
                      "expand_operand value",
                      "session_get_cdata 1",
                      "is_gui_mode 1",
                      "TSD::components 1",
                      "Component::provider 1",
                      "Component::installCondition 1",
                      "Component::uninstallCondition 1",
                      "Component::getInstalled 1",
                      "path a/b",
                      "resolved_path /",
                      "path_is_relative 1",
                      "get_basename f",
                      "get_dirname d",
                      "is_file 1",
                      "file_exists 1",
                      "get_file content",
                      "join of a list y;x",
                      "join of a set x;y",
                      "replaceAllSubstrings test",
                      "get_command_output 0 output\n"};
  EXPECT_EQ(answers(session, *component), good);
  session.answers_badly = [](const HostCall&) { return false; };
  EXPECT_EQ(answers(session, *component), good);
  session.answers_badly = [](const HostCall&) { return true; };
  EXPECT_EQ(answers(session, *component), (Texts{"env_get_string ",
                                                 "expand_operand ",
                                                 "session_get_cdata 0",
                                                 "is_gui_mode 0",
                                                 "TSD::components 0",
                                                 "Component::provider 0",
                                                 "Component::installCondition 0",
                                                 "Component::uninstallCondition 0",
                                                 "Component::getInstalled 0",
                                                 "path ",
                                                 "resolved_path ",
                                                 "path_is_relative 0",
                                                 "get_basename ",
                                                 "get_dirname ",
                                                 "is_file 0",
                                                 "file_exists 0",
                                                 "get_file ",
                                                 "join of a list ",
                                                 "join of a set ",
                                                 "replaceAllSubstrings ",
                                                 "get_command_output 1 "}));
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

/// A line without its text would say that the plug-in has done something else. Here the C library fails for a character that
/// does not exist.
TEST_F(Operations, LineThatCannotBeFormattedIsNotLoggedAsAnother) {
  Texts lines;
  session.on_log = [&](const std::string& line) { lines.push_back(line); };
  EXPECT_THROW(print_log("%lc", std::wint_t{0x110000}), std::bad_alloc);
  EXPECT_EQ(lines, Texts{});
}

}  // namespace
