#include "p2/configuration_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/file.h"
#include "base/file_replacement.h"
#include "fake_host/not_administrator.h"
#include "fake_host/temporary_directory.h"
#include "instance/configuration_backup.h"
#include "instance/damage.h"
#include "instance/lock.h"
#include "instance/profile_history.h"
#include "instance/repair.h"
#include "p2/instance_paths.h"

using namespace eclipse_p2;

namespace eclipse_instance {

namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

const std::string fix = "; run: eclipse-int repair ide/eclipse";
const std::string no_fix =
    "; there is no backup copy of it; restore it from a backup of the Eclipse instance, or reinstall Eclipse";
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
    back_up_configuration("ide", "1");
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

TEST_F(ConfigurationFiles, AFileThatTheKeptCopyHasIsMissing) {
  install_a_third();
  fs::remove(bundles_file);
  const std::string end = ", so Eclipse no longer starts once a director has run" + fix + " (fatal)";
  EXPECT_EQ(damage(), bundles_file + " is missing" + end);
  fs::create_symlink("nowhere", bundles_file);
  EXPECT_EQ(damage(), bundles_file + " is a dangling symlink" + end);
  fs::remove(bundles_file);
  fs::create_symlink("bundles.info", bundles_file);
  EXPECT_EQ(damage(), bundles_file + " is a dangling symlink" + end) << "to itself";
  fs::remove(bundles_file);
  fs::create_symlink("/dev/null", bundles_file);
  EXPECT_EQ(damage(), bundles_file + " is not a regular file" + end);
  fs::remove_all(fs::path(bundles_file).parent_path());
  EXPECT_EQ(damage(), bundles_file + " is missing" + end);
  fs::remove("ide/configuration/config.ini");
  EXPECT_EQ(damage(), "ide/configuration/config.ini is missing, so every director fails" + fix + " (fatal)");
}

TEST_F(ConfigurationFiles, WhatIsMissingIsBroughtBack) {
  for (const char* const in_its_place : {"nothing", "link", "pipe"}) {
    install_a_third();
    fs::remove_all(fs::path(bundles_file).parent_path());
    fs::remove("ide/configuration/config.ini");
    if (in_its_place == std::string("link")) fs::create_symlink("nowhere", "ide/configuration/config.ini");
    if (in_its_place == std::string("pipe")) {
      ASSERT_EQ(mkfifo("ide/configuration/config.ini", 0600), 0);
    }
    const RepairPlan plan = plan_repair("ide");
    ASSERT_TRUE(plan.to_restore);
    EXPECT_EQ(restore(*plan.to_restore, "ide").size(), 2U);
    EXPECT_EQ(eclipse_base::read_file("ide/configuration/config.ini", 1000).bytes, settings);
    EXPECT_EQ(listed_bundles("ide").size(), 2U);
    EXPECT_EQ(in_its_place != std::string("nothing"), fs::exists(fs::symlink_status("ide/configuration/config.ini.damaged")));
    fs::remove("ide/configuration/config.ini.damaged");
  }
}

TEST_F(ConfigurationFiles, OnlyWhatDiffersIsBroughtBackAndIsAsPrivateAsTheCopy) {
  install_a_third();
  write_list({"a", "b"});
  fs::permissions(bundles_file, fs::perms(0600));
  back_up_configuration("ide", "2");
  fs::remove(bundles_file);
  const auto kept = configuration_backup("ide");
  ASSERT_TRUE(kept);
  const fs::path list = fs::path("ide") / bundle_list;
  EXPECT_EQ(differing_files(*kept, "ide"), std::vector<fs::path>{list});
  EXPECT_EQ(restore(*kept, "ide"), std::vector<fs::path>{list});
  EXPECT_EQ(fs::status(list).permissions(), fs::perms(0600));
}

TEST_F(ConfigurationFiles, AnInstanceWithoutAConfigurationHasACopyToo) {
  fake::write_file("ide/artifacts.xml", "<repository/>");
  back_up_configuration("ide", "1");
  EXPECT_EQ(configuration_backup("ide")->files, std::vector<fs::path>{"artifacts.xml"});
}

TEST_F(ConfigurationFiles, ACopyIsFoundAmongOtherFiles) {
  install_a_third();
  const std::string copies = "ide/configuration/.eclipse-int.kept/";
  fs::rename(copies + "1", "kept");
  for (int i = 0; i < 20; ++i) fake::write_file(copies + "a" + std::to_string(i), "");
  fs::rename("kept", copies + "1");
  for (int i = 0; i < 20; ++i) fake::write_file(copies + "b" + std::to_string(i), "");
  ASSERT_TRUE(configuration_backup("ide"));
  EXPECT_EQ(configuration_backup("ide")->time, "1");
  back_up_configuration("ide", "2");
  EXPECT_EQ(std::distance(fs::directory_iterator(copies), {}), 1);
}

TEST_F(ConfigurationFiles, WhatCannotBeReadOrWrittenIsNamed) {
  install_a_third();
  const auto error_of = [](const std::function<void()>& action) -> std::string {
    const fake::NotAdministrator not_administrator;
    try {
      action();
    } catch (const eclipse_base::FileError& error) {
      return error.what();
    }
    return "";
  };
  fs::permissions(".", fs::perms(0755));
  const auto kept = configuration_backup("ide");
  ASSERT_TRUE(kept);
  const std::string directory_of_list = fs::path(bundles_file).parent_path().string();
  fs::permissions("ide/configuration", fs::perms(0777));
  fs::permissions("ide/configuration/.eclipse-int.kept", fs::perms(0777));
  fs::permissions(directory_of_list, fs::perms::none);
  EXPECT_EQ(error_of([] { back_up_configuration("ide", "3"); }), bundles_file + ": cannot be read: Permission denied");
  fs::permissions(directory_of_list, fs::perms(0755));
  fs::remove_all(directory_of_list);
  fs::permissions("ide/configuration", fs::perms(0555));
  EXPECT_EQ(error_of([&] { restore(*kept, "ide"); }),
            directory_of_list + ": cannot be written: Permission denied; make it writable for this user");
  fs::permissions("ide/configuration", fs::perms(0755));
  fs::resize_file(kept->directory / configuration_file, std::uintmax_t{6} << 30U);
  EXPECT_EQ(error_of([&] { differing_files(*kept, "ide"); }),
            (kept->directory / configuration_file).string() + ": is larger than 256 MiB; restore the file from a backup");
}

/// It would take files of one state and others of another.
TEST_F(ConfigurationFiles, AllFilesAreBroughtBackOrNone) {
  install_a_third();
  fake::write_file("ide/configuration/config.ini", "mine=1\n");
  const auto kept = configuration_backup("ide");
  ASSERT_TRUE(kept);
  fs::remove_all(fs::path(bundles_file).parent_path());
  fake::write_file(fs::path(bundles_file).parent_path().string(), "in the way");
  EXPECT_THROW(restore(*kept, "ide"), eclipse_base::FileError);
  EXPECT_EQ(eclipse_base::read_file("ide/configuration/config.ini", 1000).bytes, "mine=1\n");
}

TEST_F(ConfigurationFiles, TheProfileShowsThatTheInstanceStartsFromTheFiles) {
  const auto write_state_in = [&](const std::string& folder, const std::string& bundle) {
    fake::write_file(file("1"), "<profile><properties><property name='org.eclipse.equinox.p2.installFolder' value='" + folder +
                                    "'/></properties><units><unit id='" + bundle +
                                    "' version='1.0.0'><artifacts><artifact classifier='osgi.bundle' id='" + bundle +
                                    "' version='1.0.0'/></artifacts></unit></units></profile>");
  };
  const std::string configurator = "org.eclipse.equinox.simpleconfigurator";
  const std::string here = directory.path() + "/ide";
  write_state_in(here, configurator);
  EXPECT_EQ(damage(), "ide/configuration/config.ini is missing, so every director fails" + no_fix + " (fatal)");
  fake::write_file("ide/configuration/config.ini", settings);
  EXPECT_EQ(damage(), bundles_file + " is missing, so Eclipse no longer starts once a director has run" + no_fix + " (fatal)");
  fake::write_file("ide/configuration/config.ini", settings + configurator + ".configUrl=file\\:elsewhere/bundles.info\n");
  EXPECT_EQ(damage(), "") << "its list is elsewhere";
  fake::write_file("ide/configuration/config.ini", settings);
  write_state_in(directory.path() + "/elsewhere", configurator);
  EXPECT_EQ(damage(), "") << "it was installed elsewhere, or moved";
  write_state_in(here, "another.configurator");
  EXPECT_EQ(damage(), "");
  fs::remove("ide/configuration/config.ini");
  EXPECT_EQ(damage(), "");
}

TEST_F(ConfigurationFiles, WhatADirectorIsWritingIsNotDamaged) {
  install_a_third();
  fake::write_file("ide/configuration/config.ini", "");
  ProfileStates states;
  {
    const InstanceLock lock("ide", std::chrono::seconds(0), {});
    const DamageSeen seen = damage_seen("ide/eclipse", states);
    EXPECT_FALSE(seen.damage);
    EXPECT_TRUE(seen.at_work.starts_with("another director is at work on ide (started by process ")) << seen.at_work;
    fake::write_file("ide/configuration/config.ini", settings);
    EXPECT_EQ(damage_seen("ide/eclipse", states).at_work, "") << "nothing seems damaged";
  }
  fake::write_file("ide/configuration/config.ini", "");
  EXPECT_TRUE(damage_seen("ide/eclipse", states).damage);
}

TEST_F(ConfigurationFiles, AnEmptyConfigurationEndsEveryDirector) {
  install_a_third();
  for (const std::string content : {"", "#comment\n", "\n"}) {
    fake::write_file("ide/configuration/config.ini", content);
    EXPECT_EQ(damage(), "ide/configuration/config.ini has no settings, so every director fails" + fix + " (fatal)");
  }
  fs::remove("ide/configuration/config.ini");
  back_up_configuration("ide", "2");
  fake::write_file("ide/configuration/config.ini", "");
  EXPECT_EQ(damage(), "ide/configuration/config.ini has no settings, so every director fails" + no_fix + " (fatal)")
      << "the copy has none";
  EXPECT_FALSE(plan_repair("ide").to_restore);
  fs::remove_all("ide/configuration/.eclipse-int.kept");
  EXPECT_EQ(damage(), "ide/configuration/config.ini has no settings, so every director fails" + no_fix + " (fatal)");
}

TEST_F(ConfigurationFiles, AListThatWasCutEndsEveryDirector) {
  install_a_third();
  write_list({});
  EXPECT_EQ(damage(), bundles_file +
                          " lists 0 of the 3 bundles that the p2 profile lists as installed, so every director fails" + fix +
                          " (fatal)");
  write_list({"a"});
  EXPECT_EQ(damage(), bundles_file +
                          " lists 1 of the 3 bundles that the p2 profile lists as installed, so every director fails" + fix +
                          " (fatal)");
}

TEST_F(ConfigurationFiles, ABundleThatCameAndIsNotListedIsNotStarted) {
  install_a_third();
  write_list({"a", "b"});
  const std::string text =
      bundles_file + " does not list c/1.0.0, although the p2 profile lists it as installed, so Eclipse does not start it";
  EXPECT_EQ(damage(), text + fix);
  write_state("3", {"a", "b", "c"});
  EXPECT_EQ(damage(), text + fix) << "a later run finds nothing to do";
  fs::remove_all("ide/configuration/.eclipse-int.kept");
  EXPECT_EQ(damage(), text + fix + " --to 1");
  back_up_configuration("ide", "3");
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
  const auto write_state_of = [&](const std::string& folder, const std::string& roaming = "false") {
    fake::write_file(file("2"), "<profile><properties><property name='org.eclipse.equinox.p2.installFolder' value='" + folder +
                                    "'/><property name='org.eclipse.equinox.p2.roaming' value='" + roaming +
                                    "'/></properties>" + state.substr(std::string("<profile>").size()));
  };
  write_list({"a", "b"});
  write_state_of(directory.path() + "/ide");
  EXPECT_NE(damage(), "");
  write_state_of(directory.path() + "/elsewhere");
  EXPECT_EQ(damage(), "");
  write_state_of(directory.path() + "/elsewhere", "true");
  EXPECT_NE(damage(), "") << "it was copied from there, with its damage";
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
  EXPECT_EQ(plan.unit_counts, (std::vector<std::size_t>{4, 4, 3}));
  ASSERT_EQ(plan.reverted.size(), 1U);
  EXPECT_EQ(plan.reverted.front().time, "2");
  const auto to_rename = states_to_rename(plan.states, plan.to);
  ASSERT_TRUE(plan.to_restore && to_rename.size() == 2);
  EXPECT_EQ(to_rename[0].time, "3");
  EXPECT_EQ(to_rename[1].time, "2");
  EXPECT_EQ(plan.to_restore->time, "1");
  const fs::path list = fs::path("ide") / bundle_list;
  EXPECT_EQ(differing_files(*plan.to_restore, "ide"), (std::vector<fs::path>{"ide/configuration/config.ini", list}));
  for (const ProfileState& state : to_rename) rename_aside(state);
  EXPECT_EQ(restore(*plan.to_restore, "ide"), (std::vector<fs::path>{"ide/configuration/config.ini", list}));
  EXPECT_EQ(eclipse_base::read_file("ide/configuration/config.ini", 1000).bytes, settings);
  EXPECT_EQ(listed_bundles("ide"), (std::set<Unit>{{"a", "1.0.0"}, {"b", "1.0.0"}}));
  EXPECT_EQ(differing_files(*plan.to_restore, "ide"), std::vector<fs::path>());
  EXPECT_EQ(damage(), "");
}

TEST_F(ConfigurationFiles, ASoundInstanceKeepsItsConfiguration) {
  install_a_third();
  EXPECT_FALSE(plan_repair("ide").to_restore);
  const RepairPlan back = plan_repair("ide", "1");
  EXPECT_TRUE(back.to_restore) << "which goes with the state that is asked for";
  EXPECT_FALSE(plan_repair("ide", "2").to_restore);
}

TEST_F(ConfigurationFiles, ACopyWhoseStateIsGoneIsOfNoUse) {
  install_a_third();
  fs::remove(file("1"));
  fake::write_file("ide/configuration/config.ini", "");
  EXPECT_EQ(damage(), "ide/configuration/config.ini has no settings, so every director fails" + no_fix + " (fatal)");
  EXPECT_FALSE(plan_repair("ide").to_restore);
}

TEST_F(ConfigurationFiles, OnlyTheLastCopyIsKept) {
  install_a_third();
  fs::create_directories("ide/configuration/.eclipse-int.kept/incomplete");
  back_up_configuration("ide", "2");
  const auto kept = configuration_backup("ide");
  ASSERT_TRUE(kept);
  EXPECT_EQ(kept->time, "2");
  EXPECT_EQ(std::distance(fs::directory_iterator("ide/configuration/.eclipse-int.kept"), {}), 1);
  EXPECT_EQ(differing_files(*kept, "ide"), std::vector<fs::path>());
}

TEST_F(ConfigurationFiles, ACopyThatIsNotCompleteDoesNotCount) {
  fs::create_directories("ide/configuration/.eclipse-int.kept/incomplete");
  EXPECT_FALSE(configuration_backup("ide"));
}

TEST_F(ConfigurationFiles, ALinkIsNotFollowedOutOfTheInstance) {
  install_a_third();
  fs::remove_all("ide/configuration/.eclipse-int.kept");
  fs::create_directories("elsewhere/other");
  fs::create_directory_symlink("../../elsewhere", "ide/configuration/.eclipse-int.kept");
  back_up_configuration("ide", "2");
  EXPECT_TRUE(fs::exists("elsewhere/other"));
  EXPECT_EQ(configuration_backup("ide")->time, "2");
}

TEST_F(ConfigurationFiles, ACopyThatCannotBeKeptIsAnError) {
  install_a_third();
  fs::remove_all("ide/configuration/.eclipse-int.kept");
  fake::write_file("ide/configuration/.eclipse-int.kept", "");
  try {
    back_up_configuration("ide", "2");
    FAIL() << "kept";
  } catch (const eclipse_base::FileError& error) {
    EXPECT_STREQ(
        error.what(),
        "ide/configuration/.eclipse-int.kept: cannot be written: Not a directory; make it a directory that this user can "
        "write, or rename it");
  }
}

TEST_F(ConfigurationFiles, ACopyOfAFileThatIsTooLargeIsNotBegun) {
  install_a_third();
  fake::write_file("ide/artifacts.xml", "");
  fs::resize_file("ide/artifacts.xml", std::uintmax_t{6} << 30U);
  try {
    back_up_configuration("ide", "2");
    FAIL() << "kept";
  } catch (const eclipse_base::NoSpace& error) {
    FAIL() << error.what();
  } catch (const eclipse_base::FileError& error) {
    EXPECT_STREQ(error.what(),
                 "ide/artifacts.xml: is larger than 256 MiB; restore it from a backup, or make it readable for this user");
  }
  EXPECT_FALSE(fs::exists("ide/configuration/.eclipse-int.kept/incomplete"));
  EXPECT_EQ(configuration_backup("ide")->time, "1") << "the older copy stays";
}

TEST_F(ConfigurationFiles, ACopyIsAsPrivateAsTheFile) {
  install_a_third();
  const auto only_owner = fs::perms::owner_read | fs::perms::owner_write;
  fs::permissions("ide/configuration/config.ini", only_owner);
  back_up_configuration("ide", "2");
  EXPECT_EQ(fs::status("ide/configuration/.eclipse-int.kept/2/configuration/config.ini").permissions(), only_owner);
}

TEST_F(ConfigurationFiles, ACopyThatTheAdministratorKeepsBelongsToTheOwnerOfTheInstance) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make files another user's";
  install_a_third();
  fs::remove_all("ide/configuration/.eclipse-int.kept");
  ASSERT_EQ(chown("ide/configuration", 65534, 65533), 0);
  ASSERT_EQ(chown(bundles_file.c_str(), 65534, 65533), 0);
  back_up_configuration("ide", "2");
  const auto is_given = [](const fs::path& file) {
    struct stat status {};
    return stat(file.c_str(), &status) == 0 && status.st_uid == 65534 && status.st_gid == 65533;
  };
  const fs::path copies = "ide/configuration/.eclipse-int.kept";
  EXPECT_TRUE(is_given(copies));
  for (const auto& entry : fs::recursive_directory_iterator(copies)) {
    EXPECT_TRUE(!entry.is_directory() || is_given(entry.path())) << entry.path();
  }
  EXPECT_TRUE(is_given(copies / "2" / fs::path(bundles_file).lexically_relative("ide")));
}

TEST_F(ConfigurationFiles, BundlesThatOnlyOneStateHasAreLeft) {
  install_a_third();
  const auto left = orphaned_bundles("ide", read_profile_state(file("2")), read_profile_state(file("1")));
  EXPECT_EQ(left, (std::vector<Unit>{{"c", "1.0.0"}}));
  write_list({"a", "b"});
  EXPECT_EQ(orphaned_bundles("ide", read_profile_state(file("2")), read_profile_state(file("1"))), std::vector<Unit>());
}

TEST_F(ConfigurationFiles, ARenamedStateStopsEveryChange) {
  install_a_third();
  const auto write_renamed = [](const std::string& time, const std::string& recorded) {
    fake::write_file(file(time), "<profile timestamp='" + recorded + "'><units/></profile>");
  };
  const std::string text =
      "the newest state of the p2 profile, " + file("9") + ", was written at another time, 3, so every change fails; ";
  fs::remove(bundles_file);
  write_renamed("9", "3");
  EXPECT_EQ(damage(), text + "rename it to 3.profile (fatal)");
  write_state("3", {"a"});
  EXPECT_EQ(damage(), text + "run: eclipse-int repair ide/eclipse --to 3 (fatal)") << "there is one";
  fs::remove(file("9"));
  fs::remove(file("3"));
  write_list({"a", "b", "c"});
  fake::write_file(file("99999999999999"), eclipse_base::read_file(file("2"), 10000).bytes);
  EXPECT_EQ(damage(), "") << "a clock that was set back";
}

TEST_F(ConfigurationFiles, AFileWithTheNameOfAStateStopsEveryChange) {
  install_a_third();
  const std::string profile = fs::path(file("1")).parent_path().string() + "/";
  for (const std::string name :
       {"abc.profile", "abc.profile.gz", ".profile", "99999999999999999999.profile.gz", "12 .profile"}) {
    fake::write_file(profile + name, "");
    EXPECT_EQ(damage(),
              profile + name +
                  " ends like a state of the p2 profile, but its name does not begin with a time, so every change fails" + fix +
                  " (fatal)");
    fs::remove(profile + name);
  }
  for (const std::string name : {"abc.profile.bak", "12.profile.damaged", "12.PROFILE", "+0.profile", "012.profile.txt"}) {
    fake::write_file(profile + name, "");
    EXPECT_EQ(damage(), "") << name;
  }
  fs::create_directory(profile + "abc.profile");
  EXPECT_EQ(damage(), "");
}

/// A repair that ended before it brought the configuration back leaves them.
TEST_F(ConfigurationFiles, BundlesThatOnlyRenamedStatesHaveAreDamage) {
  install_a_third();
  write_list({"a", "b", "c", "mine"});
  rename_aside(read_profile_state(file("2")));
  const std::string text = bundles_file +
                           " lists c/1.0.0, which only states that were renamed contain, so Eclipse keeps starting "
                           "bundles that no director can remove; ";
  EXPECT_EQ(damage(), text + "run: eclipse-int repair ide/eclipse");
  RepairPlan plan = plan_repair("ide");
  EXPECT_TRUE(plan.to_restore && states_to_rename(plan.states, plan.to).empty());
  const std::string by_hand =
      "rename the .damaged states back, and use \"eclipse-int undo --to\", which lets the director remove them";
  write_list({"a", "b", "c"});
  back_up_configuration("ide", "1");
  write_list({"a", "b", "c", "d"});
  write_state("4", {"a", "b", "c", "d"});
  rename_aside(read_profile_state(file("4")));
  EXPECT_FALSE(plan_repair("ide").to_restore) << "the copy lists one of them as well";
  write_list({"a", "b", "c", "mine"});
  write_state("3", {"a", "b"});
  EXPECT_EQ(damage(), text + by_hand) << "the copy is older";
  EXPECT_FALSE(plan_repair("ide").to_restore);
  back_up_configuration("ide", "3");
  EXPECT_EQ(damage(), text + by_hand) << "and lists it as well";
  write_list({"a", "b", "mine"});
  EXPECT_EQ(damage(), "") << "a person has listed the other one";
}

TEST_F(ConfigurationFiles, AListOfArtifactsThatCannotBeReadIsStartedAnew) {
  install_a_third();
  fs::remove_all("ide/configuration/.eclipse-int.kept");
  fake::write_file("ide/artifacts.xml", "<repository><artifacts/></repository>");
  EXPECT_EQ(damage(), "");
  fake::write_file("ide/artifacts.xml", "<repository><arti");
  const std::string text = "ide/artifacts.xml is not well-formed XML, so the next director starts a new list of artifacts";
  EXPECT_EQ(damage(), text + no_fix) << "which is no reason to start none";
  install_a_third();
  EXPECT_EQ(damage(), text + no_fix) << "the copy has none";
  EXPECT_FALSE(plan_repair("ide").to_restore);
  fake::write_file("ide/artifacts.xml", "<repository><artifacts/></repository>");
  back_up_configuration("ide", "1");
  fake::write_file("ide/artifacts.xml", "<repository><arti");
  EXPECT_EQ(damage(), text + fix + " (fatal)");
  fs::remove("ide/artifacts.xml");
  EXPECT_EQ(damage(), "ide/artifacts.xml is missing, so the next director starts a new list of artifacts" + fix + " (fatal)");
  fake::write_file("ide/artifacts.xml", "<repository/>");
  EXPECT_EQ(damage(), "") << "p2 or a person has written it";
  fake::write_file("ide/configuration/.eclipse-int.kept/1/artifacts.xml", "<repository><arti");
  fake::write_file("ide/artifacts.xml", "");
  EXPECT_NE(damage().find(no_fix), std::string::npos) << "the copy is no better: " << damage();
}

/// Without it, nobody can change the instance again.
class DirectorBundle : public ConfigurationFiles {
 protected:
  DirectorBundle() {
    fake::write_file("ide/configuration/config.ini", settings);
    write_state("1", {});
    write_state("2", {"a", "b", director});
    write_list({"a", "b", director});
  }

  const std::string director = "org.eclipse.equinox.p2.director.app";
  const std::string unlisted = bundles_file + " does not list " + director +
                               "/1.0.0, although the p2 profile lists it as installed, so Eclipse does not start it";
};

TEST_F(DirectorBundle, IsBroughtBackWithTheCopy) {
  back_up_configuration("ide", "2");
  write_state("3", {"a", "b", director, "c"});
  write_list({"a", "b", "c"});
  EXPECT_EQ(damage(), unlisted + fix) << "the state without it is older than the copy";
  EXPECT_TRUE(plan_repair("ide").to_restore);
}

TEST_F(DirectorBundle, IsNotGivenUpForAStateWithoutIt) {
  write_list({"a", "b"});
  EXPECT_EQ(damage(), unlisted + no_fix);
  EXPECT_NE(why_not_newest("ide", read_profile_state(file("1"))), "");
  EXPECT_EQ(why_not_newest("ide", read_profile_state(file("2"))), "");
  write_list({"a", "b", director});
  fake::write_file(file("2"), "<profile><un");
  EXPECT_NE(why_not_newest("ide", read_profile_state(file("1"))), "") << "it is listed, so the damaged state had it";
  write_list({"a", "b"});
  EXPECT_EQ(why_not_newest("ide", read_profile_state(file("1"))), "");
  const ProfileState older = read_profile_state(file("1"));
  fake::write_file(file("1"), "<profile><un");
  EXPECT_EQ(why_not_newest("ide", older), "") << "no state can be read";
}

TEST_F(DirectorBundle, IsNotGivenUpForUnitsThatSeemLost) {
  write_state("3", {"a", "b", "c", "d", "e", "g", "h"});
  write_state("4", {director});
  write_list({"a", "b", "c", "d", "e", "g", "h", director});
  EXPECT_FALSE(lost_units("ide", newest_states("ide")));
}

}  // namespace

}  // namespace eclipse_instance
