#include <gtest/gtest.h>

#include "eclipse_int/eclipse_int.h"
#include "fake_host/fake_host.h"

using fake::FakeHost;
using fake::in_order;
using fake::Texts;

namespace {

struct PathCase {
  std::string user_path;
  std::string bin;
  std::string empty;
  std::string correct;
};

TEST(VerifyUserDefinedEclipsePath, NamedFileHasToBeTheExecutable) {
  const std::vector<PathCase> cases = {
      {"", "eclipse", "yes", "no"},
      {"", "", "yes", "no"},
      {"own/eclipse", "eclipse", "no", "yes"},
      {"own/eclipse", "ECLIPSE", "no", "yes"},
      {"own/Eclipse.exe", "eclipse.EXE", "no", "yes"},
      {"C:\\eclipse\\Eclipse.exe", "eclipse.exe", "no", "yes"},
      {"own\\eclipse", "eclipse", "no", "yes"},
      {"own/eclipse\r\n", "eclipse", "no", "yes"},
      {"own\\eclipse\n\n\r", "eclipse", "no", "yes"},
      {"own/eclipse \n", "eclipse", "no", "no"},
      {"\nown/eclipse", "eclipse", "no", "no"},
      {"own", "own", "no", "no"},
      {"own/", "own", "no", "no"},
      {"own/missing", "missing", "no", "no"},
      {"own/eclipse", "eclips", "no", "no"},
      {"own/eclipse", "eclipse.exe", "no", "no"},
      {"own/eclipse", "", "no", "no"},
      {"own/eclipse", "eclipse\n", "no", "no"},
      {"own/eclipse", "own/eclipse", "no", "no"},
      {"\n", "eclipse", "no", "no"},
      {"\r\n\r\n", "", "no", "no"},
      {"own/\xC3\x84", "\xC3\x84", "no", "yes"},
      {"own/\xC3\x84", "\xC3\xA4", "no", "no"},
  };
  FakeHost host;
  for (const std::string file : {"own/eclipse", "own/Eclipse.exe", "C:/eclipse/Eclipse.exe", "own/\xC3\x84"})
    fake::write_file(file, "");
  for (const auto& [user_path, bin, empty, correct] : cases) {
    host.variables = {{"USER_DEFINED_ECLIPSE_PATH", user_path}, {"ECLIPSE_BIN", bin}};
    host.events.clear();
    EXPECT_EQ(verify_user_defined_eclipse_path(&host), 0);
    EXPECT_EQ(host.events, (Texts{"USER_DEFINED_ECLIPSE_PATH_EMPTY=" + empty, "USER_DEFINED_ECLIPSE_PATH_CORRECT=" + correct}))
        << testing::PrintToString(user_path) << " " << testing::PrintToString(bin);
    EXPECT_EQ(host.variable("USER_DEFINED_ECLIPSE_PATH"), user_path);
  }
}

TEST(VerifyUserDefinedEclipsePath, ExecutableNameIsReadOnlyForAFile) {
  FakeHost host;
  host.variables["USER_DEFINED_ECLIPSE_PATH"] = "a\\missing\r\n";
  EXPECT_EQ(verify_user_defined_eclipse_path(&host), 0);
  EXPECT_EQ(host.calls,
            (Texts{"env_get_string(USER_DEFINED_ECLIPSE_PATH)", "env_set_string(USER_DEFINED_ECLIPSE_PATH_EMPTY, no)",
                   "is_file(a/missing)", "env_set_string(USER_DEFINED_ECLIPSE_PATH_CORRECT, no)"}));
}

// ---- The version ----

const std::string entered = "eclipse_int: user_eclipse_version";
const std::string no_pattern = "eclipse_int: search for pattern eclipse.buildId=  - pattern not found";
const Texts path_is_correct = {entered, "USER_DEFINED_ECLIPSE_PATH_EMPTY=no", "USER_DEFINED_ECLIPSE_PATH_CORRECT=yes"};

/// A host whose user has named an Eclipse, with this config.ini.
struct HostWithUserEclipse : FakeHost {
  explicit HostWithUserEclipse(const std::string& configuration) {
    fake::write_file("own/eclipse", "");
    fake::write_file("own/configuration/config.ini", configuration);
    variables = {{"USER_DEFINED_ECLIPSE_PATH", "own/eclipse"}, {"ECLIPSE_BIN", "eclipse"}};
  }
};

TEST(UserEclipseVersion, IsTheTextBehindTheFirstKey) {
  struct Case {
    std::string configuration;
    Texts lines;
    std::string version;
  };
  const Texts no_end = {"eclipse_int: EOL wasn't found"};
  const std::vector<Case> cases = {
      {"eclipse.buildId=4.5\n", {}, "4.5"},
      {"a=b\neclipse.buildId=4.5.2.M20160212-1500\nc=d\n", {}, "4.5.2.M20160212-1500"},
      {"#x eclipse.buildId=1\neclipse.buildId=2\n", {}, "1"},
      {"eclipse.buildId=eclipse.buildId=3\n", {}, "eclipse.buildId=3"},
      {"eclipse.buildId= 4 \n", {}, " 4 "},
      {"eclipse.buildId=4.5\r\nx\r\n", {}, "4.5\r"},
      {"eclipse.buildId=\nx\n", {}, ""},
      {"eclipse.buildId=4.5", no_end, "4.5"},
      {"eclipse.buildId=4.5\r", no_end, "4.5\r"},
      {"x\neclipse.buildId=", no_end, ""},
      {"eclipse.buildId=%s%n\n", {}, "%s%n"},
      {"", {no_pattern}, ""},
      {"x=y\n", {no_pattern}, ""},
      {"eclipse.buildid=1\n", {no_pattern}, ""},
      {"eclipse.buildId =1\n", {no_pattern}, ""},
      {"eclipse.buildId", {no_pattern}, ""},
      // The text of the file ends at its first zero byte.
      {std::string("eclipse.buildId=4\0.5\n", 21), no_end, "4"},
      {std::string("x\0eclipse.buildId=4\n", 20), {no_pattern}, ""},
  };
  for (const auto& [configuration, lines, version] : cases) {
    HostWithUserEclipse host(configuration);
    EXPECT_EQ(user_eclipse_version(&host), 0);
    EXPECT_EQ(host.events, in_order(path_is_correct, lines, Texts{"ECLIPSE_VERSION=" + version}))
        << testing::PrintToString(configuration);
  }
}

TEST(UserEclipseVersion, LargeConfigurationIsReadWhole) {
  HostWithUserEclipse host(std::string(3'000'000, 'x') + "eclipse.buildId=4\n" + std::string(1'000'000, 'y'));
  EXPECT_EQ(user_eclipse_version(&host), 0);
  EXPECT_EQ(host.events, in_order(path_is_correct, Texts{"ECLIPSE_VERSION=4"}));
}

TEST(UserEclipseVersion, WithoutAPathNothingIsCheckedOrWritten) {
  FakeHost host;
  host.variables["ECLIPSE_VERSION"] = "earlier";
  EXPECT_EQ(user_eclipse_version(&host), 0);
  EXPECT_EQ(host.events, (Texts{entered, "eclipse_int: user_eclipse_version - user defined eclipse path is not set"}));
}

/// An empty path after a good one: nothing that the version check wrote for the good one is taken back. Only the path check,
/// called by itself, notices that there is no path any more.
TEST(VerifyEclipseVersion, EmptyPathLeavesWhatAnEarlierPathGave) {
  HostWithUserEclipse host("eclipse.buildId=4.5\n");
  host.variables["ECLIPSE_MIN_SUPPORTED_VERSION"] = "4.5";
  EXPECT_EQ(verify_eclipse_version(&host), 0);
  const auto after_the_good_path = host.variables;
  EXPECT_EQ(host.variable("ECLIPSE_VERSION_IS_SUPPORTED"), "yes");

  host.variables["USER_DEFINED_ECLIPSE_PATH"] = "";
  EXPECT_EQ(verify_eclipse_version(&host), 0);
  for (const std::string name : {"USER_DEFINED_ECLIPSE_PATH_EMPTY", "USER_DEFINED_ECLIPSE_PATH_CORRECT", "ECLIPSE_VERSION",
                                 "ECLIPSE_VERSION_IS_SUPPORTED"})
    EXPECT_EQ(host.variable(name), after_the_good_path.at(name)) << name;

  EXPECT_EQ(verify_user_defined_eclipse_path(&host), 0);
  EXPECT_EQ(host.variable("USER_DEFINED_ECLIPSE_PATH_EMPTY"), "yes");
  EXPECT_EQ(host.variable("USER_DEFINED_ECLIPSE_PATH_CORRECT"), "no");
}

TEST(UserEclipseVersion, WithAPathThatIsNotCorrectTheEarlierVersionStays) {
  HostWithUserEclipse host("eclipse.buildId=4.5\n");
  host.variables["ECLIPSE_VERSION"] = "earlier";
  host.variables["USER_DEFINED_ECLIPSE_PATH_CORRECT"] = "yes";
  host.variables["ECLIPSE_BIN"] = "other";
  EXPECT_EQ(user_eclipse_version(&host), 0);
  EXPECT_EQ(host.events, (Texts{entered, "USER_DEFINED_ECLIPSE_PATH_EMPTY=no", "USER_DEFINED_ECLIPSE_PATH_CORRECT=no",
                                "eclipse_int: user_eclipse_version - user defined eclipse path is not correct"}));
  EXPECT_EQ(host.variable("ECLIPSE_VERSION"), "earlier");
}

TEST(UserEclipseVersion, MissingConfigurationGivesAnEmptyVersion) {
  for (const bool directory_in_its_place : {false, true}) {
    HostWithUserEclipse host("eclipse.buildId=4.5\n");
    std::filesystem::remove("own/configuration/config.ini");
    if (directory_in_its_place) std::filesystem::create_directory("own/configuration/config.ini");
    EXPECT_EQ(user_eclipse_version(&host), 0);
    EXPECT_EQ(host.events,
              in_order(path_is_correct, Texts{"eclipse_int: eclipse_version - config file not found", "ECLIPSE_VERSION="}));
  }
}

TEST(UserEclipseVersion, ConfigurationThatCannotBeReadGivesAnEmptyVersion) {
  HostWithUserEclipse host("eclipse.buildId=4.5\n");
  host.before_call = [](const eclipse_host::HostCall& call) {
    if (call.operation == "get_file") std::filesystem::remove("own/configuration/config.ini");
  };
  EXPECT_EQ(user_eclipse_version(&host), 0);
  EXPECT_EQ(host.events,
            in_order(path_is_correct, Texts{"eclipse_int: eclipse_version - cannot open config file", "ECLIPSE_VERSION="}));
}

TEST(UserEclipseVersion, ConfigurationIsLookedForBesideTheRawPath) {
  HostWithUserEclipse host("eclipse.buildId=4.5\n");
  host.variables["USER_DEFINED_ECLIPSE_PATH"] = "own\\eclipse\n";
  EXPECT_EQ(user_eclipse_version(&host), 0);
  // The check turns the backslash, the configuration's name does not: there is no directory in the raw path.
  EXPECT_EQ(host.calls_of({"is_file", "get_dirname", "path("}),
            (Texts{"is_file(own/eclipse)", "get_dirname(own\\eclipse\n)", "path(/configuration/config.ini)",
                   "is_file(/configuration/config.ini)"}));
  EXPECT_EQ(host.events,
            in_order(path_is_correct, Texts{"eclipse_int: eclipse_version - config file not found", "ECLIPSE_VERSION="}));
}

TEST(UserEclipseVersion, TrailingLineEndsDoNotHideTheConfiguration) {
  HostWithUserEclipse host("eclipse.buildId=4.5\n");
  host.variables["USER_DEFINED_ECLIPSE_PATH"] = "own/eclipse\r\n";
  EXPECT_EQ(user_eclipse_version(&host), 0);
  EXPECT_EQ(host.events, in_order(path_is_correct, Texts{"ECLIPSE_VERSION=4.5"}));
}

// ---- The verdict ----

std::string comparison(const std::string& version, const std::string& minimum) {
  return "verify_eclipse_version: compare " + version + " and " + minimum;
}

const std::string verdict_entered = "verify_eclipse_version: user_eclipse_version";

TEST(VerifyEclipseVersion, VersionsAreComparedAsTexts) {
  struct Case {
    std::string version;
    std::string minimum;
    std::string supported;
  };
  const std::vector<Case> cases = {
      {"4.5", "4.5", "yes"},    {"4.5", "4.5.0", "no"},  {"4.5.2.v20160212-1500", "4.5", "yes"},
      {"4.10.0", "4.7", "no"},  {"10.0", "9.0", "no"},   {"4.7", "4.10.0", "yes"},
      {"\xC3\xA4", "z", "yes"}, {"z", "\xC3\xA4", "no"}, {"4.5\r", "4.5", "yes"},
      {"4.5\r", "4.5.0", "no"}, {" 5", "4", "no"},       {"%s", "%d", "yes"},
      {"a", "A", "yes"},
  };
  for (const auto& [version, minimum, supported] : cases) {
    HostWithUserEclipse host("eclipse.buildId=" + version + "\n");
    host.variables["ECLIPSE_MIN_SUPPORTED_VERSION"] = minimum;
    EXPECT_EQ(verify_eclipse_version(&host), 0);
    EXPECT_EQ(host.events, in_order(Texts{verdict_entered}, path_is_correct,
                                    Texts{"ECLIPSE_VERSION=" + version, comparison(version, minimum),
                                          "ECLIPSE_VERSION_IS_SUPPORTED=" + supported}));
  }
}

TEST(VerifyEclipseVersion, MinimumComesFromTheHostsExpansion) {
  HostWithUserEclipse host("eclipse.buildId=4.5\n");
  host.variables["ECLIPSE_MIN_SUPPORTED_VERSION"] = "4";
  EXPECT_EQ(verify_eclipse_version(&host), 0);
  EXPECT_EQ(host.calls_of({"expand_operand", "env_get_string(ECLIPSE_MIN"}),
            Texts{"expand_operand(${ECLIPSE_MIN_SUPPORTED_VERSION})"});
}

TEST(VerifyEclipseVersion, WithoutAVersionThereIsNoVerdict) {
  HostWithUserEclipse host("nothing of use\n");
  host.variables["ECLIPSE_MIN_SUPPORTED_VERSION"] = "4";
  host.variables["ECLIPSE_VERSION_IS_SUPPORTED"] = "earlier";
  EXPECT_EQ(verify_eclipse_version(&host), 0);
  EXPECT_EQ(host.events, in_order(Texts{verdict_entered}, path_is_correct,
                                  Texts{no_pattern, "ECLIPSE_VERSION=", "verify_eclipse_version: eclipse_version is empty"}));
  EXPECT_EQ(host.variable("ECLIPSE_VERSION_IS_SUPPORTED"), "earlier");
}

TEST(VerifyEclipseVersion, WithoutAMinimumThereIsNoVerdict) {
  HostWithUserEclipse host("eclipse.buildId=4.5\n");
  host.variables["ECLIPSE_VERSION_IS_SUPPORTED"] = "earlier";
  EXPECT_EQ(verify_eclipse_version(&host), 0);
  EXPECT_EQ(host.events,
            in_order(Texts{verdict_entered}, path_is_correct,
                     Texts{"ECLIPSE_VERSION=4.5", "verify_eclipse_version: eclipse_min_supported_version is not set. Exit"}));
  EXPECT_EQ(host.variable("ECLIPSE_VERSION_IS_SUPPORTED"), "earlier");
}

TEST(VerifyEclipseVersion, VersionOfAnEarlierPathIsComparedWhenThePathIsNotCorrect) {
  FakeHost host;
  host.variables = {
      {"ECLIPSE_VERSION", "4.5"}, {"ECLIPSE_MIN_SUPPORTED_VERSION", "4.4"}, {"USER_DEFINED_ECLIPSE_PATH", "missing"}};
  EXPECT_EQ(verify_eclipse_version(&host), 0);
  EXPECT_EQ(host.events,
            (Texts{verdict_entered, entered, "USER_DEFINED_ECLIPSE_PATH_EMPTY=no", "USER_DEFINED_ECLIPSE_PATH_CORRECT=no",
                   "eclipse_int: user_eclipse_version - user defined eclipse path is not correct",
                   "verify_eclipse_version: compare 4.5 and 4.4", "ECLIPSE_VERSION_IS_SUPPORTED=yes"}));
}

TEST(VerifyEclipseVersion, WithoutAnythingItSaysThatTheVersionIsEmpty) {
  FakeHost host;
  EXPECT_EQ(verify_eclipse_version(&host), 0);
  EXPECT_EQ(host.events,
            (Texts{verdict_entered, entered, "eclipse_int: user_eclipse_version - user defined eclipse path is not set",
                   "verify_eclipse_version: eclipse_version is empty"}));
}

TEST(VerifyEclipseVersion, ConfigurationIsReadAfreshByEachCall) {
  HostWithUserEclipse host("eclipse.buildId=4.5\n");
  host.variables["ECLIPSE_MIN_SUPPORTED_VERSION"] = "4.5";
  verify_eclipse_version(&host);
  EXPECT_EQ(host.variable("ECLIPSE_VERSION_IS_SUPPORTED"), "yes");
  fake::write_file("own/configuration/config.ini", "eclipse.buildId=4.4\n");
  verify_eclipse_version(&host);
  EXPECT_EQ(host.variable("ECLIPSE_VERSION_IS_SUPPORTED"), "no");
}

}  // namespace
