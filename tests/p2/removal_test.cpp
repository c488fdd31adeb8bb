// What a removal meets in an instance. The director of Eclipse 4.26 does the same (tests/verify, tests/lint/director).
#include "p2/removal.h"

#include <gtest/gtest.h>

namespace eclipse_p2 {

namespace {

using Texts = std::vector<std::string>;

const std::vector<InstalledUnit> installed = {{"a", "1.0.0", {}, true},
                                              {"a", "2.0.0", {}, false},
                                              {"b", "1.0.0", {"a"}, false},
                                              {"c", "1.0.0", {"b", "x"}, true},
                                              {"x", "1.0.0", {}, true}};

TEST(RootsOf, AreTheUnitsInstalledByName) {
  EXPECT_EQ(roots_of(installed), (std::vector<Unit>{{"a", "1.0.0"}, {"c", "1.0.0"}, {"x", "1.0.0"}}));
}

TEST(StatesOf, SayWhatIsInstalledOfEachUnit) {
  const auto states = states_of({{"a", "2"}, {"a", ""}, {"a", "3"}, {"b", ""}, {"unknown", ""}}, installed);
  ASSERT_EQ(states.size(), 5U);
  EXPECT_TRUE(states[0].is_installed);
  EXPECT_EQ(states[0].other_versions, Texts{"1.0.0"});
  EXPECT_TRUE(states[1].is_installed);
  EXPECT_EQ(states[1].other_versions, Texts());
  EXPECT_FALSE(states[2].is_installed);
  EXPECT_EQ(states[2].other_versions, (Texts{"1.0.0", "2.0.0"}));
  EXPECT_EQ(states[2].required_by, Texts());
  EXPECT_EQ(states[3].required_by, Texts{"a"});
  EXPECT_FALSE(states[4].is_installed);
  EXPECT_EQ(states_of({{"a", "1"}}, installed).at(0).other_versions, Texts{"2.0.0"});
}

TEST(RemovalOf, NamesTheUnitsThatKeepOthers) {
  const auto removal = removal_of({{"a", ""}, {"b", ""}, {"c", ""}}, roots_of(installed), installed);
  ASSERT_EQ(removal.size(), 3U);
  EXPECT_EQ(removal[1].unit.id, "b");
  EXPECT_EQ(removal[1].kept_by, Texts()) << "what requires it is removed, too";
  EXPECT_EQ(removal[2].state.required_by, (Texts{"b", "x"}));
  EXPECT_EQ(removal[2].kept_by, Texts{"x"});
}

TEST(IdsKeptBy, AreTheRootsAndAllThatTheyRequire) {
  using Ids = std::set<std::string_view>;
  const std::vector<InstalledUnit> units = {{"a", "1", {}},    {"a", "2", {}},    {"b", "1", {"a"}}, {"c", "1", {"b", "x"}},
                                            {"x", "1", {"y"}}, {"y", "1", {"x"}}, {"z", "1", {"z"}}};
  EXPECT_EQ(ids_kept_by({}, units), Ids());
  EXPECT_EQ(ids_kept_by({"a"}, units), (Ids{"a", "b", "c"}));
  EXPECT_EQ(ids_kept_by({"x"}, units), (Ids{"x", "y", "c"}));
  EXPECT_EQ(ids_kept_by({"z", "b"}, units), (Ids{"z", "b", "c"}));
  EXPECT_EQ(ids_kept_by({"unknown"}, units), Ids{"unknown"});
}

}  // namespace

}  // namespace eclipse_p2
