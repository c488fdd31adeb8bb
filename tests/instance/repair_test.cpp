
#include <gtest/gtest.h>

#include <filesystem>

#include "fake_host/temporary_directory.h"
#include "instance/damage.h"
#include "instance/lock.h"
#include "instance/profile_history.h"
#include "instance/repair.h"
#include "shell/command_runner.h"

using namespace eclipse_p2;

namespace eclipse_instance {

namespace {

namespace fs = std::filesystem;

using Times = std::vector<std::string>;

class ProfileRepair : public testing::Test {
 protected:
  static std::string file(const std::string& time) {
    return "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/" + time + ".profile";
  }

  /// A state with so many units, named b1, b2, ...
  static void write_state(const std::string& time, int units) {
    std::string text = "<profile><units>";
    for (int i = 1; i <= units; ++i) text += "<unit id='b" + std::to_string(i) + "' version='1.0.0'/>";
    fake::write_file(file(time), text + "</units></profile>");
  }

  static void write_damaged(const std::string& time) { fake::write_file(file(time), "<profile><un"); }

  static void write_bundles(int number) {
    std::string text = "#encoding=UTF-8\n#version=1\n";
    for (int i = 1; i <= number; ++i) text += "b" + std::to_string(i) + ",1.0.0,plugins/b.jar,4,false\n";
    fake::write_file("ide/configuration/org.eclipse.equinox.simpleconfigurator/bundles.info", text);
  }

  static Times times_of(const std::vector<ProfileState>& states) {
    Times times;
    for (const ProfileState& state : states) times.push_back(state.time);
    return times;
  }

  static Times to_rename(const std::optional<std::string>& to = {}) {
    return times_of(states_to_rename(plan_repair("ide", to).states, to));
  }

  /// Why nothing is moved.
  static std::string refusal(const std::optional<std::string>& to = {}) {
    try {
      to_rename(to);
    } catch (const RepairError& error) {
      return error.what();
    }
    return "";
  }

  /// What is wrong with the profile, and the fix.
  static std::string damage() {
    const auto damage = instance_damage("ide/eclipse");
    return damage ? damage->message + "; " + damage->fix + (damage->is_fatal ? " (fatal)" : "") : "";
  }

  static std::optional<LostUnits> lost() { return lost_units("ide", newest_states("ide")); }

  const fake::TemporaryDirectory directory;
};

TEST_F(ProfileRepair, SoundProfileIsLeftAsItIs) {
  write_state("10", 3);
  write_state("9", 2);
  EXPECT_EQ(to_rename(), Times());
  EXPECT_EQ(damage(), "");
}

TEST_F(ProfileRepair, DamagedStatesAreMovedAsFarAsTheNewestThatCanBeRead) {
  write_damaged("12");
  fake::write_file(file("11") + ".gz", "\x1f\x8b\x08half");
  write_state("10", 3);
  write_damaged("9");
  write_state("8", 3);
  EXPECT_EQ(to_rename(), (Times{"12", "11"}));
  const auto states = newest_states("ide");
  EXPECT_EQ(times_of(states), (Times{"12", "11", "10", "9", "8"}));
  EXPECT_EQ(states[0].error, "is not well-formed XML");
  EXPECT_EQ(states[1].error, "is damaged");
  EXPECT_EQ(states[2].error, "");
  EXPECT_EQ(states[2].units->size(), 3U);
  EXPECT_EQ(damage(), "the newest state of the p2 profile, " + file("12") +
                          ", is not well-formed XML, so every director fails; run: eclipse-int repair ide/eclipse (fatal)");
}

TEST_F(ProfileRepair, TheLastStateIsNotMovedWhenNoneCanBeRead) {
  write_damaged("12");
  write_damaged("11");
  EXPECT_EQ(refusal(),
            "no state of the p2 profile in ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile can be read");
}

TEST_F(ProfileRepair, AnInstanceWithoutAProfileHasNothingToMove) {
  EXPECT_EQ(to_rename(), Times());
  EXPECT_EQ(damage(), "");
}

TEST_F(ProfileRepair, GoesBackToAStateThatIsNamed) {
  for (const char* const time : {"14", "13", "12", "11"}) write_state(time, 3);
  write_damaged("10");
  EXPECT_EQ(to_rename("14"), Times());
  EXPECT_EQ(to_rename("11"), (Times{"14", "13", "12"}));
  EXPECT_EQ(refusal("10"), file("10") + " is not well-formed XML");
  EXPECT_EQ(refusal("7"), "the profile has no state of the time 7; \"eclipse-int history\" lists them");
}

/// There may be thousands.
TEST_F(ProfileRepair, KeepsNotTheUnitsOfAllStates) {
  int units = 5;
  for (const char* const time : {"14", "13", "12", "11", "10"}) write_state(time, units--);
  const RepairPlan plan = plan_repair("ide", "11");
  EXPECT_EQ(times_of(plan.states), (Times{"14", "13", "12", "11"}));
  EXPECT_EQ(plan.unit_counts, (std::vector<std::size_t>{5, 4, 3, 2}));
  std::string kept;
  for (const ProfileState& state : plan.states) kept += state.units ? "+" : "-";
  EXPECT_EQ(kept, "+--+");
  ASSERT_EQ(plan.reverted.size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(plan.reverted[i].time, plan.states[i].time);
    EXPECT_EQ(plan.reverted[i].change.others_installed, 1U) << i;
  }
  EXPECT_TRUE(plan_repair("ide", "7").reverted.empty());
}

TEST_F(ProfileRepair, ReadsNoMoreStatesThanItNeeds) {
  for (const char* const time : {"14", "13", "12", "11"}) write_state(time, 3);
  write_damaged("15");
  const RepairPlan plan = plan_repair("ide");
  EXPECT_EQ(times_of(plan.states), (Times{"15", "14", "13"}));
  EXPECT_EQ(plan.unit_counts, (std::vector<std::size_t>{0, 3, 3}));
  EXPECT_TRUE(plan.reverted.empty());
}

TEST_F(ProfileRepair, NamesPathsInPrintableCharacters) {
  EXPECT_EQ(repair_command("a\x1B/eclipse", "1"), "eclipse-int repair 'a\\x1B/eclipse' --to 1");
  const std::vector<ProfileState> states = {{"d\x1B/1.profile", "1", "is damaged", true, {}}};
  const auto why = [&](const std::optional<std::string>& to) -> std::string {
    try {
      states_to_rename(states, to);
    } catch (const RepairError& error) {
      return error.what();
    }
    return "";
  };
  EXPECT_EQ(why("1"), "d\\x1B/1.profile is damaged");
  EXPECT_EQ(why({}), "no state of the p2 profile in d\\x1B can be read");
}

TEST_F(ProfileRepair, RenamesAndOverwritesNothing) {
  for (const std::string number : {"", ".2", ".3"}) {
    write_damaged("12");
    EXPECT_EQ(rename_aside(newest_states("ide").front()), file("12") + ".damaged" + number);
  }
  EXPECT_EQ(to_rename(), Times());
  write_state("10", 3);
  EXPECT_EQ(times_of(newest_states("ide")), Times{"10"});
}

TEST_F(ProfileRepair, SaysWhyAStateCannotBeMoved) {
  EXPECT_THROW(rename_aside({"missing/1.profile", "1", "", false, {}}), RepairError);
}

TEST_F(ProfileRepair, FindsTheUnitsThatTwoDirectorsLost) {
  write_bundles(80);
  write_state("10", 93);
  write_state("11", 4);
  const auto found = lost();
  ASSERT_TRUE(found);
  EXPECT_EQ(found->units, 4U);
  EXPECT_EQ(found->before, 93U);
  EXPECT_EQ(found->bundles, 76U);
  EXPECT_EQ(found->time_before, "10");
  EXPECT_EQ(damage(),
            "the newest state of the p2 profile, " + file("11") +
                ", has 4 units, the state before it 93, but bundles.info still lists 76 bundles of the missing ones, as if "
                "two directors had worked at the same time; run: eclipse-int repair ide/eclipse --to 10");
}

/// Repairing what only this user may not read would lose it.
TEST_F(ProfileRepair, AStateThatIsUnknownIsNotMoved) {
  write_state("10", 3);
  fs::create_directory(file("11"));
  EXPECT_EQ(refusal(), file("11") + " is not a regular file");
  write_damaged("12");
  EXPECT_EQ(refusal(), file("11") + " is not a regular file");
  EXPECT_EQ(to_rename("10"), (Times{"12", "11"})) << "on request";
}

TEST_F(ProfileRepair, AStateThatIsBeingWrittenIsNotDamaged) {
  write_damaged("12");
  fs::create_directory("ide/configuration");
  ProfileStates states;
  EXPECT_TRUE(instance_damage_at_rest("ide/eclipse", states));
  const InstanceLock lock("ide", std::chrono::seconds(0), [](const std::string&) {});
  EXPECT_FALSE(instance_damage_at_rest("ide/eclipse", states));
  EXPECT_TRUE(instance_damage("ide/eclipse"));
}

TEST_F(ProfileRepair, AStateThatWasBeingWrittenIsReadAgain) {
  write_state("10", 3);
  write_damaged("12");
  fs::create_directory("ide/configuration");
  ProfileStates states;
  EXPECT_TRUE(instance_damage("ide/eclipse", states));
  fs::copy_file(file("10"), file("12"), fs::copy_options::overwrite_existing);
  EXPECT_TRUE(instance_damage("ide/eclipse", states)) << "it is read once";
  EXPECT_FALSE(instance_damage_at_rest("ide/eclipse", states));
  EXPECT_FALSE(instance_damage("ide/eclipse", states));
}

TEST_F(ProfileRepair, TheFixIsACommandWhateverThePathIs) {
  write_damaged("12");
  fs::rename("ide", "my ide's");
  EXPECT_EQ(instance_damage("my ide's/eclipse")->fix, "run: eclipse-int repair 'my ide'\\''s/eclipse'");
}

TEST_F(ProfileRepair, ARemovalLosesNoUnits) {
  write_state("10", 93);
  write_state("11", 4);
  write_bundles(4);
  EXPECT_FALSE(lost()) << "bundles.info has followed";
  write_bundles(80);
  write_state("12", 47);
  EXPECT_FALSE(lost()) << "4 units before it";
  write_state("13", 24);
  EXPECT_FALSE(lost()) << "more than half of the 47";
}

TEST_F(ProfileRepair, AProfileWithOneStateHasLostNothing) {
  write_bundles(80);
  write_state("11", 4);
  EXPECT_FALSE(lost());
  write_damaged("12");
  EXPECT_FALSE(lost());
}

TEST(RepairPlanTest, MoreThanOneRunIsUndoneOnlyWhenAPersonNamesTheState) {
  const auto plan_that_reverts = [](const std::vector<std::optional<RecordedRun>>& runs) {
    RepairPlan plan{"1", {}, {}, {}, {}, {}};
    for (const auto& run : runs) plan.reverted.push_back({run ? run->after : "5", run, {}});
    return plan;
  };
  const RecordedRun first{"run", "1", "2", {}, {}};
  const RecordedRun second{"run", "2", "3", {}, {}};
  EXPECT_EQ(too_much_reverted(plan_that_reverts({})), "");
  EXPECT_EQ(too_much_reverted(plan_that_reverts({first, first})), "") << "two states of one run";
  EXPECT_EQ(too_much_reverted(plan_that_reverts({second, first})),
            "this would revert the instance to the state 1, and undo 2 runs; use --to 1 to accept that");
  EXPECT_EQ(too_much_reverted(plan_that_reverts({first, std::nullopt})),
            "this would revert the instance to the state 1, and undo changes that were made outside eclipse-int; use --to 1 to "
            "accept that");
}

}  // namespace

}  // namespace eclipse_instance
