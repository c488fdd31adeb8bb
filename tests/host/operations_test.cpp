// The operations of the stand-alone host, as the host interface promises them.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <functional>

#include "fake_host/fake_host.h"
#include "host/session.h"

using eclipse_host::ActiveSession;
using eclipse_host::HostCall;
using eclipse_host::Session;
using fake::Texts;

namespace {

class Operations : public testing::Test {
 protected:
  Session session;
  ActiveSession active{session};
  fake::TemporaryFolder folder;
};

// ---- The session ----

TEST_F(Operations, VariablesAreReadAndWrittenByEitherForm) {
  EXPECT_EQ(env_get_string(&session, "NAME"), "");
  env_set_string(&session, "NAME", "characters");
  EXPECT_EQ(env_get_string(&session, "NAME"), "characters");
  env_set_string(&session, std::string("NAME"), std::string("te\0xt", 5));
  EXPECT_EQ(env_get_string(&session, "NAME"), std::string("te\0xt", 5));
  EXPECT_EQ(env_get_string(&session, "name"), "");
  EXPECT_EQ(session.variables, (std::map<std::string, std::string>{{"NAME", std::string("te\0xt", 5)}}));
}

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

TEST_F(Operations, OperandsAreExpanded) {
  session.variables = {{"A", "1"}, {"B", "${A}"}, {"", "none"}, {"A B", "2"}};
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", ""},         {"text", "text"},  {"${A}", "1"},     {"<${A}${A}>", "<11>"},
      {"${UNSET}", ""}, {"${B}", "${A}"},  {"${}", "none"},   {"${A B}", "2"},
      {"${A", "${A"},   {"$A", "$A"},      {"${A}${", "1${"}, {"$${A}", "$1"},
      {"}", "}"},       {"}${A}{", "}1{"}, {"{${A}}", "{1}"}, {"$", "$"},
  };
  for (const auto& [text, expanded] : cases) EXPECT_EQ(expand_operand(&session, text.c_str(), true), expanded) << text;
}

TEST_F(Operations, OnlyTheCapabilityMapIsSharedData) {
  char capabilities[] = "KORU_YUM_CAPABILITY_PROVIDERS";
  char other[] = "KORU_YUM_CAPABILITY_PROVIDER";
  EXPECT_EQ(session_get_cdata(&session, capabilities), &*session.capabilities);
  EXPECT_EQ(session_get_cdata(&session, other), nullptr);
  session.capabilities.reset();
  EXPECT_EQ(session_get_cdata(&session, capabilities), nullptr);
}

TEST_F(Operations, GraphicalModeIsTheSessions) {
  EXPECT_FALSE(is_gui_mode(&session));
  session.graphical = true;
  EXPECT_TRUE(is_gui_mode(&session));
}

// ---- Which session ----

const std::vector<std::pair<std::string, std::function<void(Session&)>>> session_operations = {
    {"env_get_string", [](Session& told) { env_get_string(&told, "NAME"); }},
    {"env_set_string of characters", [](Session& told) { env_set_string(&told, "NAME", "value"); }},
    {"env_set_string of texts", [](Session& told) { env_set_string(&told, std::string("NAME"), std::string("value")); }},
    {"expand_operand", [](Session& told) { expand_operand(&told, "", true); }},
    {"session_get_cdata",
     [](Session& told) {
       char name[] = "KORU_YUM_CAPABILITY_PROVIDERS";
       session_get_cdata(&told, name);
     }},
    {"is_gui_mode", [](Session& told) { is_gui_mode(&told); }},
    {"TSD::components", [](Session& told) { told.tsd.components(); }},
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

// ---- The catalogue ----

TEST_F(Operations, CatalogueKeepsOrderAndNullPointers) {
  Component* const first = fake::add_component(session, {.code = "z"});
  session.components.push_back(nullptr);
  Component* const last = fake::add_component(session, {.code = "a"});
  EXPECT_EQ(session.tsd.components(), (std::vector<Component*>{first, nullptr, last}));
}

TEST_F(Operations, ComponentKnowsItsConditionsAndItsPackage) {
  auto* const component =
      fake::add_component(session, {.code = "c", .package = {{.prefix = "p", .files = {"x", ""}, .root = "r"}}});
  EXPECT_FALSE(component->installCondition() || component->uninstallCondition() || component->getInstalled(0));
  component->selected_for_install = true;
  EXPECT_TRUE(component->installCondition() && !component->uninstallCondition() && !component->getInstalled(0));
  component->selected_for_removal = true;
  EXPECT_TRUE(component->uninstallCondition() && !component->getInstalled(0));
  component->installed = true;
  EXPECT_TRUE(component->getInstalled(0));

  Provider* const provider = component->provider();
  EXPECT_EQ(provider->findPackage("", "d", ""), nullptr);
  Package* const package = provider->findPackage("", "c", "");
  ASSERT_EQ(package, &*component->package);
  EXPECT_EQ(package->prefix, "p");
  EXPECT_EQ(provider->packageFiles(package), (Texts{"x", ""}));
  EXPECT_EQ(provider->rootPath(), "r");

  component->package.reset();
  EXPECT_EQ(component->provider()->findPackage("", "c", ""), nullptr);
  EXPECT_EQ(component->provider()->rootPath(), "");
  component->has_provider = false;
  EXPECT_EQ(component->provider(), nullptr);
}

// ---- The log ----

TEST_F(Operations, LogLinesAreFormattedWhole) {
  Texts lines;
  session.on_log = [&](const std::string& line) { lines.push_back(line); };
  const std::string big(200'000, 'x');
  print_log("%s", "");
  print_log("%s and %d%%", "text", -5);
  print_log("%s", "%s%n\nsecond\n");
  print_log("<%s>", big.c_str());
  EXPECT_EQ(lines, (Texts{"", "text and -5%", "%s%n\nsecond\n", "<" + big + ">"}));
}

// ---- Paths ----

struct PathCase {
  std::string text;
  std::string normalised;
  std::string basename;
  std::string dirname;
  bool relative;
};

TEST_F(Operations, PathsHaveOneForm) {
  const std::vector<PathCase> cases = {
      {"", "", "", "", true},
      {"a", "a", "a", "", true},
      {"a/b", "a/b", "b", "a", true},
      {"/a", "/a", "a", "/", false},
      {"/a/b/", "/a/b", "b", "/a", false},
      {"/a/b//", "/a/b", "b", "/a", false},
      {"//a///b", "/a/b", "b", "//a", false},
      {"a/./b/../c", "a/c", "c", "a/./b/..", true},
      {"../a", "../a", "a", "..", true},
      {"a/..", ".", "..", "a", true},
      {"/..", "/", "..", "/", false},
      {"/", "/", "", "/", false},
      {"//", "/", "", "/", false},
      {".", ".", ".", "", true},
      {"a b/c\\d", "a b/c\\d", "c\\d", "a b", true},
      {"a/.hidden", "a/.hidden", ".hidden", "a", true},
      {"a\n", "a\n", "a\n", "", true},
  };
  for (const auto& [text, normalised, basename, dirname, relative] : cases) {
    EXPECT_EQ(path(text), normalised) << text;
    EXPECT_EQ(get_basename(text), basename) << text;
    EXPECT_EQ(get_dirname(text), dirname) << text;
    EXPECT_EQ(path_is_relative(text), relative) << text;
    EXPECT_EQ(path(path(text)), normalised) << text;
  }
}

TEST_F(Operations, ResolvedPathIsAbsoluteAndWithoutLinks) {
  std::filesystem::create_directories("real/sub");
  std::filesystem::create_directory_symlink("real", "link");
  const std::string here = folder.path();
  EXPECT_EQ(resolved_path("link/sub/../x"), here + "/real/x");
  EXPECT_EQ(resolved_path(here + "/link//sub"), here + "/real/sub");
  EXPECT_EQ(resolved_path("missing/../other/file"), here + "/other/file");
  EXPECT_EQ(resolved_path("/"), "/");
}

// ---- Files ----

TEST_F(Operations, FilesAndFoldersAreToldApart) {
  fake::write_file("folder/file", "");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  std::filesystem::create_symlink("folder/file", "link to file");
  std::filesystem::create_symlink("nowhere", "dangling");
  struct Case {
    std::string path;
    bool is_file;
    bool exists;
  };
  const std::vector<Case> cases = {
      {"folder/file", true, true}, {"folder", false, true},       {"folder/", false, true},     {"folder/file/", false, false},
      {"pipe", false, true},       {"missing", false, false},     {"link to file", true, true}, {"dangling", false, false},
      {"", false, false},          {"folder/FILE", false, false}, {"/dev/null", false, true},
  };
  for (const auto& [path, file, exists] : cases) {
    EXPECT_EQ(is_file(path), file) << path;
    EXPECT_EQ(file_exists(path, false), exists) << path;
  }
}

TEST_F(Operations, FileIsReadWholeAndZeroTerminated) {
  for (const std::string& content :
       {std::string(), std::string("text\r\n"), std::string("ze\0ro\0", 6), std::string(3'000'000, 'x')}) {
    fake::write_file("file", content);
    long long size = -1;
    char* const buffer = get_file("file", 0, &size);
    ASSERT_NE(buffer, nullptr);
    ASSERT_EQ(size, static_cast<long long>(content.size()));
    EXPECT_TRUE(std::string(buffer, content.size()) == content);
    EXPECT_EQ(buffer[size], '\0');
    std::free(buffer);
  }
  fake::write_file("file", std::string("ze\0ro", 5));
  char* const text = get_file("file", 0, nullptr);
  EXPECT_STREQ(text, "ze");
  std::free(text);
}

TEST_F(Operations, WhatCannotBeReadIsNull) {
  std::filesystem::create_directory("folder");
  long long size = -1;
  for (const std::string path : {"folder", "missing", ""}) {
    EXPECT_EQ(get_file(path, 0, &size), nullptr) << path;
    EXPECT_EQ(get_file(path, 0, nullptr), nullptr) << path;
  }
  EXPECT_EQ(size, -1);
}

// ---- Texts ----

TEST_F(Operations, ItemsAreJoinedInTheirOrder) {
  EXPECT_EQ(join(Texts{}, ","), "");
  EXPECT_EQ(join(Texts{"a"}, ","), "a");
  EXPECT_EQ(join(Texts{"b", "a", "b"}, ", "), "b, a, b");
  EXPECT_EQ(join(Texts{"", "", ""}, ","), ",,");
  EXPECT_EQ(join(Texts{"a", "b"}, ""), "ab");
  EXPECT_EQ(join(std::set<std::string>{}, ","), "");
  EXPECT_EQ(join(std::set<std::string>{"b", "a", "B", "\xC3\xA4", ""}, ","), ",B,a,b,\xC3\xA4");
}

TEST_F(Operations, EveryOccurrenceIsReplacedAndNothingElseIsLost) {
  struct Case {
    std::string text;
    std::string from;
    std::string to;
    std::string replaced;
  };
  const std::vector<Case> cases = {
      {"", "\n", "<p>", ""},
      {"abc", "\n", "<p>", "abc"},
      {"a\nb\n", "\n", "<p>", "a<p>b<p>"},
      {"\n\n", "\n", "<p>", "<p><p>"},
      {"\na", "\n", "\n", "\na"},
      {"a\nb", "\n", "", "ab"},
      {"aaaa", "aa", "a", "aa"},
      {"aaa", "aa", "b", "ba"},
      {"aba", "a", "aa", "aabaa"},
      {"abc", "", "x", "abc"},
      {"abc", "abcd", "x", "abc"},
      {std::string("a\0b\n", 4), "\n", "|", std::string("a\0b|", 4)},
  };
  for (const auto& [text, from, to, replaced] : cases) {
    EXPECT_EQ(replaceAllSubstrings(text, from, to), replaced) << testing::PrintToString(text);
  }
}

// ---- Commands ----

TEST_F(Operations, CommandsAreRunByTheShell) {
  int exit_code = 99;
  EXPECT_EQ(get_command_output("echo out; echo error 1>&2; exit 3", &exit_code, true, ""), "out\n");
  EXPECT_EQ(exit_code, 3);
  EXPECT_EQ(get_command_output("(echo error 1>&2) 2>&1; echo more", &exit_code, true, ""), "error\nmore\n");
  EXPECT_EQ(exit_code, 0);
}

TEST_F(Operations, ScriptedCommandsAreNotRun) {
  Texts commands;
  session.run_command = [&](const std::string& command) {
    commands.push_back(command);
    return eclipse_host::CommandResult{"scripted", "not returned", -7, 0};
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
  session.run_command = [](const std::string&) { return eclipse_host::CommandResult{}; };
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
  session.run_command = [](const std::string&) -> eclipse_host::CommandResult {
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
