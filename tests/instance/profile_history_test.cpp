#include "instance/profile_history.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "fake_host/temporary_directory.h"

using namespace eclipse_p2;

namespace eclipse_instance {

namespace {

using Times = std::vector<std::string>;

const Times times = {"5", "4", "3", "2", "1"};

RecordedRun run(const std::string& before, const std::string& after, const std::string& reverted_to = "") {
  return {"run to " + after, before, after, reverted_to, {}};
}

/// Every older state has other units than the newest one.
bool never(const std::string& /*time*/) { return false; }

IsAsNow among(const Times& same) {
  return [same](const std::string& time) { return std::find(same.begin(), same.end(), time) != same.end(); };
}

Times commands_of(const WayBack& way) {
  Times commands;
  for (const RecordedRun* const run : way.runs) commands.push_back(run->command);
  return commands;
}

TEST(WayBack, LeadsToTheStateBeforeTheLastRun) {
  const RunJournal journal{{run("1", "3"), run("3", "5")}};
  const WayBack way = way_back(times, journal, never);
  EXPECT_EQ(way.target, "3");
  EXPECT_EQ(commands_of(way), Times{"run to 5"});
  EXPECT_EQ(way.states_of_others, Times());
}

TEST(WayBack, NamesTheStatesOfOthers) {
  const RunJournal journal{{run("1", "3")}};
  const WayBack way = way_back(times, journal, never);
  EXPECT_EQ(way.target, "1");
  EXPECT_EQ(commands_of(way), Times{"run to 3"});
  EXPECT_EQ(way.states_of_others, (Times{"5", "4"}));
}

TEST(WayBack, PassesOverWhatWasUndone) {
  const RunJournal journal{{run("1", "2"), run("2", "3"), run("3", "4", "2")}};
  const WayBack way = way_back({"4", "3", "2", "1"}, journal, never);
  EXPECT_EQ(way.target, "1") << "the run to 3 was undone already";
  EXPECT_EQ(commands_of(way), (Times{"run to 4", "run to 2"}));
  EXPECT_EQ(way.states_of_others, Times());
  EXPECT_EQ(way_back_to({"4", "3", "2", "1"}, journal, "3").target, "3") << "and can be named";
}

TEST(WayBack, PassesOverARunThatTookItselfBack) {
  const RunJournal journal{{run("1", "2"), run("2", "4", "2")}};
  EXPECT_EQ(way_back({"4", "3", "2", "1"}, journal, never).target, "1");
}

TEST(WayBack, PassesOverRunsThatChangedNothing) {
  const RunJournal journal{{run("1", "2"), run("2", "4"), run("4", "5")}};
  const WayBack way = way_back(times, journal, among({"4", "3", "2"}));
  EXPECT_EQ(way.target, "1");
  EXPECT_EQ(commands_of(way), (Times{"run to 5", "run to 4", "run to 2"}));
  EXPECT_NE(way_back(times, journal, among(times)).error, "");
}

TEST(WayBack, PassesOverARunThatSomebodyElseTookBack) {
  const RunJournal journal{{run("1", "2"), run("2", "3")}};
  const WayBack way = way_back({"4", "3", "2", "1"}, journal, among({"2"}));
  EXPECT_EQ(way.target, "1");
  EXPECT_EQ(way.states_of_others, Times{"4"});
}

TEST(WayBack, LeadsToANamedState) {
  const RunJournal journal{{run("2", "3"), run("4", "5")}};
  const WayBack way = way_back_to(times, journal, "2");
  EXPECT_EQ(way.target, "2");
  EXPECT_EQ(commands_of(way), (Times{"run to 5", "run to 3"}));
  EXPECT_EQ(way.states_of_others, Times{"4"});
  EXPECT_EQ(way_back_to(times, journal, "9").error,
            "the profile has no state of the time 9; \"eclipse-int history\" lists them");
}

TEST(WayBack, DoesNotTrustTheOrderInTheFile) {
  const RunJournal journal{{run("5", "5"), run("9", "4"), run("7", "3", "5")}};
  EXPECT_EQ(way_back_to(times, journal, "1").states_of_others, Times{"2"});
}

TEST(WayBack, IsNotThereWithoutARun) {
  EXPECT_EQ(way_back(times, {}, never).error,
            "this instance has no recorded run of eclipse-int that could be undone; choose a state with "
            "--to TIME (\"eclipse-int history\" lists them)");
  EXPECT_EQ(way_back(times, {{}, "FILE: is damaged"}, never).error, "FILE: is damaged");
  EXPECT_NE(way_back({}, {}, never).error, "");
}

TEST(WayBack, EndsWhereTheStateIsGone) {
  EXPECT_EQ(way_back({"5"}, {{run("3", "5")}}, never).error,
            "the profile has no state of the time 3; \"eclipse-int history\" lists them");
}

TEST(ProfileHistory, TellsWhatEachStateChangedAndWhoMadeIt) {
  const fake::TemporaryDirectory directory;
  const auto write = [](const std::string& time, const std::string& units) {
    fake::write_file("ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/" + time + ".profile", units);
  };
  const auto state = [](const std::string& version) {
    return "<profile><units><unit id='a' version='" + version + "'/><unit id='b' version='" + version +
           "'/></units><iusProperties><iuProperties id='a' version='" + version +
           "'><properties><property name='org.eclipse.equinox.p2.type.root' value='true'/></properties></iuProperties>"
           "</iusProperties></profile>";
  };
  write("1", state("1.0.0"));
  write("2", "<profile><un");
  write("3", state("2.0.0"));
  const RunJournal journal{{run("1", "3")}};
  const auto history = profile_history("ide", journal);
  ASSERT_EQ(history.size(), 3U);
  ASSERT_TRUE(history[0].change);
  EXPECT_EQ(history[0].change->installed, (std::vector<Unit>{{"a", "2.0.0"}}));
  EXPECT_EQ(history[0].change->removed, (std::vector<Unit>{{"a", "1.0.0"}}));
  EXPECT_EQ(history[0].change->others_installed, 1U);
  EXPECT_EQ(history[0].change->others_removed, 1U);
  EXPECT_EQ(history[0].run, &journal.runs[0]);
  EXPECT_NE(history[1].state.error, "");
  EXPECT_EQ(history[1].run, &journal.runs[0]) << "a state in the middle of the run";
  EXPECT_FALSE(history[1].change);
  EXPECT_FALSE(history[2].change);
  EXPECT_EQ(history[2].run, nullptr);
}

TEST(ProfileStates, OnlyThoseThatCanBeReadHaveTheSameUnits) {
  const auto state = [](std::vector<InstalledUnit> units) {
    ProfileState read;
    read.units = std::move(units);
    return read;
  };
  const ProfileState one = state({{"a", "1.0.0", {}, true}, {"b", "1.0.0", {}, false}});
  EXPECT_TRUE(has_same_units(one, state({{"b", "1.0.0", {}, false}, {"a", "1.0.0", {}, true}})));
  EXPECT_FALSE(has_same_units(one, state({{"a", "1.0.0", {}, true}})));
  EXPECT_FALSE(has_same_units(one, state({{"a", "1.0.0", {}, true}, {"b", "1.0.0", {}, true}}))) << "b is installed by name";
  ProfileState unread = one;
  unread.error = "cannot be read";
  EXPECT_FALSE(has_same_units(one, unread));
  EXPECT_FALSE(has_same_units(unread, one));
}

}  // namespace

}  // namespace eclipse_instance
