// The stand-alone host and the test double keep what host.h promises, and make the same choices where it leaves them one, or
// else what is shown with the one would say nothing of the other.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <type_traits>

#include "eclipse_int/host_check.h"
#include "fake_host/fake_host.h"
#include "fake_host/not_administrator.h"
#include "standalone_host/session.h"

using eclipse_host::ActiveSession;
using eclipse_host::Session;
using eclipse_shell::CommandResult;
using fake::Texts;

namespace {

struct StandAloneHost : Session {
  StandAloneHost() {
    on_log = [this](const std::string& line) { log.push_back(line); };
  }
  /// Says what the next command comes to; this host finds out for itself.
  void foresee(const CommandResult&) {}

  Texts log;
  ActiveSession active{*this};
  fake::TemporaryDirectory directory;
};

struct TestDouble : fake::FakeHost {
  /// This host runs nothing: what is shown of it is that what a test scripts reaches the plug-in unchanged.
  void foresee(const CommandResult& result) { results.push_back(result); }
};

template <typename Host>
class HostContract : public testing::Test {
 protected:
  Host host;
};

struct HostNames {
  template <typename Host>
  static std::string GetName(int) {
    return std::is_same_v<Host, TestDouble> ? "TestDouble" : "StandAloneHost";
  }
};

using Hosts = testing::Types<StandAloneHost, TestDouble>;
TYPED_TEST_SUITE(HostContract, Hosts, HostNames);

// ---- The promises ----

TYPED_TEST(HostContract, PromisesAreKept) {
  Session& session = this->host;
  auto* const component =
      fake::add_component(session, {.code = "c", .package = {{.prefix = "p", .files = {"x"}, .root = "."}}});
  component->selected_for_install = true;
  std::filesystem::create_directory("p");
  (*session.capabilities)["ECLIPSE_PLUGIN"] = component;
  std::ofstream log("log");
  session.on_log = [&](const std::string& line) { log << line << std::endl; };

  eclipse_int::HostCheckOptions options;
  options.log = "log";
  if (std::is_same_v<TypeParam, TestDouble>) {
    // It runs no commands.
    options.only = {"load",        "env",       "expand",  "cdata",         "is_gui_mode",      "components",
                    "provider",    "log",       "path",    "resolved_path", "path_is_relative", "get_basename",
                    "get_dirname", "arguments", "is_file", "file_exists",   "get_file",         "join",
                    "replace"};
  }
  std::ostringstream report;
  EXPECT_EQ(eclipse_int::check_host(session, options, report), 0) << report.str();
}

// ---- The session ----

TYPED_TEST(HostContract, OperandsAreExpanded) {
  Session& session = this->host;
  session.variables = {{"A", "1"}, {"B", "${A}"}, {"", "none"}, {"A B", "2"}};
  const std::vector<std::pair<std::string, std::string>> cases = {
      {"", ""},         {"text", "text"},  {"${A}", "1"},     {"<${A}${A}>", "<11>"},
      {"${UNSET}", ""}, {"${B}", "${A}"},  {"${}", "none"},   {"${A B}", "2"},
      {"${A", "${A"},   {"$A", "$A"},      {"${A}${", "1${"}, {"$${A}", "$1"},
      {"}", "}"},       {"}${A}{", "}1{"}, {"{${A}}", "{1}"}, {"$", "$"},
  };
  for (const auto& [text, expanded] : cases) EXPECT_EQ(expand_operand(&session, text.c_str(), true), expanded) << text;
}

TYPED_TEST(HostContract, OnlyTheCapabilityMapIsSharedData) {
  Session& session = this->host;
  char capabilities[] = "KORU_YUM_CAPABILITY_PROVIDERS";
  char other[] = "KORU_YUM_CAPABILITY_PROVIDER";
  EXPECT_EQ(session_get_cdata(&session, capabilities), &*session.capabilities);
  EXPECT_EQ(session_get_cdata(&session, other), nullptr);
  session.capabilities.reset();
  EXPECT_EQ(session_get_cdata(&session, capabilities), nullptr);
}

TYPED_TEST(HostContract, GraphicalModeIsTheSessions) {
  Session& session = this->host;
  EXPECT_FALSE(is_gui_mode(&session));
  session.graphical = true;
  EXPECT_TRUE(is_gui_mode(&session));
}

// ---- The catalogue ----

TYPED_TEST(HostContract, CatalogueKeepsOrderAndNullPointers) {
  Session& session = this->host;
  Component* const first = fake::add_component(session, {.code = "z"});
  session.components.push_back(nullptr);
  Component* const last = fake::add_component(session, {.code = "a"});
  EXPECT_EQ(session.tsd.components(), (std::vector<Component*>{first, nullptr, last}));
}

TYPED_TEST(HostContract, ComponentKnowsItsConditionsAndItsPackage) {
  Session& session = this->host;
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

// ---- Paths ----

struct PathCase {
  std::string text;
  std::string normalised;
  std::string basename;
  std::string dirname;
  bool relative;
};

TYPED_TEST(HostContract, PathsHaveOneForm) {
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

TYPED_TEST(HostContract, PathIsNormalisedWhateverItsPieces) {
  constexpr std::string_view letters = "a./";
  constexpr std::size_t longest = 7;
  std::vector<std::string> texts = {""};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    std::string normalised = std::filesystem::path(texts[i]).lexically_normal().string();
    while (normalised.size() > 1 && normalised.ends_with('/')) normalised.pop_back();
    EXPECT_EQ(path(texts[i]), normalised) << texts[i];
    if (texts[i].size() == longest) continue;
    for (const char letter : letters) texts.push_back(texts[i] + letter);
  }
}

TYPED_TEST(HostContract, ResolvedPathIsAbsoluteAndWithoutLinks) {
  std::filesystem::create_directories("real/sub");
  std::filesystem::create_directory_symlink("real", "link");
  const std::string here = this->host.directory.path();
  EXPECT_EQ(resolved_path("link/sub/../x"), here + "/real/x");
  EXPECT_EQ(resolved_path(here + "/link//sub"), here + "/real/sub");
  EXPECT_EQ(resolved_path("missing/../other/file"), here + "/other/file");
  EXPECT_EQ(resolved_path("/"), "/");
}

// ---- Files ----

TYPED_TEST(HostContract, WhatCannotBeReadIsNull) {
  std::filesystem::create_directory("directory");
  long long size = -1;
  fake::write_file("unreadable", "text");
  ASSERT_EQ(chmod(".", 0755), 0);
  ASSERT_EQ(chmod("unreadable", 0), 0);
  const fake::NotAdministrator unprivileged;
  for (const std::string path : {"directory", "missing", "", "unreadable"}) {
    EXPECT_EQ(get_file(path, 0, &size), nullptr) << path;
    EXPECT_EQ(get_file(path, 0, nullptr), nullptr) << path;
  }
  EXPECT_EQ(size, -1);
}

// ---- Commands ----

struct CommandCase {
  std::string command;
  std::string output;
  int exit_code;
};

template <typename Host>
void expect_outcomes(Host& host, const std::vector<CommandCase>& cases) {
  for (const auto& [command, output, exit_code] : cases) {
    host.foresee({output, "", exit_code, 0});
    int found = 99;
    EXPECT_TRUE(get_command_output(command, &found, true, "") == output) << command;
    EXPECT_EQ(found, exit_code) << command;
  }
}

TYPED_TEST(HostContract, CommandsTellTheirOutputAndExitCode) {
  expect_outcomes(this->host, {{"true", "", 0},
                               {"echo out; echo error 1>&2; exit 3", "out\n", 3},
                               {"(echo error 1>&2) 2>&1; echo more", "error\nmore\n", 0},
                               {"exit 255", "", 255},
                               {"no_such_command_here", "", 127},
                               {"kill -TERM $$", "", 128 + SIGTERM},
                               {"printf 'before\\n'; kill -KILL $$", "before\n", 128 + SIGKILL}});
}

TYPED_TEST(HostContract, OutputsComeWholeWhateverIsInThem) {
  expect_outcomes(this->host, {{"printf 'a\\000b\\377\\r\\n\\n'", std::string("a\0b\xFF\r\n\n", 7), 0},
                               {"printf '\\000'", std::string(1, '\0'), 0},
                               {"head -c 2000000 /dev/zero | tr '\\000' x; exit 4", std::string(2'000'000, 'x'), 4}});
}

TYPED_TEST(HostContract, CommandThatCannotStartFailsWithoutOutput) {
  expect_outcomes(this->host, {{"echo " + std::string(131'072, 'x'), "", 126}, {std::string("echo a\0b", 8), "", 126}});
}

}  // namespace
