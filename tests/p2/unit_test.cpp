// What the director takes the name of a unit for.
#include "p2/unit.h"

#include <gtest/gtest.h>

using namespace eclipse_p2;

namespace {

TEST(UnitName, IsAnIdWithOrWithoutAVersion) {
  EXPECT_EQ(unit_called("a"), (Unit{"a", ""}));
  EXPECT_EQ(unit_called("a/1.0.0"), (Unit{"a", "1.0.0"}));
  EXPECT_EQ(unit_called(""), (Unit{"", ""}));
}

TEST(UnitName, HasTheFirstPartAfterTheIdAsVersion) {
  EXPECT_EQ(unit_called("a/"), (Unit{"a", ""}));
  EXPECT_EQ(unit_called("a//"), (Unit{"a", ""}));
  EXPECT_EQ(unit_called("a//1.0.0"), (Unit{"a", "1.0.0"}));
  EXPECT_EQ(unit_called("a/1.0.0/2"), (Unit{"a", "1.0.0"}));
  EXPECT_EQ(unit_called("a/ 1.0.0 "), (Unit{"a", "1.0.0"}));
  EXPECT_EQ(unit_called("/a"), (Unit{"", "a"}));
}

TEST(Unit, IsPinnedByAVersionOtherThanZero) {
  EXPECT_FALSE(is_pinned({"a", ""}));
  EXPECT_FALSE(is_pinned({"a", "0.0.0"}));
  EXPECT_FALSE(is_pinned({"a", "0"}));
  EXPECT_TRUE(is_pinned({"a", "0.0.1"}));
  EXPECT_TRUE(is_pinned({"a", "0.0.0.q"}));
}

TEST(Unit, IsWantedInTheVersionThatItIsPinnedTo) {
  EXPECT_TRUE(is_wanted({"a", ""}, {"a", "1.0.0"}));
  EXPECT_TRUE(is_wanted({"a", "0.0.0"}, {"a", "1.0.0"}));
  EXPECT_FALSE(is_wanted({"a", ""}, {"b", "1.0.0"}));
  EXPECT_TRUE(is_wanted({"a", "1"}, {"a", "1.0.0"}));
  EXPECT_TRUE(is_wanted({"a", "1.0"}, {"a", "1.0.0"}));
  EXPECT_FALSE(is_wanted({"a", "1.0.1"}, {"a", "1.0.0"}));
  EXPECT_FALSE(is_wanted({"a", "0.0.1"}, {"a", "0.0.0"}));
}

}  // namespace
