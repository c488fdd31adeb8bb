// That versions which p2 takes for the same are one text.
#include "p2/version.h"

#include <gtest/gtest.h>

using eclipse_p2::whole_version;

namespace {

TEST(WholeVersion, HasThreeNumbersWithoutLeadingZeros) {
  EXPECT_EQ(whole_version("1"), "1.0.0");
  EXPECT_EQ(whole_version("1.2"), "1.2.0");
  EXPECT_EQ(whole_version("01.002.00"), "1.2.0");
  EXPECT_EQ(whole_version("10.20.30"), "10.20.30");
}

TEST(WholeVersion, LeavesTheQualifierAsItIs) {
  EXPECT_EQ(whole_version("1.2.3.v007"), "1.2.3.v007");
  EXPECT_EQ(whole_version("1.2.3.007"), "1.2.3.007");
  EXPECT_EQ(whole_version("1.2.3.a.b"), "1.2.3.a.b");
}

TEST(WholeVersion, IsSomethingForAnyText) {
  EXPECT_EQ(whole_version(""), ".0.0");
  EXPECT_EQ(whole_version("x"), "x.0.0");
  EXPECT_EQ(whole_version("..."), "...");
}

}  // namespace
