#include "p2/configuration_files.h"

#include <gtest/gtest.h>

#include "base/file.h"
#include "fake_host/temporary_directory.h"
#include "p2/kept_configuration.h"
#include "p2/profile_repair.h"

namespace eclipse_p2 {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

const std::string fix = "; run: eclipse-int repair ide/eclipse";
const std::string no_fix =
    "; no copy of it was kept; restore it from a backup of the Eclipse instance, or install the Eclipse anew";
const std::string settings = "eclipse.p2.profile=P\nosgi.bundles=reference\\:file\\:start.jar@1\\:start\n";
const std::string bundles_file = "ide/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info";

class ConfigurationFiles : public testing::Test {
 protected:
  static std::string file(const std::string& time) {
    return "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/" + time + ".profile";
  }

  static void write_state(const std::string& time, const Names& bundles) {
    std::string text = "<profile><units><unit id='f.feature.group' version='1.0.0'/>";
    for (const std::string& name : bundles) {
      text += "<unit id='" + name + "' version='1.0.0'><artifacts><artifact classifier='osgi.bundle' id='" + name +
              "' version='1.0.0'/></artifacts></unit>";
    }
    fake::write_file(file(time), text + "</units></profile>");
  }

  static void write_list(const Names& bundles, const std::string& list = bundles_file) {
    std::string text = "#encoding=UTF-8\n#version=1\n";
    for (const std::string& name : bundles) text += name + ",1.0.0,plugins/" + name + "_1.0.0.jar,4,false\n";
    fake::write_file(list, text);
  }

  static std::string damage() {
    const auto damage = instance_damage("ide/eclipse");
    return damage ? damage->message + damage_end(*damage) : "";
  }
  static std::string damage_end(const InstanceDamage& damage) {
    return "; " + damage.fix + (damage.is_fatal ? " (fatal)" : "");
  }

  /// An instance with two bundles, of which a copy was kept before a third came.
  static void install_a_third() {
    fake::write_file("ide/configuration/config.ini", settings);
    write_state("1", {"a", "b"});
    write_list({"a", "b"});
    keep_configuration("ide", "1");
    write_state("2", {"a", "b", "c"});
    write_list({"a", "b", "c"});
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(ConfigurationFiles, ASoundInstanceHasNoDamage) {
  EXPECT_EQ(damage(), "") << "without a profile";
  install_a_third();
  EXPECT_EQ(damage(), "");
}

TEST_F(ConfigurationFiles, ValuesAreReadAsTheyAreWritten) {
  fake::write_file("ide/configuration/config.ini", "#eclipse.p2.profile=Q\r\neclipse.p2.profile=P\r\nempty=\n");
  EXPECT_EQ(configured_value("ide", "eclipse.p2.profile"), "P");
  EXPECT_EQ(configured_value("ide", "empty"), "");
  EXPECT_EQ(configured_value("ide", "profile"), std::nullopt);
  EXPECT_EQ(configured_value("elsewhere", "empty"), std::nullopt);
}

TEST_F(ConfigurationFiles, FilesThatAreNotThereBelongToInstancesOfAnotherKind) {
  write_state("1", {"a"});
  EXPECT_EQ(damage(), "");
}

TEST_F(ConfigurationFiles, AnEmptyConfigurationEndsEveryDirector) {
  install_a_third();
  for (const std::string content : {"", "#comment\n", "\n"}) {
    fake::write_file("ide/configuration/config.ini", content);
    EXPECT_EQ(damage(), "ide/configuration/config.ini has no settings, so every director fails" + fix + " (fatal)");
  }
  fs::remove_all("ide/configuration/.eclipse-int.kept");
  EXPECT_EQ(damage(), "ide/configuration/config.ini has no settings, so every director fails" + no_fix + " (fatal)");
}

TEST_F(ConfigurationFiles, AListThatWasCutEndsEveryDirector) {
  install_a_third();
  write_list({});
  EXPECT_EQ(damage(), bundles_file + " lists 0 of the 3 bundles that the p2 profile has as installed, so every director fails" +
                          fix + " (fatal)");
  write_list({"a"});
  EXPECT_EQ(damage(), bundles_file + " lists 1 of the 3 bundles that the p2 profile has as installed, so every director fails" +
                          fix + " (fatal)");
}

TEST_F(ConfigurationFiles, ABundleThatCameAndIsNotListedIsNotStarted) {
  install_a_third();
  write_list({"a", "b"});
  const std::string text =
      bundles_file + " does not list c/1.0.0, although the p2 profile has it as installed, so Eclipse does not start it";
  EXPECT_EQ(damage(), text + fix);
  write_state("3", {"a", "b", "c"});
  EXPECT_EQ(damage(), text + fix) << "a later run finds nothing to do";
  fs::remove_all("ide/configuration/.eclipse-int.kept");
  EXPECT_EQ(damage(), text + fix + " --to 1");
  keep_configuration("ide", "3");
  EXPECT_EQ(damage(), text + fix + " --to 1") << "a copy that is as incomplete";
}

TEST_F(ConfigurationFiles, SourceBundlesHaveAListOfTheirOwn) {
  install_a_third();
  write_list({"a", "b"});
  write_list({"c"}, "ide/configuration/org.eclipse.equinox.source/source.info");
  EXPECT_EQ(damage(), "");
}

TEST_F(ConfigurationFiles, AnInstallationElsewhereHasItsListThere) {
  install_a_third();
  const std::string state = eclipse_base::read_file(file("2"), 1000).bytes;
  const auto write_state_of = [&](const std::string& folder) {
    fake::write_file(file("2"), "<profile><properties><property name='org.eclipse.equinox.p2.installFolder' value='" + folder +
                                    "'/></properties>" + state.substr(std::string("<profile>").size()));
  };
  write_list({"a", "b"});
  write_state_of(directory.path() + "/ide");
  EXPECT_NE(damage(), "");
  write_state_of(directory.path() + "/elsewhere");
  EXPECT_EQ(damage(), "");
}

TEST_F(ConfigurationFiles, ABundleThatWasNeverListedSaysNothing) {
  install_a_third();
  write_state("1", {"a", "b", "c"});
  write_list({"a", "b"});
  EXPECT_EQ(damage(), "");
}

TEST_F(ConfigurationFiles, ACopyIsBroughtBackWithItsState) {
  install_a_third();
  write_state("3", {"a", "b", "c"});
  fake::write_file("ide/configuration/config.ini", "");
  write_list({});
  const RepairPlan plan = plan_repair("ide");
  const auto to_move = states_to_move(plan.states, plan.to);
  ASSERT_TRUE(plan.to_bring_back && to_move.size() == 2);
  EXPECT_EQ(to_move[0].time, "3");
  EXPECT_EQ(to_move[1].time, "2");
  EXPECT_EQ(plan.to_bring_back->time, "1");
  const fs::path list = "ide" / bundle_list;
  EXPECT_EQ(differing_files(*plan.to_bring_back, "ide"), (std::vector<fs::path>{"ide/configuration/config.ini", list}));
  for (const ProfileState& state : to_move) move_aside(state);
  EXPECT_EQ(bring_back(*plan.to_bring_back, "ide"), (std::vector<fs::path>{"ide/configuration/config.ini", list}));
  EXPECT_EQ(eclipse_base::read_file("ide/configuration/config.ini", 1000).bytes, settings);
  EXPECT_EQ(listed_bundles("ide"), (std::set<Unit>{{"a", "1.0.0"}, {"b", "1.0.0"}}));
  EXPECT_EQ(differing_files(*plan.to_bring_back, "ide"), std::vector<fs::path>());
  EXPECT_EQ(damage(), "");
}

TEST_F(ConfigurationFiles, ASoundInstanceKeepsItsConfiguration) {
  install_a_third();
  EXPECT_FALSE(plan_repair("ide").to_bring_back);
  const RepairPlan back = plan_repair("ide", "1");
  EXPECT_TRUE(back.to_bring_back) << "which goes with the state that is asked for";
  EXPECT_FALSE(plan_repair("ide", "2").to_bring_back);
}

TEST_F(ConfigurationFiles, ACopyWhoseStateIsGoneIsOfNoUse) {
  install_a_third();
  fs::remove(file("1"));
  fake::write_file("ide/configuration/config.ini", "");
  EXPECT_EQ(damage(), "ide/configuration/config.ini has no settings, so every director fails" + no_fix + " (fatal)");
  EXPECT_FALSE(plan_repair("ide").to_bring_back);
}

TEST_F(ConfigurationFiles, OnlyTheLastCopyIsKept) {
  install_a_third();
  fs::create_directories("ide/configuration/.eclipse-int.kept/incomplete");
  keep_configuration("ide", "2");
  const auto kept = kept_configuration("ide");
  ASSERT_TRUE(kept);
  EXPECT_EQ(kept->time, "2");
  EXPECT_EQ(std::distance(fs::directory_iterator("ide/configuration/.eclipse-int.kept"), {}), 1);
  EXPECT_EQ(differing_files(*kept, "ide"), std::vector<fs::path>());
}

TEST_F(ConfigurationFiles, ACopyThatIsNotCompleteDoesNotCount) {
  fs::create_directories("ide/configuration/.eclipse-int.kept/incomplete");
  EXPECT_FALSE(kept_configuration("ide"));
}

TEST_F(ConfigurationFiles, ALinkIsNotFollowedOutOfTheInstance) {
  install_a_third();
  fs::remove_all("ide/configuration/.eclipse-int.kept");
  fs::create_directories("elsewhere/other");
  fs::create_directory_symlink("../../elsewhere", "ide/configuration/.eclipse-int.kept");
  keep_configuration("ide", "2");
  EXPECT_TRUE(fs::exists("elsewhere/other"));
  EXPECT_EQ(kept_configuration("ide")->time, "2");
}

TEST_F(ConfigurationFiles, ACopyThatCannotBeKeptIsAnError) {
  install_a_third();
  fs::remove_all("ide/configuration/.eclipse-int.kept");
  fake::write_file("ide/configuration/.eclipse-int.kept", "");
  EXPECT_THROW(keep_configuration("ide", "2"), eclipse_base::FileError);
}

TEST_F(ConfigurationFiles, BundlesThatOnlyOneStateHasAreLeft) {
  install_a_third();
  const auto left = bundles_left("ide", read_profile_state(file("2")), read_profile_state(file("1")));
  EXPECT_EQ(left, (std::vector<Unit>{{"c", "1.0.0"}}));
  write_list({"a", "b"});
  EXPECT_EQ(bundles_left("ide", read_profile_state(file("2")), read_profile_state(file("1"))), std::vector<Unit>());
}

TEST_F(ConfigurationFiles, AStateOfTheFutureStopsEveryChange) {
  install_a_third();
  write_state("99999999999999", {"a", "b", "c"});
  EXPECT_EQ(damage(), "the newest state of the p2 profile, " + file("99999999999999") +
                          ", is of the future (5138-11-16 09:46:39 UTC), so every change fails" + fix + " --to 2 (fatal)");
  fs::remove(file("1"));
  fs::remove(file("2"));
  EXPECT_EQ(damage(),
            "the newest state of the p2 profile, " + file("99999999999999") +
                ", is of the future (5138-11-16 09:46:39 UTC), so every change fails; set the clock of this computer right "
                "(fatal)");
}

}  // namespace

}  // namespace eclipse_p2
