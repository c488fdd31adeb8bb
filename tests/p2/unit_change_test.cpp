#include "p2/unit_change.h"

#include <gtest/gtest.h>

namespace eclipse_p2 {

namespace {

const InstalledUnits before = {{{"a", "1.0.0"}, {"b", "1.0.0"}, {"local.ide", "4"}},
                               {{{"a", "1.0.0", {}, true},
                                 {"b", "1.0.0", {}, true},
                                 {"local.ide", "4", {}, true},
                                 {"c", "1.0.0", {"b"}},
                                 {"d", "1.0.0", {"b"}}}}};
const InstalledUnits after = {
    {{"b", "1.0.0"}, {"c", "1.0.0"}, {"e", "1"}},
    {{{"b", "1.0.0", {}, true}, {"c", "1.0.0", {}, true}, {"e", "1", {}, true}, {"a", "1.0.0", {"e"}}, {"f", "1", {"e"}}}}};

TEST(UnitChange, TellsWhatCameInAndWentOut) {
  const UnitChange change = change_between(before, after);
  EXPECT_EQ(change.installed, (std::vector<Unit>{{"e", "1"}}));
  EXPECT_EQ(change.now_by_name, (std::vector<Unit>{{"c", "1.0.0"}}));
  EXPECT_EQ(change.removed, (std::vector<Unit>{{"local.ide", "4"}}));
  EXPECT_EQ(change.no_longer_by_name, (std::vector<Unit>{{"a", "1.0.0"}}));
  EXPECT_EQ(change.others_installed, 1U) << "f";
  EXPECT_EQ(change.others_removed, 1U) << "d";
  EXPECT_TRUE(change_between(after, after).is_empty());
}

TEST(UnitChange, TellsOfRootsWhenNotAllUnitsAreKnown) {
  const UnitChange change = change_between({before.roots, std::nullopt}, {after.roots, std::nullopt});
  EXPECT_EQ(change.installed, (std::vector<Unit>{{"c", "1.0.0"}, {"e", "1"}}));
  EXPECT_EQ(change.others_installed, 0U);
}

}  // namespace

}  // namespace eclipse_p2
