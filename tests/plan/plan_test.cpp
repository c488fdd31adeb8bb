#include "plan/make_plan.h"

#include <gtest/gtest.h>

#include "dry_run/chosen_executable.h"
#include "fake_host/temporary_directory.h"

using namespace eclipse_dry_run;
using namespace eclipse_shell;

namespace eclipse_plan {

namespace {

using namespace eclipse_host;

/// An Eclipse of the user's own, and components that a test adds.
class Planning : public testing::Test {
 protected:
  Planning() {
    fake::write_file("own/eclipse", "");
    std::filesystem::permissions("own/eclipse", std::filesystem::perms(0755));
    fake::write_file("own/configuration/config.ini", "eclipse.buildId=4.10\n");
    session.variables = {{"KORU_MODE", "install"},
                         {"ECLIPSE_INTEGRATION_CHOICE", "user"},
                         {"ECLIPSE_BIN", "eclipse"},
                         {"USER_DEFINED_ECLIPSE_PATH", directory.path() + "/own/eclipse"}};
  }

  CatalogueComponent& add(const std::string& code, const std::string& descriptor) {
    auto component = std::make_unique<CatalogueComponent>();
    component->code = code;
    component->installBase = directory.path();
    component->installDir = code;
    component->selected_for_install = true;
    component->selected_for_removal = true;
    component->package.emplace().files = {"readme", "etc/eclipse/p"};
    fake::write_file(directory.path() + "/" + (code.empty() ? "." : code) + "/etc/eclipse/p", descriptor);
    session.components.push_back(std::move(component));
    return *session.components.back();
  }

  Plan plan(Retries retries = Retries::all) { return make_plan(plugin, session, retries); }

  std::vector<ComponentStatus> fates() {
    std::vector<ComponentStatus> fates;
    for (const PlannedComponent& component : plan().components) fates.push_back(component.status);
    return fates;
  }

  void know_the_instance() { session.variables["CASHED_ECLIPSE_PATH"] = session.variables["USER_DEFINED_ECLIPSE_PATH"]; }

  fake::TemporaryDirectory directory;
  Plugin plugin{PLUGIN};
  Session session;
};

TEST_F(Planning, TellsWhyEachComponentIsTakenOrSkipped) {
  add("taken", "s\tF\n");
  add("unselected", "s\tG\n").selected_for_install = false;
  add("", "s\tH\n");
  add("unpacked", "s\tI\n").package.reset();
  add("unprovided", "s\tJ\n").has_provider = false;
  using enum ComponentStatus;
  EXPECT_TRUE(plan().every_component);
  EXPECT_EQ(fates(), (std::vector{searched, searched, no_code, no_package, no_package}));
  know_the_instance();
  EXPECT_FALSE(plan().every_component);
  EXPECT_EQ(fates(), (std::vector{searched, not_selected, no_code, no_package, no_package}));
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "none";
  EXPECT_EQ(fates(), (std::vector{not_reached, not_reached, no_code, not_reached, not_reached}));
}

TEST_F(Planning, AsksForRemovalInARemoval) {
  session.variables["KORU_MODE"] = "uninstall";
  add("kept", "s\tF\n").selected_for_removal = false;
  add("gone", "s\tG\n").selected_for_install = false;
  EXPECT_EQ(fates(), (std::vector{ComponentStatus::not_selected, ComponentStatus::searched}));
  EXPECT_TRUE(plan().is_removal);
}

TEST_F(Planning, NamesWhatAnInstallationLeavesAlthoughItIsSelectedForRemoval) {
  add("old", "s\tF\ns\tG\n").selected_for_install = false;
  add("taken", "s\tF\n");
  auto& staying = add("staying", "s\tH\n");
  staying.selected_for_install = staying.selected_for_removal = false;
  add("also staying", "s\tH\ns\tI\n").selected_for_install = false;
  for (const bool is_known : {false, true}) {
    if (is_known) know_the_instance();
    std::vector<std::string> unremoved;
    for (const PlannedRecord& record : plan().unremoved) unremoved.push_back(record.config.feature + " " + record.place());
    EXPECT_EQ(unremoved, (std::vector{"G " + directory.path() + "/old/etc/eclipse/p:2",
                                      "I " + directory.path() + "/also staying/etc/eclipse/p:2"}));
  }
  session.variables["KORU_MODE"] = "uninstall";
  EXPECT_TRUE(plan().unremoved.empty());
}

TEST_F(Planning, KeepsComponentsWithTheSameCodeApart) {
  know_the_instance();
  add("same", "s\tF\n").selected_for_install = false;
  add("same", "s\tG\n");
  add("same", "s\tH\n").selected_for_install = false;
  EXPECT_EQ(fates(), (std::vector{ComponentStatus::not_selected, ComponentStatus::searched, ComponentStatus::not_selected}));
}

TEST_F(Planning, NamesTheFileAndTheLineOfEachRecord) {
  add("c", "Repository\tFeature\n\nno data\ns\tF\ns\tF\n\tG\nRepository\tF\ns\t\t\ns\tH\tx\t1");
  add("d", "s\tF").package->files = {"etc/eclipse/missing", "etc\\eclipse\\p\r\n"};
  const Plan made = plan();
  const std::string c = directory.path() + "/c/etc/eclipse/p";
  std::vector<std::string> places;
  for (const PlannedRecord& record : made.records) places.push_back(record.file + ":" + std::to_string(record.line));
  EXPECT_EQ(places, (std::vector{c + ":4", c + ":5", c + ":6", c + ":8", c + ":9", directory.path() + "/d/etc/eclipse/p:1"}));
  ASSERT_EQ(made.components[1].descriptors.size(), 2U);
  EXPECT_EQ(made.components[1].descriptors[0].path, directory.path() + "/d/etc/eclipse/missing");
  EXPECT_FALSE(made.components[1].descriptors[0].exists);
  EXPECT_TRUE(made.components[1].descriptors[1].exists);
  EXPECT_EQ(made.components[1].descriptors[1].records, 1U);
}

TEST_F(Planning, TellsWhatBecomesOfEachRecord) {
  add("c", "s\tF\tx\t5x\nt\tG\ns\tF\n\tG\ns\t\t\ns\tH\t\t1\n");
  const Plan made = plan();
  using enum RecordStatus;
  std::vector<RecordStatus> fates;
  std::vector<std::int64_t> slots;
  std::vector<std::int64_t> wanted;
  for (const PlannedRecord& record : made.records) {
    fates.push_back(record.status);
    slots.push_back(record.slot);
    wanted.push_back(record.wanted_slot);
  }
  EXPECT_EQ(fates, (std::vector{repeated, listed, listed, no_repository, no_feature, listed}));
  EXPECT_EQ(slots, (std::vector<std::int64_t>{5, 0, 1, 0, 2, 3}));
  EXPECT_EQ(wanted, (std::vector<std::int64_t>{5, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(made.command->text.ends_with(" -i G,F,H 2>&1")) << made.command->text;
  EXPECT_EQ(made.repositories,
            (std::set<std::string>{"file://" + directory.path() + "/c/s", "file://" + directory.path() + "/c/t"}));
}

TEST_F(Planning, SaysWhatEachActionSets) {
  add("c", "s\tF\n");
  const Plan made = plan();
  ASSERT_EQ(made.actions.size(), 5U);
  EXPECT_EQ(made.actions[0].name, "eclipse_integration_required");
  EXPECT_EQ(made.actions[0].writes, (std::vector<std::pair<std::string, std::string>>{{"ECLIPSE_INTEGRATION_REQUIRED", "no"}}));
  EXPECT_EQ(made.actions[4].writes,
            (std::vector<std::pair<std::string, std::string>>{{"ECLIPSE_PATH", directory.path() + "/own"}}));
  EXPECT_EQ(made.executable, directory.path() + "/own/eclipse");
}

TEST_F(Planning, NamesTheExecutableAsTheCommandsStartIt) {
  add("c", "s\tF\n");
  std::filesystem::create_directories("elsewhere/inner");
  std::filesystem::create_directory_symlink("elsewhere/inner", "link");
  fake::write_file("elsewhere/own/eclipse", "");
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = directory.path() + "/link/../own/eclipse";
  const Plan made = plan();
  ASSERT_TRUE(made.command.has_value());
  EXPECT_EQ(made.command->intended.front(), directory.path() + "/own/eclipse");
  EXPECT_EQ(made.executable, made.command->intended.front());
  EXPECT_EQ(chosen_executable(plugin, session), made.executable);
}

TEST_F(Planning, GivesTheVerdictOnTheVersion) {
  add("c", "s\tF\n");
  EXPECT_FALSE(plan().version.has_value()) << "there is no minimum";
  session.variables["ECLIPSE_MIN_SUPPORTED_VERSION"] = "4.7";
  const Plan made = plan();
  ASSERT_TRUE(made.version.has_value());
  EXPECT_EQ(made.version->version, "4.10");
  EXPECT_EQ(made.version->minimum, "4.7");
  EXPECT_EQ(made.version->supported, "no");
  EXPECT_NE(made.refusal, "");
  EXPECT_FALSE(made.command.has_value());
  EXPECT_EQ(made.components[0].status, ComponentStatus::not_reached);
}

TEST_F(Planning, SaysThatTheInstanceIsNotThere) {
  add("c", "s\tF\n");
  EXPECT_FALSE(plan().is_instance_missing);
  session.variables["KORU_MODE"] = "uninstall";
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "/missing/eclipse";
  EXPECT_TRUE(plan().is_instance_missing);
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "";
  EXPECT_TRUE(plan().is_instance_missing);
  EXPECT_EQ(plan().reasons.back(), "no Eclipse instance is chosen, and no component is searched (1 component)");
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  EXPECT_TRUE(plan().is_instance_missing);
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "none";
  EXPECT_FALSE(plan().is_instance_missing);
}

TEST_F(Planning, SaysWhetherTheShellPassesTheCommandOn) {
  add("c", "s\tF\ns.zip\tG\n");
  EXPECT_TRUE(plan().command->runs_as_intended());
  EXPECT_TRUE(plan().retries[1].runs_as_intended());
  add("my tools", "s.zip\tF\n");
  EXPECT_TRUE(plan().command->runs_as_intended()) << "the quotes of an archive hold it together";
  add("your tools", "s\tF\n");
  EXPECT_FALSE(plan().command->runs_as_intended());
}

TEST_F(Planning, SaysWhetherTheCommandCanBeGivenToAShell) {
  const std::size_t rest = [&] {
    add("c", "s\tF\n");
    return plan().command->text.size() - 1;
  }();
  fake::write_file("c/etc/eclipse/p", "s\t" + std::string(eclipse_shell::longest_command - rest, 'x') + "\n");
  EXPECT_FALSE(plan().command->is_too_long());
  EXPECT_TRUE(plan().command->runs_as_intended());
  fake::write_file("c/etc/eclipse/p", "s\t" + std::string(eclipse_shell::longest_command - rest + 1, 'x') + "\n");
  EXPECT_TRUE(plan().command->is_too_long());
  EXPECT_FALSE(plan().command->runs_as_intended());
}

std::string text_of_causes(const std::vector<ShellCause>& causes) {
  std::string text;
  for (const ShellCause& cause : causes) {
    text += cause.origin + ": " + cause.text + "\n";
    for (const ShellRemark& remark : cause.remarks) text += "  " + std::to_string(remark.offset) + " " + remark.effect + "\n";
  }
  return text;
}

TEST_F(Planning, NamesTheTextsThatTheShellDoesNotPassOn) {
  add("my tools", "s.zip\tF\ns\tG;H\nmy site\tI\nmy site.zip\tJ\n$s.zip\tK\n");
  add("plain", "s\tL\ns.zip\tM\n");
  const std::string file = directory.path() + "/my tools/etc/eclipse/p";
  const std::string directory_text = "the directory of component my tools: " + directory.path() + "/my tools\n  " +
                                     std::to_string(directory.path().size() + 3) + " the word ends here\n";
  const std::string sites = "column 1 of " + file + ":3: my site\n  2 the word ends here\ncolumn 1 of " + file +
                            ":5: $s.zip\n  0 the value of a variable is substituted\n";
  const std::string feature =
      "column 2 of " + file + ":2: G;H\n  1 the command ends here, and the rest is run as another command\n";
  const Plan made = plan();
  EXPECT_EQ(text_of_causes(made.command->causes), directory_text + sites + feature);
  EXPECT_EQ(text_of_causes(made.retries[0].causes), directory_text + sites);
  EXPECT_EQ(text_of_causes(made.retries[1].causes), directory_text + sites + feature);
  session.variables["KORU_MODE"] = "uninstall";
  EXPECT_EQ(text_of_causes(plan().command->causes), feature) << "a removal uses no sites";
}

/// What follows a feature in the list is a comma, and what follows the last one a space.
TEST_F(Planning, ReadsTheLastFeatureToTheEndOfTheList) {
  add("c", "s\tF>\ns\tG>\n");
  const std::string column = "column 2 of " + directory.path() + "/c/etc/eclipse/p";
  EXPECT_EQ(text_of_causes(plan().command->causes), column + ":1: F>\n  1 the input or output is redirected to a file\n" +
                                                        column + ":2: G>\n  1 the shell rejects the command here\n");
}

TEST_F(Planning, NamesTheTextsWithZeroBytes) {
  add("c", std::string("s\tF\nsi\0te\tG\ns\tH\0\n", 18));
  const std::string file = directory.path() + "/c/etc/eclipse/p";
  const std::string site =
      "column 1 of " + file + ":2: " + std::string("si\0te", 5) + "\n  2 a shell command cannot contain a NUL byte\n";
  const std::string feature =
      "column 2 of " + file + ":3: " + std::string("H\0", 2) + "\n  1 a shell command cannot contain a NUL byte\n";
  const Plan made = plan();
  EXPECT_EQ(text_of_causes(made.command->causes), site + feature);
  EXPECT_FALSE(made.command->runs_as_intended());
  EXPECT_NE(made.command->shell.error, "");
  EXPECT_EQ(text_of_causes(made.retries[0].causes), site);
  EXPECT_EQ(text_of_causes(made.retries[2].causes), site + feature);
  EXPECT_EQ(run_in_shell(made.command->text).exit_code, 126);
}

TEST_F(Planning, NamesTheExecutableThatTheShellDoesNotPassOn) {
  add("c", "s\tF\n");
  std::filesystem::create_directories("my own");
  std::filesystem::copy("own", "my own", std::filesystem::copy_options::recursive);
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = directory.path() + "/my own/eclipse";
  const Plan made = plan();
  EXPECT_EQ(text_of_causes(made.command->causes), "USER_DEFINED_ECLIPSE_PATH: " + directory.path() + "/my own/eclipse\n  " +
                                                      std::to_string(directory.path().size() + 3) + " the word ends here\n");
  EXPECT_EQ(made.command->executable_error, "") << "another program would be started";
}

TEST_F(Planning, NamesNoTextWhereThePluginItselfIsTheReason) {
  session.variables["KORU_MODE"] = "uninstall";
  add("c", "s\tF\ns\tG\n");
  const Plan made = plan();
  EXPECT_EQ(text_of_causes(made.command->causes), "");
  EXPECT_NE(made.retries[0].shell.error, "");
  EXPECT_EQ(text_of_causes(made.retries[0].causes), "");
}

TEST_F(Planning, TellsWhyTheExecutableCannotBeStarted) {
  add("c", "s\tF\n");
  EXPECT_EQ(plan().command->executable_error, "");
  std::filesystem::permissions("own/eclipse", std::filesystem::perms(0644));
  const std::string executable = directory.path() + "/own/eclipse";
  EXPECT_EQ(plan().command->executable_error,
            "\"" + executable +
                "\" is not executable, so the shell cannot start it (exit code 126); make it executable with chmod +x");
  EXPECT_FALSE(plan().command->runs_as_intended());
  EXPECT_EQ(run_in_shell(plan().command->text).exit_code, 126);

  session.variables["KORU_MODE"] = "uninstall";
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = directory.path() + "/own";
  EXPECT_EQ(plan().command->executable_error,
            "\"" + directory.path() +
                "/own\" is a directory, so the shell cannot start it (exit code 126); give the path of "
                "the executable in it");
  EXPECT_EQ(run_in_shell(plan().command->text).exit_code, 126);

  fake::write_file("eclipse", "#!/bin/sh\n");
  std::filesystem::permissions("eclipse", std::filesystem::perms(0755));
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "eclipse";
  EXPECT_EQ(plan().command->executable_error,
            "\"eclipse\" has no slash, so the shell searches PATH for it instead of the current directory; give its full path");
  EXPECT_EQ(run_in_shell("PATH=/nowhere; " + plan().command->text).exit_code, 127);
}

std::vector<std::size_t> numbers_of(const std::vector<PlannedCommand>& retries) {
  std::vector<std::size_t> numbers;
  numbers.reserve(retries.size());
  for (const PlannedCommand& retry : retries) numbers.push_back(retry.number);
  return numbers;
}

using Numbers = std::vector<std::size_t>;

TEST_F(Planning, LeavesOutOnlyRetriesThatAreAlike) {
  add("c", "s\tF\ns\tG\ns\tH\n");
  EXPECT_EQ(numbers_of(plan(Retries::distinct).retries), Numbers{1});
  EXPECT_EQ(plan(Retries::distinct).retry_count, 3U);
  EXPECT_EQ(numbers_of(plan().retries), (Numbers{1, 2, 3}));
  add("d", "s\tI\ns\tJ K\ns\tL\ns\tM\t\t-1\ns\t$N\n");
  const Plan made = plan(Retries::distinct);
  EXPECT_EQ(numbers_of(made.retries), (Numbers{1, 6, 8}));
  EXPECT_EQ(made.representative_retry, 1U);
  EXPECT_TRUE(made.retries[1].text.ends_with(" -i J K 2>&1")) << made.retries[1].text;
  EXPECT_TRUE(made.retries[2].text.ends_with(" -i $N 2>&1")) << made.retries[2].text;
}

TEST_F(Planning, ShowsAPlainRetryWhenTheFirstIsNone) {
  add("c", "s\tF G\ns\tH\ns\tI\n");
  const Plan made = plan(Retries::distinct);
  EXPECT_EQ(numbers_of(made.retries), (Numbers{1, 2}));
  EXPECT_EQ(made.representative_retry, 2U);
}

TEST_F(Planning, ShowsTheRetryOfARemovalThatReadsDifferently) {
  session.variables["KORU_MODE"] = "uninstall";
  add("c", "s\tF\ns\tG\ns\t7\n");
  const Plan made = plan(Retries::distinct);
  EXPECT_EQ(numbers_of(made.retries), (Numbers{1, 3})) << "2>&17 is another open file";
  EXPECT_NE(made.retries[0].shell.error, "");
  EXPECT_EQ(made.retries[1].shell.error, "");
}

TEST_F(Planning, ShowsTheRetryThatIsTooLong) {
  add("c", "s\tF\ns\t" + std::string(eclipse_shell::longest_command, 'x') + "\ns\tG\n");
  const Plan made = plan(Retries::distinct);
  EXPECT_EQ(numbers_of(made.retries), (Numbers{1, 2}));
  EXPECT_TRUE(made.retries[1].is_too_long());
  EXPECT_EQ(made.longest_retry, made.retries[1].text.size());
  session.variables["KORU_MODE"] = "uninstall";
  EXPECT_EQ(numbers_of(plan(Retries::distinct).retries), Numbers{1}) << "all are too long";
}

std::string numbered_features(std::size_t count) {
  std::string descriptor;
  for (std::size_t i = 1; i <= count; ++i) descriptor += "s\tF " + std::to_string(i) + "\n";
  return descriptor;
}

TEST_F(Planning, LeavesOutRetriesThatDifferWhenTheyAreVeryMany) {
  constexpr std::size_t count = 300;
  add("c", numbered_features(count) + "s\tplain\ns\tand.plain\n");
  const Plan made = plan(Retries::distinct);
  ASSERT_EQ(made.retries.size(), most_distinct_retries);
  EXPECT_EQ(made.retries.front().number, 1U);
  EXPECT_EQ(made.retries.back().number, count + 1) << "the one that represents others is kept";
  EXPECT_EQ(made.representative_retry, count + 1);
  EXPECT_EQ(made.retries_left_out.size(), count + 1 - most_distinct_retries);
  EXPECT_FALSE(made.retries_left_out.contains(count + 2)) << "it is like the representative";
  EXPECT_EQ(made.retry_count, count + 2);
  EXPECT_EQ(plan().retries.size(), count + 2) << "who asks for all gets them";
}

/// Each retry of a removal has all features, so that thousands of them would take gigabytes.
TEST_F(Planning, KeepsABoundedAmountOfRetries) {
  constexpr std::size_t count = 5'000;
  session.variables["KORU_MODE"] = "uninstall";
  add("c", numbered_features(count));
  for (const Retries retries : {Retries::distinct, Retries::all}) {
    const Plan made = plan(retries);
    EXPECT_GT(made.retries.size(), 40U);
    EXPECT_LT(made.retries.size() * made.longest_retry, largest_retries + made.longest_retry);
    EXPECT_EQ(made.retries.size() + made.retries_left_out.size(), count);
    EXPECT_EQ(made.retry_count, count);
  }
}

using Texts = std::vector<std::string>;

TEST_F(Planning, GivesTheReasonsForNothingToDo) {
  add("c", "s\tF\n");
  EXPECT_EQ(plan().reasons, Texts());
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "none";
  const std::string no_eclipse = "no Eclipse instance is chosen, and no component is searched (1 component)";
  EXPECT_EQ(plan().reasons, (Texts{"ECLIPSE_INTEGRATION_CHOICE is \"none\"", no_eclipse}));
  session.variables = {{"KORU_MODE", "uninstall"}, {"ECLIPSE_INTEGRATION_CHOICE", "user"}};
  EXPECT_EQ(plan().reasons,
            (Texts{"ECLIPSE_INTEGRATION_CHOICE is \"user\"", "USER_DEFINED_ECLIPSE_PATH is not set", no_eclipse}));
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "/missing/eclipse";
  EXPECT_EQ(plan().reasons, Texts{"\"/missing/eclipse\" does not exist"});
}

TEST_F(Planning, TellsWhereTheExecutableWasLookedFor) {
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  CatalogueComponent& tools = add("tools", "s\tF\n");
  const std::string choice = "ECLIPSE_INTEGRATION_CHOICE is \"internal\"";
  const std::string name = "ECLIPSE_BIN is \"eclipse\"";
  const auto no_eclipse = [](int components) {
    return "no Eclipse instance is chosen, and no component is searched (" + std::to_string(components) + " component" +
           (components == 1 ? ")" : "s)");
  };
  EXPECT_EQ(plan().reasons, (Texts{choice, name, "no component provides an IDE; the capabilities are: none", no_eclipse(1)}));
  session.capabilities->emplace("TOOLS", &tools);
  EXPECT_EQ(plan().reasons, (Texts{choice, name, "no component provides an IDE; the capabilities are: TOOLS", no_eclipse(1)}));

  CatalogueComponent& ide = add("ide", "");
  session.capabilities->emplace("ECLIPSE_IDE", &ide);
  EXPECT_EQ(plan().reasons, (Texts{choice, name, "searched for the executable: 1 package",
                                   "ide: its package lists 2 files, none of them named \"eclipse\"", no_eclipse(2)}));

  ide.package->prefix = "/nowhere";
  ide.package->files = {"bin/eclipse", "eclipse\r\n", "eclipse.ini"};
  session.capabilities->emplace("ECLIPSE_IDE_2", &add("other", ""));
  session.components.back()->package.reset();
  EXPECT_EQ(plan().reasons,
            (Texts{choice, name, "searched for the executable: 2 packages",
                   "ide: not found: /nowhere/bin/eclipse, /nowhere/eclipse", "other: it has no package", no_eclipse(3)}));
}

TEST_F(Planning, TellsWhatKeptTheListsEmpty) {
  know_the_instance();
  add("unselected", "s\tF\n").selected_for_install = false;
  add("", "s\tF\n");
  add("unpacked", "s\tF\n").package.reset();
  add("bare", "").package->files.clear();
  add("gone", "").package->files = {"etc/eclipse/missing", "etc/eclipse/other"};
  add("empty", "Repository\tFeature\n");
  add("pathless", "\tF\ns\t\t\n");
  EXPECT_EQ(plan().reasons,
            (Texts{"skipped, without a code: (no code)", "skipped, not selected for installation: unselected",
                   "skipped, without a package: unpacked", "searched, but the package lists no descriptor file: bare",
                   "listed descriptor files that do not exist: " + directory.path() + "/gone/etc/eclipse/missing, " +
                       directory.path() + "/gone/etc/eclipse/other",
                   "descriptor files without records: " + directory.path() + "/empty/etc/eclipse/p",
                   "lines that are ignored, without a repository: " + directory.path() + "/pathless/etc/eclipse/p:1",
                   "lines without a feature: " + directory.path() + "/pathless/etc/eclipse/p:2"}));
  session.variables["KORU_MODE"] = "uninstall";
  session.components.front()->selected_for_removal = false;
  EXPECT_EQ(plan().reasons[1], "skipped, not selected for removal: unselected");
  session.variables["KORU_MODE"] = "install";
  for (const char* const code : {"a", "b", "c", "d", "e", "f"}) add(code, "s\tF\n").selected_for_install = false;
  EXPECT_EQ(plan().reasons[1], "skipped, not selected for installation: unselected, a, b, c, d and 2 more");
}

/// The limit is the system's.
TEST_F(Planning, KnowsTheLongestCommand) {
  const auto exit_code_of = [](std::size_t size) { return run_in_shell(":" + std::string(size - 1, ' ')).exit_code; };
  EXPECT_EQ(exit_code_of(eclipse_shell::longest_command), 0);
  EXPECT_EQ(exit_code_of(eclipse_shell::longest_command + 1), 126);
}

}  // namespace

}  // namespace eclipse_plan
