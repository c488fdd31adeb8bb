#include <gtest/gtest.h>

#include "eclipse_int/eclipse_int.h"
#include "fake_host/fake_host.h"

using fake::FakeHost;
using fake::Texts;

namespace {

const std::string not_found = "eclipse_int: eclipse not found";
const std::string internal_line = "eclipse_int: internal eclipse install subdir: ";
const std::string default_line = "eclipse_int: no integration choice haven't been done yet. Setting default eclipse path: ";

/// A host with an IDE component, whose executable is on disk, and with an earlier ECLIPSE_PATH.
struct HostWithIde : FakeHost {
  HostWithIde() {
    fake::write_file("ide/eclipse", "");
    add({.code = "ide", .package = {{.prefix = ide, .files = {"eclipse"}}}, .capabilities = {"ECLIPSE_IDE"}});
    variables = {{"ECLIPSE_BIN", "eclipse"}, {"ECLIPSE_PATH", "earlier"}};
  }
  const std::string ide = directory.path() + "/ide";
  const std::string found = "eclipse_int: found eclipse executable: " + ide + "/eclipse";
};

TEST(DefineEclipsePath, InternalChoiceTakesTheDirectoryOfTheIde) {
  HostWithIde host;
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  EXPECT_EQ(define_eclipse_path(&host), 0);
  EXPECT_EQ(host.events, (Texts{host.found, internal_line + host.ide, "ECLIPSE_PATH=" + host.ide}));
}

TEST(DefineEclipsePath, WithoutAChoiceTheIdeIsTheDefault) {
  for (const std::string choice : {"", "Internal", "USER", "None", "internal "}) {
    HostWithIde host;
    host.variables["ECLIPSE_INTEGRATION_CHOICE"] = choice;
    EXPECT_EQ(define_eclipse_path(&host), 0);
    EXPECT_EQ(host.events, (Texts{host.found, default_line + host.ide, "ECLIPSE_PATH=" + host.ide})) << choice;
  }
}

TEST(DefineEclipsePath, WithoutAnIdeTheEarlierPathStays) {
  for (const auto& [choice, line] : {std::pair{"internal", internal_line}, std::pair{"", default_line}}) {
    FakeHost host;
    host.variables = {{"ECLIPSE_BIN", "eclipse"}, {"ECLIPSE_PATH", "earlier"}, {"ECLIPSE_INTEGRATION_CHOICE", choice}};
    EXPECT_EQ(define_eclipse_path(&host), 0);
    EXPECT_EQ(host.events, (Texts{not_found, line}));
    EXPECT_EQ(host.variable("ECLIPSE_PATH"), "earlier");
  }
}

TEST(DefineEclipsePath, IdeThatVanishesAfterItWasFoundCountsAsNone) {
  HostWithIde host;
  host.before_call = [](const eclipse_host::HostCall& call) {
    if (call.operation == "file_exists") std::filesystem::remove("ide/eclipse");
  };
  EXPECT_EQ(define_eclipse_path(&host), 0);
  EXPECT_EQ(host.events, (Texts{host.found, default_line}));
}

TEST(DefineEclipsePath, UserChoiceTakesTheDirectoryOfTheNamedExecutable) {
  HostWithIde host;
  fake::write_file("own %s/eclipse", "");
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  host.variables["USER_DEFINED_ECLIPSE_PATH"] = host.directory.path() + "/own %s/eclipse";
  EXPECT_EQ(define_eclipse_path(&host), 0);
  const std::string own = host.directory.path() + "/own %s";
  EXPECT_EQ(host.events, (Texts{host.found, "ECLIPSE_PATH=" + own, "eclipse_int: user eclipse install subdir: " + own}));
}

TEST(DefineEclipsePath, UserChoiceOnlyAsksWhetherThePathExists) {
  HostWithIde host;
  std::filesystem::create_directories("own/directory");
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  host.variables["USER_DEFINED_ECLIPSE_PATH"] = "own/directory";
  EXPECT_EQ(define_eclipse_path(&host), 0);
  EXPECT_EQ(host.events, (Texts{host.found, "ECLIPSE_PATH=own", "eclipse_int: user eclipse install subdir: own"}));
}

TEST(DefineEclipsePath, UserPathThatDoesNotExistChangesAndLogsNothing) {
  for (const std::string user_path : {"missing/eclipse", "", "ide\\eclipse", "ide/eclipse\n"}) {
    HostWithIde host;
    host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
    host.variables["USER_DEFINED_ECLIPSE_PATH"] = user_path;
    EXPECT_EQ(define_eclipse_path(&host), 0);
    EXPECT_EQ(host.events, Texts{host.found}) << user_path;
  }
}

TEST(DefineEclipsePath, EmptyDirectoryIsNeverWritten) {
  HostWithIde host;
  fake::write_file("eclipse", "");
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  host.variables["USER_DEFINED_ECLIPSE_PATH"] = "eclipse";
  EXPECT_EQ(define_eclipse_path(&host), 0);
  EXPECT_EQ(host.events, (Texts{host.found, "eclipse_int: user eclipse install subdir: "}));
  EXPECT_EQ(host.variable("ECLIPSE_PATH"), "earlier");
}

TEST(DefineEclipsePath, NoneSkipsAndLeavesThePath) {
  HostWithIde host;
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "none";
  EXPECT_EQ(define_eclipse_path(&host), 0);
  EXPECT_EQ(host.events, (Texts{host.found, "eclipse_int: eclipse integration skipped"}));
  EXPECT_EQ(host.variable("ECLIPSE_PATH"), "earlier");
}

TEST(DefineEclipsePath, IdeIsLookedUpBeforeTheChoiceIsRead) {
  HostWithIde host;
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  EXPECT_EQ(define_eclipse_path(&host), 0);
  EXPECT_EQ(
      host.calls_of({"session_get_cdata", "env_get_string", "Component::provider", "file_exists", "get_dirname"}),
      (Texts{"session_get_cdata(KORU_YUM_CAPABILITY_PROVIDERS)", "env_get_string(ECLIPSE_BIN)", "Component::provider(ide)",
             "file_exists(" + host.ide + "/eclipse)", "get_dirname(" + host.ide + "/eclipse)",
             "env_get_string(ECLIPSE_INTEGRATION_CHOICE)", "env_get_string(USER_DEFINED_ECLIPSE_PATH)", "file_exists()"}));
}

}  // namespace
