#include "plan/plan.h"

#include <gtest/gtest.h>

#include "fake_host/temporary_folder.h"

namespace eclipse_plan {

namespace {

using namespace eclipse_host;

/// An Eclipse of the user's own, and components that a test adds.
class Planning : public testing::Test {
 protected:
  Planning() {
    fake::write_file("own/eclipse", "");
    fake::write_file("own/configuration/config.ini", "eclipse.buildId=4.10\n");
    session.variables = {{"KORU_MODE", "install"},
                         {"ECLIPSE_INTEGRATION_CHOICE", "user"},
                         {"ECLIPSE_BIN", "eclipse"},
                         {"USER_DEFINED_ECLIPSE_PATH", folder.path() + "/own/eclipse"}};
  }

  CatalogueComponent& add(const std::string& code, const std::string& descriptor) {
    auto component = std::make_unique<CatalogueComponent>();
    component->code = code;
    component->installBase = folder.path();
    component->installDir = code;
    component->selected_for_install = true;
    component->selected_for_removal = true;
    component->package.emplace().files = {"readme", "etc/eclipse/p"};
    fake::write_file(folder.path() + "/" + (code.empty() ? "." : code) + "/etc/eclipse/p", descriptor);
    session.components.push_back(std::move(component));
    return *session.components.back();
  }

  Plan plan(Retries retries = Retries::all) { return make_plan(plugin, session, retries); }

  std::vector<ComponentFate> fates() {
    std::vector<ComponentFate> fates;
    for (const PlannedComponent& component : plan().components) fates.push_back(component.fate);
    return fates;
  }

  void know_the_instance() { session.variables["CASHED_ECLIPSE_PATH"] = session.variables["USER_DEFINED_ECLIPSE_PATH"]; }

  fake::TemporaryFolder folder;
  Plugin plugin{PLUGIN};
  Session session;
};

TEST_F(Planning, TellsWhyEachComponentIsTakenOrSkipped) {
  add("taken", "s\tF\n");
  add("unselected", "s\tG\n").selected_for_install = false;
  add("", "s\tH\n");
  add("unpacked", "s\tI\n").package.reset();
  add("unprovided", "s\tJ\n").has_provider = false;
  using enum ComponentFate;
  EXPECT_TRUE(plan().every_component);
  EXPECT_EQ(fates(), (std::vector{taken, taken, no_code, no_package, no_package}));
  know_the_instance();
  EXPECT_FALSE(plan().every_component);
  EXPECT_EQ(fates(), (std::vector{taken, not_selected, no_code, no_package, no_package}));
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "none";
  EXPECT_EQ(fates(), (std::vector{not_reached, not_reached, no_code, not_reached, not_reached}));
}

TEST_F(Planning, AsksForRemovalInARemoval) {
  session.variables["KORU_MODE"] = "uninstall";
  add("kept", "s\tF\n").selected_for_removal = false;
  add("gone", "s\tG\n").selected_for_install = false;
  EXPECT_EQ(fates(), (std::vector{ComponentFate::not_selected, ComponentFate::taken}));
  EXPECT_TRUE(plan().is_removal);
}

TEST_F(Planning, KeepsComponentsWithTheSameCodeApart) {
  know_the_instance();
  add("same", "s\tF\n").selected_for_install = false;
  add("same", "s\tG\n");
  add("same", "s\tH\n").selected_for_install = false;
  EXPECT_EQ(fates(), (std::vector{ComponentFate::not_selected, ComponentFate::taken, ComponentFate::not_selected}));
}

TEST_F(Planning, NamesTheFileAndTheLineOfEachRecord) {
  add("c", "Repository\tFeature\n\nno data\ns\tF\ns\tF\n\tG\nRepository\tF\ns\t\t\ns\tH\tx\t1");
  add("d", "s\tF").package->files = {"etc/eclipse/missing", "etc\\eclipse\\p\r\n"};
  const Plan made = plan();
  const std::string c = folder.path() + "/c/etc/eclipse/p";
  std::vector<std::string> places;
  for (const PlannedRecord& record : made.records) places.push_back(record.file + ":" + std::to_string(record.line));
  EXPECT_EQ(places, (std::vector{c + ":4", c + ":5", c + ":6", c + ":8", c + ":9", folder.path() + "/d/etc/eclipse/p:1"}));
  ASSERT_EQ(made.components[1].descriptors.size(), 2U);
  EXPECT_EQ(made.components[1].descriptors[0].path, folder.path() + "/d/etc/eclipse/missing");
  EXPECT_FALSE(made.components[1].descriptors[0].exists);
  EXPECT_TRUE(made.components[1].descriptors[1].exists);
  EXPECT_EQ(made.components[1].descriptors[1].records, 1U);
}

TEST_F(Planning, TellsWhatBecomesOfEachRecord) {
  add("c", "s\tF\tx\t5x\nt\tG\ns\tF\n\tG\ns\t\t\ns\tH\t\t1\n");
  const Plan made = plan();
  using enum RecordFate;
  std::vector<RecordFate> fates;
  std::vector<std::int64_t> slots;
  std::vector<std::int64_t> wanted;
  for (const PlannedRecord& record : made.records) {
    fates.push_back(record.fate);
    slots.push_back(record.slot);
    wanted.push_back(record.wanted_slot);
  }
  EXPECT_EQ(fates, (std::vector{repeated, listed, listed, no_repository, no_feature, listed}));
  EXPECT_EQ(slots, (std::vector<std::int64_t>{5, 0, 1, 0, 2, 3}));
  EXPECT_EQ(wanted, (std::vector<std::int64_t>{5, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(made.command->text.ends_with(" -i G,F,H 2>&1")) << made.command->text;
  EXPECT_EQ(made.repositories, (std::set<std::string>{"file://" + folder.path() + "/c/s", "file://" + folder.path() + "/c/t"}));
}

TEST_F(Planning, SaysWhatEachActionSets) {
  add("c", "s\tF\n");
  const Plan made = plan();
  ASSERT_EQ(made.actions.size(), 5U);
  EXPECT_EQ(made.actions[0].name, "eclipse_integration_required");
  EXPECT_EQ(made.actions[0].writes, (std::vector<std::pair<std::string, std::string>>{{"ECLIPSE_INTEGRATION_REQUIRED", "no"}}));
  EXPECT_EQ(made.actions[4].writes,
            (std::vector<std::pair<std::string, std::string>>{{"ECLIPSE_PATH", folder.path() + "/own"}}));
  EXPECT_EQ(made.executable, folder.path() + "/own/eclipse");
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
  EXPECT_EQ(made.components[0].fate, ComponentFate::not_reached);
}

TEST_F(Planning, SaysThatTheInstanceIsNotThere) {
  add("c", "s\tF\n");
  EXPECT_FALSE(plan().lacks_instance);
  session.variables["KORU_MODE"] = "uninstall";
  session.variables["USER_DEFINED_ECLIPSE_PATH"] = "/missing/eclipse";
  EXPECT_TRUE(plan().lacks_instance);
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "internal";
  EXPECT_TRUE(plan().lacks_instance);
  session.variables["ECLIPSE_INTEGRATION_CHOICE"] = "none";
  EXPECT_FALSE(plan().lacks_instance);
}

TEST_F(Planning, SaysWhetherTheShellPassesTheCommandOn) {
  add("c", "s\tF\ns.zip\tG\n");
  EXPECT_TRUE(plan().command->is_sound());
  EXPECT_TRUE(plan().retries[1].is_sound());
  add("my tools", "s.zip\tF\n");
  EXPECT_TRUE(plan().command->is_sound()) << "the quotes of an archive hold it together";
  add("your tools", "s\tF\n");
  EXPECT_FALSE(plan().command->is_sound());
}

TEST_F(Planning, SaysWhetherTheCommandCanBeGivenToAShell) {
  const std::size_t rest = [&] {
    add("c", "s\tF\n");
    return plan().command->text.size() - 1;
  }();
  fake::write_file("c/etc/eclipse/p", "s\t" + std::string(longest_argument - rest, 'x') + "\n");
  EXPECT_FALSE(plan().command->is_too_long());
  EXPECT_TRUE(plan().command->is_sound());
  fake::write_file("c/etc/eclipse/p", "s\t" + std::string(longest_argument - rest + 1, 'x') + "\n");
  EXPECT_TRUE(plan().command->is_too_long());
  EXPECT_FALSE(plan().command->is_sound());
}

/// The limit is the system's.
TEST_F(Planning, KnowsTheLongestCommand) {
  const auto exit_code_of = [](std::size_t size) { return run_in_shell(":" + std::string(size - 1, ' ')).exit_code; };
  EXPECT_EQ(exit_code_of(longest_argument), 0);
  EXPECT_EQ(exit_code_of(longest_argument + 1), 126);
}

}  // namespace

}  // namespace eclipse_plan
