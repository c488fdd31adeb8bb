#include <gtest/gtest.h>

#include "director_events.h"
#include "eclipse_int/eclipse_int.h"
#include "fake_host/fake_host.h"

using fake::fails;
using fake::FakeHost;
using fake::in_order;
using fake::succeeds;
using fake::Texts;

namespace {

const std::string perform = "eclipse_int: perform_integration entered";
const std::string integrate = "eclipse_int: integrate_into_instance entered";
const std::string not_installed =
    "eclipse_int: eclipse is not installed and there is not need to perform any integration action";
const std::string nothing_listed = "eclipse_int: feature or repo list is empty, skip integration";
const std::string individually = "eclipse_int: failed to integrate all plug-ins at once, integrating individually";

/// A component with a descriptor file of this content on disk, below the directory of its code.
void add_plugin(FakeHost& host, const std::string& code, bool install, const std::string& descriptor) {
  host.add({.code = code, .installBase = code, .install = install, .package = {{.files = {"etc/eclipse/p"}}}});
  fake::write_file(code + "/etc/eclipse/p", descriptor);
}

/// The choice is "user" and the named executable is the recorded one, so that the instance is a known one. One component, that
/// is being installed, has the features F1 and F2.
struct HostWithFeatures : FakeHost {
  HostWithFeatures() {
    fake::write_file("own/eclipse", "");
    variables = {{"ECLIPSE_INTEGRATION_CHOICE", "user"}, {"USER_DEFINED_ECLIPSE_PATH", "own/eclipse"},
                 {"CASHED_ECLIPSE_PATH", "own/eclipse"}, {"KORU_MODE", "install"},
                 {"QN_SCRIPTS_COMPLETE_DESC", "Old."},   {"eclipse_integration_failed_title", "Failed:"}};
    add_plugin(*this, "c", true, "site\tF2\t\t2\nsite.zip\tF1\t\t1\n");
  }

  const std::string install =
      "own/eclipse -nosplash -application org.eclipse.equinox.p2.director -repository \"jar:file://c/site.zip!/\","
      "file://c/site -i ";
  /// What comes before the first command.
  const Texts preparation = {integrate,
                             "ECLIPSE_PATH=own",
                             "eclipse_int: eclipse install subdir: own",
                             "eclipse_int: found eclipse configuration: etc/eclipse/p",
                             "eclipse_int: Repository: file://c/site Feature: F2",
                             "eclipse_int: Repository: \"jar:file://c/site.zip!/\" Feature: F1",
                             "eclipse_int: order: 1 feature: F1",
                             "eclipse_int: order: 2 feature: F2"};

  Texts all_at_once(const std::string& output, int exit_code) const {
    return in_order(preparation, command_events(install + "F1,F2 2>&1", output, exit_code));
  }
};

// ---- The choice of the executable ----

TEST(PerformIntegration, UserChoiceIntegratesIntoTheNamedExecutable) {
  HostWithFeatures host;
  host.results = {succeeds("done\n")};
  EXPECT_EQ(perform_integration(&host), 0);
  EXPECT_EQ(host.events, in_order(Texts{perform}, host.all_at_once("done\n", 0)));
}

TEST(PerformIntegration, UserChoiceWithoutAPathDoesNothing) {
  FakeHost host;
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  EXPECT_EQ(perform_integration(&host), 0);
  EXPECT_EQ(host.events, Texts{perform});
}

TEST(PerformIntegration, OtherChoicesIntegrateNothing) {
  for (const std::string choice : {"none", "", "User", "INTERNAL", "internal "}) {
    HostWithFeatures host;
    host.variables["ECLIPSE_INTEGRATION_CHOICE"] = choice;
    EXPECT_EQ(perform_integration(&host), 0);
    EXPECT_EQ(host.events, (Texts{perform, "eclipse_int: nothing to integrate"})) << choice;
  }
}

TEST(PerformIntegration, InternalChoiceWithoutAnIdeSaysSoOnce) {
  HostWithFeatures host;
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  host.variables["ECLIPSE_BIN"] = "eclipse";
  EXPECT_EQ(perform_integration(&host), 0);
  EXPECT_EQ(host.events, (Texts{perform, "eclipse_int: eclipse not found"}));
}

TEST(PerformIntegration, InternalChoiceIntegratesIntoTheLastExecutableFound) {
  HostWithFeatures host;
  fake::write_file("ide/1/eclipse", "");
  fake::write_file("ide/2/eclipse", "");
  const std::string ide = host.directory.path() + "/ide";
  host.add(
      {.code = "ide", .package = {{.prefix = ide, .files = {"1\\eclipse\r\n", "2/eclipse"}}}, .capabilities = {"ECLIPSE_IDE"}});
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  host.variables["ECLIPSE_BIN"] = "eclipse";
  host.results = {fails(7, ""), fails(8, ""), fails(9, "")};
  EXPECT_EQ(perform_integration(&host), 9);
  EXPECT_EQ(fake::first(host.events, 6),
            (Texts{perform, "eclipse_int: found eclipse executable: " + ide + "/1/eclipse",
                   "eclipse_int: found eclipse executable: " + ide + "/2/eclipse", integrate, "ECLIPSE_PATH=" + ide + "/2",
                   "eclipse_int: eclipse install subdir: " + ide + "/2"}));
  EXPECT_TRUE(host.commands.at(0).starts_with(ide + "/2/eclipse -nosplash ")) << host.commands[0];
}

// ---- Before the commands ----

TEST(IntegrateIntoInstance, MissingExecutableIsNoError) {
  for (const std::string executable : {"missing", "", "own/eclipse\n"}) {
    HostWithFeatures host;
    EXPECT_EQ(integrate_into_instance(&host, executable), 0);
    EXPECT_EQ(host.events, (Texts{integrate, not_installed})) << executable;
  }
}

TEST(IntegrateIntoInstance, EclipsePathIsWrittenEvenWhenItIsEmpty) {
  HostWithFeatures host;
  fake::write_file("eclipse", "");
  host.variables["ECLIPSE_PATH"] = "earlier";
  host.components.clear();
  EXPECT_EQ(integrate_into_instance(&host, "eclipse"), 0);
  EXPECT_EQ(host.events, (Texts{integrate, "ECLIPSE_PATH=", "eclipse_int: eclipse install subdir: ", nothing_listed}));
}

TEST(IntegrateIntoInstance, WithoutFeaturesOrRepositoriesNothingIsRun) {
  const Texts before = {integrate, "ECLIPSE_PATH=own", "eclipse_int: eclipse install subdir: own",
                        "eclipse_int: found eclipse configuration: etc/eclipse/p"};
  const std::vector<std::pair<std::string, Texts>> cases = {
      {"", {}},
      {"\tF1\n\tF2\n", {}},
      {"site\t\tx\n", {"eclipse_int: Repository: file://c/site Feature: ", "eclipse_int: order: 0 feature: "}},
  };
  for (const auto& [descriptor, events] : cases) {
    HostWithFeatures host;
    fake::write_file("c/etc/eclipse/p", descriptor);
    EXPECT_EQ(integrate_into_instance(&host, "own/eclipse"), 0);
    EXPECT_EQ(host.events, in_order(before, events, Texts{nothing_listed}));
  }
}

TEST(IntegrateIntoInstance, ExecutablePathIsNormalisedAndPassedUnquoted) {
  HostWithFeatures host;
  fake::write_file("my own/ecl%dipse", "");
  host.variables["CASHED_ECLIPSE_PATH"] = host.variables["USER_DEFINED_ECLIPSE_PATH"] = "my own//./ecl%dipse";
  host.results = {succeeds("%s%n")};
  EXPECT_EQ(perform_integration(&host), 0);
  const std::string command = "my own/ecl%dipse" + host.install.substr(std::string("own/eclipse").size()) + "F1,F2 2>&1";
  EXPECT_EQ(host.commands, Texts{command});
  EXPECT_EQ(fake::first(host.log, 3).back(), "eclipse_int: eclipse install subdir: my own//.");
  EXPECT_EQ(fake::last(host.events, 4), command_events(command, "%s%n", 0));
}

TEST(IntegrateIntoInstance, FeatureWithoutItsOwnRepositoryAndRepeatedFeatureAreListedOnce) {
  HostWithFeatures host;
  fake::write_file("c/etc/eclipse/p", "b\tF1\t\t5\na\tF1\t\t1\nb\t\t\t2\n\tF9\n");
  host.results = {succeeds()};
  EXPECT_EQ(integrate_into_instance(&host, "own/eclipse"), 0);
  EXPECT_EQ(
      host.commands,
      Texts{"own/eclipse -nosplash -application org.eclipse.equinox.p2.director -repository file://c/a,file://c/b -i F1 2>&1"});
}

// ---- Whether the instance is new ----

struct NewnessCase {
  std::string what;
  std::map<std::string, std::string> variables;
  bool ide_selected;
  bool is_new;
};

TEST(IntegrateIntoInstance, NewInstanceGetsTheFeaturesOfEveryComponent) {
  const std::string choice = "ECLIPSE_INTEGRATION_CHOICE";
  const std::string mode = "KORU_MODE";
  const std::string cashed = "CASHED_ECLIPSE_PATH";
  const std::string user = "USER_DEFINED_ECLIPSE_PATH";
  const std::vector<NewnessCase> cases = {
      {"internal, selected", {{choice, "internal"}, {mode, "install"}}, true, true},
      {"internal, selected, modify", {{choice, "internal"}, {mode, "modify"}}, true, true},
      {"internal, selected, no mode", {{choice, "internal"}}, true, true},
      {"internal, not selected", {{choice, "internal"}, {mode, "install"}}, false, false},
      {"internal, selected, uninstall", {{choice, "internal"}, {mode, "uninstall"}}, true, false},
      {"user, same", {{choice, "user"}, {user, "/e"}, {cashed, "/e"}}, true, false},
      {"user, other", {{choice, "user"}, {user, "/e"}, {cashed, "/f"}}, false, true},
      {"user, same file otherwise written", {{choice, "user"}, {user, "/e"}, {cashed, "//e"}}, false, true},
      {"user, none recorded", {{choice, "user"}, {user, "/e"}}, false, true},
      {"user, none named", {{choice, "user"}, {cashed, "/e"}}, true, false},
      {"user, other, uninstall", {{choice, "user"}, {user, "/e"}, {cashed, "/f"}, {mode, "uninstall"}}, true, false},
      {"none", {{choice, "none"}, {user, "/e"}, {mode, "install"}}, true, false},
      {"unset", {{user, "/e"}, {mode, "install"}}, true, false},
  };
  for (const auto& [what, variables, ide_selected, is_new] : cases) {
    FakeHost host;
    host.variables = variables;
    fake::write_file("eclipse", "");
    host.add({.code = "deselected ide", .capabilities = {"A_ECLIPSE_IDE"}});
    host.add({.code = "ide", .install = ide_selected, .capabilities = {"B_ECLIPSE_IDE"}});
    add_plugin(host, "selected", true, "site\tF1\n");
    add_plugin(host, "old", false, "site\tF2\n");
    host.results = {succeeds()};
    EXPECT_EQ(integrate_into_instance(&host, "eclipse"), 0);
    const std::string director = "eclipse -nosplash -application org.eclipse.equinox.p2.director -repository ";
    const std::string expected =
        is_new ? "file://old/site,file://selected/site -i F1,F2 2>&1" : "file://selected/site -i F1 2>&1";
    EXPECT_EQ(host.commands, Texts{director + expected}) << what;
  }
}

TEST(IntegrateIntoInstance, SearchForASelectedIdeStopsAtTheFirst) {
  FakeHost host;
  fake::write_file("eclipse", "");
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  host.add({.code = "1", .capabilities = {"1_ECLIPSE_IDE"}});
  host.add({.code = "2", .install = true, .capabilities = {"2_ECLIPSE_IDE"}});
  host.add({.code = "3", .install = true, .capabilities = {"3_ECLIPSE_IDE"}});
  EXPECT_EQ(integrate_into_instance(&host, "eclipse"), 0);
  // Every component is searched, and none is asked again whether it is selected.
  EXPECT_EQ(host.calls_of({"Component::"}),
            (Texts{"Component::installCondition(1)", "Component::installCondition(2)", "Component::provider(1)",
                   "Component::provider(2)", "Component::provider(3)"}));
}

TEST(IntegrateIntoInstance, HostIsAskedInAFixedOrder) {
  HostWithFeatures host;
  host.results = {succeeds()};
  integrate_into_instance(&host, "own//eclipse");
  EXPECT_EQ(fake::first(host.calls, 13),
            (Texts{"is_gui_mode()", "print_log(" + integrate + ")", "file_exists(own//eclipse)", "get_dirname(own//eclipse)",
                   "env_set_string(ECLIPSE_PATH, own)", "print_log(eclipse_int: eclipse install subdir: own)",
                   "path(own//eclipse)", "TSD::components()", "env_get_string(KORU_MODE)",
                   "env_get_string(ECLIPSE_INTEGRATION_CHOICE)", "env_get_string(CASHED_ECLIPSE_PATH)",
                   "env_get_string(USER_DEFINED_ECLIPSE_PATH)", "Component::installCondition(c)"}));
}

// ---- When not all goes in at once ----

TEST(PerformIntegration, SuccessAtOnceLeavesTheSummary) {
  HostWithFeatures host;
  host.results = {succeeds("error: failed, says the text\n")};
  EXPECT_EQ(perform_integration(&host), 0);
  EXPECT_EQ(host.writes, Texts{"ECLIPSE_PATH=own"});
}

TEST(PerformIntegration, FailedRetryOutputIsInTheSummary) {
  HostWithFeatures host;
  host.results = {fails(13, "all failed\n"), fails(4, "F1: a\nb\n"), fails(5, "F2")};
  EXPECT_EQ(perform_integration(&host), 5);
  EXPECT_EQ(host.events, in_order(Texts{perform}, host.all_at_once("all failed\n", 13), Texts{individually},
                                  command_events(host.install + "F1 2>&1", "F1: a\nb\n", 4),
                                  command_events(host.install + "F2 2>&1", "F2", 5),
                                  Texts{"QN_SCRIPTS_COMPLETE_DESC=Old.\nFailed:\n\nF1: a\nb\n\nF2", "QN_SCRIPTS_FAILED=yes"}));
}

TEST(PerformIntegration, RetriesThatAllSucceedStillLeaveTheHeading) {
  HostWithFeatures host;
  host.results = {fails(13, "all failed\n"), succeeds("1"), succeeds("2")};
  EXPECT_EQ(perform_integration(&host), 0);
  EXPECT_EQ(host.events,
            in_order(Texts{perform}, host.all_at_once("all failed\n", 13), Texts{individually},
                     command_events(host.install + "F1 2>&1", "1", 0), command_events(host.install + "F2 2>&1", "2", 0),
                     Texts{"QN_SCRIPTS_COMPLETE_DESC=Old.\nFailed:\n", "QN_SCRIPTS_FAILED=yes"}));
}

TEST(PerformIntegration, ResultIsTheExitCodeOfTheLastRetry) {
  HostWithFeatures host;
  host.results = {fails(13, ""), fails(4, "F1 failed"), succeeds("fine")};
  EXPECT_EQ(perform_integration(&host), 0);
  EXPECT_EQ(host.variable("QN_SCRIPTS_COMPLETE_DESC"), "Old.\nFailed:\n\nF1 failed");
}

TEST(PerformIntegration, NegativeExitCodeIsAFailure) {
  HostWithFeatures host;
  host.results = {fails(-1, ""), fails(-2147483647 - 1, "x"), fails(-1, "y")};
  EXPECT_EQ(perform_integration(&host), -1);
  EXPECT_EQ(host.variable("QN_SCRIPTS_COMPLETE_DESC"), "Old.\nFailed:\n\nx\ny");
  EXPECT_EQ(fake::last(host.log, 4).front(), "eclipse_int: exit code: -2147483648");
}

TEST(PerformIntegration, GraphicalSummaryIsMadeOfParagraphs) {
  HostWithFeatures host;
  host.graphical = true;
  host.results = {fails(13, "x\ny"), fails(4, "\na\n\nb\r\n"), fails(5, "<c>")};
  EXPECT_EQ(perform_integration(&host), 5);
  EXPECT_EQ(host.variable("QN_SCRIPTS_COMPLETE_DESC"), "Old.<p>Failed:<p><p><p>a<p><p>b\r<p><p><c>");
}

TEST(PerformIntegration, SummaryBeginsWithTheSeparatorWhenNothingWasThere) {
  HostWithFeatures host;
  host.variables.erase("QN_SCRIPTS_COMPLETE_DESC");
  host.variables.erase("eclipse_integration_failed_title");
  host.results = {fails(1, ""), fails(1, ""), succeeds()};
  EXPECT_EQ(perform_integration(&host), 0);
  EXPECT_EQ(host.variable("QN_SCRIPTS_COMPLETE_DESC"), "\n\n\n");
}

TEST(PerformIntegration, SummaryIsReadBeforeTheRetriesAndWrittenAfterThem) {
  HostWithFeatures host;
  host.results = {fails(1, "all"), fails(2, "one"), fails(3, "two")};
  int commands = 0;
  host.before_call = [&](const eclipse_host::HostCall& call) {
    if (call.operation == "get_command_output" && ++commands == 2) {
      EXPECT_EQ(host.writes, Texts{"ECLIPSE_PATH=own"});
      host.variables["QN_SCRIPTS_COMPLETE_DESC"] = host.variables["eclipse_integration_failed_title"] = "changed by a command";
    }
  };
  EXPECT_EQ(perform_integration(&host), 3);
  EXPECT_EQ(host.variable("QN_SCRIPTS_COMPLETE_DESC"), "Old.\nFailed:\n\none\ntwo");
  EXPECT_EQ(host.calls_of({"env_get_string(QN", "env_get_string(eclipse", "get_command_output", "replaceAllSubstrings",
                           "env_set_string(QN"}),
            (Texts{"get_command_output(" + host.install + "F1,F2 2>&1)", "env_get_string(QN_SCRIPTS_COMPLETE_DESC)",
                   "env_get_string(eclipse_integration_failed_title)", "get_command_output(" + host.install + "F1 2>&1)",
                   "replaceAllSubstrings(one, \n, \n)", "get_command_output(" + host.install + "F2 2>&1)",
                   "replaceAllSubstrings(two, \n, \n)", "env_set_string(QN_SCRIPTS_COMPLETE_DESC, Old.\nFailed:\n\none\ntwo)",
                   "env_set_string(QN_SCRIPTS_FAILED, yes)"}));
}

TEST(PerformIntegration, DirectorOutputIsNoFormatAndNotCut) {
  HostWithFeatures host;
  const std::string output = std::string(1'000'000, 'x') + "%s%n%5000d";
  host.results = {fails(1, output), fails(2, output), succeeds(output)};
  EXPECT_EQ(perform_integration(&host), 0);
  EXPECT_TRUE(host.variable("QN_SCRIPTS_COMPLETE_DESC") == "Old.\nFailed:\n\n" + output);
  EXPECT_TRUE(fake::last(host.log, 2) == (Texts{"eclipse_int: out: " + output, "eclipse_int: exit code: 0"}));
}

TEST(PerformIntegration, NothingIsKeptBetweenCalls) {
  HostWithFeatures host;
  host.results = {fails(1, "a"), fails(2, "b"), fails(3, "c"), succeeds("d")};
  EXPECT_EQ(perform_integration(&host), 3);
  host.events.clear();
  EXPECT_EQ(perform_integration(&host), 0);
  EXPECT_EQ(host.events, in_order(Texts{perform}, host.all_at_once("d", 0)));
}

}  // namespace
