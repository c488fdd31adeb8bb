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

const std::string perform = "eclipse_int: perform_unintegration entered";
const std::string unintegrate = "eclipse_int: unintegrate_from_instance entered";

/// A component with a descriptor file of this content on disk, below the directory of its code.
void add_plugin(FakeHost& host, const std::string& code, bool remove, const std::string& descriptor) {
  host.add({.code = code,
            .installBase = code,
            .install = !remove,
            .remove = remove,
            .installed = true,
            .package = {{.files = {"etc/eclipse/p"}}}});
  fake::write_file(code + "/etc/eclipse/p", descriptor);
}

/// The user's own Eclipse; one component, that is being removed, has the features F1 and F2, another one that stays has F3.
struct HostWithFeatures : FakeHost {
  HostWithFeatures() {
    fake::write_file("own/eclipse", "");
    variables = {{"ECLIPSE_INTEGRATION_CHOICE", "user"},
                 {"USER_DEFINED_ECLIPSE_PATH", "own/eclipse"},
                 {"CASHED_ECLIPSE_PATH", "another"},
                 {"KORU_MODE", "uninstall"},
                 {"QN_SCRIPTS_COMPLETE_DESC", "Old."}};
    add_plugin(*this, "c", true, "site\tF2\t\t2\nsite.zip\tF1\t\t1\n");
    add_plugin(*this, "stays", false, "site\tF3\n");
  }

  const std::string remove_all = "own/eclipse -nosplash -application org.eclipse.equinox.p2.director -u F1,F2 2>&1";
  const Texts preparation = {unintegrate,
                             "ECLIPSE_PATH=own",
                             "eclipse_int: eclipse install subdir: own",
                             "eclipse_int: found eclipse configuration: etc/eclipse/p",
                             "eclipse_int: Repository: file://c/site Feature: F2",
                             "eclipse_int: Repository: \"jar:file://c/site.zip!/\" Feature: F1",
                             "eclipse_int: order: 1 feature: F1",
                             "eclipse_int: order: 2 feature: F2"};
};

TEST(PerformUnintegration, UserChoiceRemovesFromTheNamedExecutable) {
  for (const std::string mode : {"uninstall", "install", "modify", ""}) {
    HostWithFeatures host;
    host.variables["KORU_MODE"] = mode;
    host.results = {succeeds("done\n")};
    EXPECT_EQ(perform_unintegration(&host), 0);
    EXPECT_EQ(host.events, in_order(Texts{perform}, host.preparation, command_events(host.remove_all, "done\n", 0))) << mode;
  }
}

TEST(PerformUnintegration, UserChoiceWithoutAPathDoesNothing) {
  FakeHost host;
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "user";
  EXPECT_EQ(perform_unintegration(&host), 0);
  EXPECT_EQ(host.events, Texts{perform});
}

TEST(PerformUnintegration, OtherChoicesRemoveNothing) {
  for (const std::string choice : {"none", "", "User", "Internal"}) {
    HostWithFeatures host;
    host.variables["ECLIPSE_INTEGRATION_CHOICE"] = choice;
    EXPECT_EQ(perform_unintegration(&host), 0);
    EXPECT_EQ(host.events, (Texts{perform, "eclipse_int: nothing to unintegrate"})) << choice;
  }
}

TEST(PerformUnintegration, InternalChoiceWithoutAnIdeSaysSoOnce) {
  HostWithFeatures host;
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  host.variables["ECLIPSE_BIN"] = "eclipse";
  EXPECT_EQ(perform_unintegration(&host), 0);
  EXPECT_EQ(host.events, (Texts{perform, "eclipse_int: eclipse not found"}));
}

TEST(PerformUnintegration, InternalChoiceRemovesFromTheIde) {
  HostWithFeatures host;
  fake::write_file("ide/eclipse", "");
  const std::string ide = host.directory.path() + "/ide";
  host.add(
      {.code = "ide", .install = true, .package = {{.prefix = ide, .files = {"eclipse"}}}, .capabilities = {"ECLIPSE_IDE"}});
  host.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  host.variables["ECLIPSE_BIN"] = "eclipse";
  host.results = {succeeds()};
  EXPECT_EQ(perform_unintegration(&host), 0);
  EXPECT_EQ(fake::first(host.events, 5),
            (Texts{perform, "eclipse_int: found eclipse executable: " + ide + "/eclipse", unintegrate, "ECLIPSE_PATH=" + ide,
                   "eclipse_int: eclipse install subdir: " + ide}));
  EXPECT_EQ(host.commands, Texts{ide + "/eclipse -nosplash -application org.eclipse.equinox.p2.director -u F1,F2 2>&1"});
}

TEST(UnintegrateFromInstance, MissingExecutableIsNoError) {
  for (const std::string executable : {"missing", ""}) {
    HostWithFeatures host;
    EXPECT_EQ(unintegrate_from_instance(&host, executable), 0);
    EXPECT_EQ(
        host.events,
        (Texts{unintegrate, "eclipse_int: eclipse is not installed and there is not need to perform any integration action"}));
  }
}

TEST(UnintegrateFromInstance, WithoutFeaturesNothingIsRun) {
  FakeHost host;
  fake::write_file("eclipse", "");
  host.variables["ECLIPSE_PATH"] = "earlier";
  add_plugin(host, "stays", false, "site\tF3\n");
  EXPECT_EQ(unintegrate_from_instance(&host, "eclipse"), 0);
  // The directory is written even when it is empty.
  EXPECT_EQ(
      host.events,
      (Texts{unintegrate, "ECLIPSE_PATH=", "eclipse_int: eclipse install subdir: ", "eclipse_int: feature list is empty"}));
}

TEST(UnintegrateFromInstance, RecordsWithoutARepositoryHaveNoFeatureToRemove) {
  HostWithFeatures host;
  fake::write_file("c/etc/eclipse/p", "\tF1\nsite\t\n");
  EXPECT_EQ(unintegrate_from_instance(&host, "own/eclipse"), 0);
  EXPECT_EQ(host.events,
            (Texts{unintegrate, "ECLIPSE_PATH=own", "eclipse_int: eclipse install subdir: own",
                   "eclipse_int: found eclipse configuration: etc/eclipse/p", "eclipse_int: feature list is empty"}));
}

TEST(UnintegrateFromInstance, ExecutablePathIsNormalisedAndPassedUnquoted) {
  HostWithFeatures host;
  fake::write_file("my own/ecl%dipse", "");
  host.results = {succeeds("%s%n")};
  EXPECT_EQ(unintegrate_from_instance(&host, "my own//./ecl%dipse"), 0);
  const std::string command = "my own/ecl%dipse -nosplash -application org.eclipse.equinox.p2.director -u F1,F2 2>&1";
  EXPECT_EQ(fake::last(host.events, 4), command_events(command, "%s%n", 0));
}

TEST(UnintegrateFromInstance, HostIsAskedInAFixedOrderAndOnlyForRemoval) {
  HostWithFeatures host;
  host.results = {succeeds()};
  unintegrate_from_instance(&host, "own/eclipse");
  EXPECT_EQ(fake::first(host.calls, 9),
            (Texts{"print_log(" + unintegrate + ")", "file_exists(own/eclipse)", "get_dirname(own/eclipse)",
                   "env_set_string(ECLIPSE_PATH, own)", "print_log(eclipse_int: eclipse install subdir: own)",
                   "path(own/eclipse)", "TSD::components()", "Component::uninstallCondition(c)", "Component::provider(c)"}));
  EXPECT_EQ(host.calls_of({"Component::installCondition", "Component::getInstalled", "env_get_string", "is_gui_mode",
                           "session_get_cdata"}),
            Texts{});
  EXPECT_EQ(host.calls_of({"join"}), Texts{"join(F1,F2, ,)"});
}

TEST(PerformUnintegration, RetriesRunTheWholeFailedCommandWithTheFeatureBehindIt) {
  HostWithFeatures host;
  host.results = {fails(13, "all failed\n"), fails(4, "a\n"), fails(5, "b")};
  EXPECT_EQ(perform_unintegration(&host), 5);
  EXPECT_EQ(host.events, in_order(Texts{perform}, host.preparation, command_events(host.remove_all, "all failed\n", 13),
                                  Texts{"eclipse_int: failed to unintegrate all plug-ins at once, unintegrating individually"},
                                  command_events(host.remove_all + "F1 2>&1", "a\n", 4),
                                  command_events(host.remove_all + "F2 2>&1", "b", 5)));
  EXPECT_EQ(host.commands.at(2), "own/eclipse -nosplash -application org.eclipse.equinox.p2.director -u F1,F2 2>&1F2 2>&1");
}

TEST(PerformUnintegration, ResultIsTheExitCodeOfTheLastRetry) {
  HostWithFeatures host;
  host.results = {fails(13, ""), fails(4, ""), succeeds()};
  EXPECT_EQ(perform_unintegration(&host), 0);
  EXPECT_EQ(host.writes, Texts{"ECLIPSE_PATH=own"});
}

TEST(PerformUnintegration, NewnessOfTheInstanceNeverWidensTheList) {
  HostWithFeatures host;
  host.variables["KORU_MODE"] = "install";
  host.variables.erase("CASHED_ECLIPSE_PATH");
  host.results = {succeeds()};
  EXPECT_EQ(perform_unintegration(&host), 0);
  EXPECT_EQ(host.commands, Texts{host.remove_all});
}

}  // namespace
