// That versions which p2 takes for the same are one text.
#include "p2/version.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using eclipse_p2::is_lower_version;
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

TEST(LowerVersion, ComparesNumbersAndThenQualifiersAsTexts) {
  const std::vector<std::string> ascending = {"0.9",   "1.0.0",    "1.0.0.1", "1.0.0.10", "1.0.0.2",
                                              "1.0.1", "1.9.0.v2", "1.10.0",  "2",        "10.0.0.v1.2"};
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      EXPECT_EQ(is_lower_version(ascending[i], ascending[j]), i < j) << ascending[i] << " and " << ascending[j];
    }
  }
  EXPECT_FALSE(is_lower_version("1.0", "01.0.0"));
  EXPECT_FALSE(is_lower_version("01.0.0", "1"));
}

TEST(LowerVersion, IsAnOrderOfAnyTexts) {
  const std::vector<std::string> texts = {"", "x", "...", "1.x", "1.0.0.", "2.x.y.z"};
  for (const std::string& one : texts) {
    for (const std::string& other : texts) {
      EXPECT_FALSE(is_lower_version(one, other) && is_lower_version(other, one)) << one << " and " << other;
    }
  }
}

}  // namespace
