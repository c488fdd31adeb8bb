// How p2 reads and orders versions.
#include "p2/version.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string_view>

using eclipse_p2::compare_versions;
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

TEST(CompareVersions, OrdersByNumbersAndThenByTheQualifier) {
  constexpr std::array<std::string_view, 9> ascending = {"0.9.10", "1.0.0",   "1.0.0.200", "1.0.0.9", "1.0.0.v1",
                                                         "1.0.1",  "1.2.0.x", "1.10",      "10"};
  for (std::size_t i = 0; i < ascending.size(); ++i) {
    for (std::size_t j = 0; j < ascending.size(); ++j) {
      EXPECT_EQ(compare_versions(ascending[i], ascending[j]), i <=> j) << ascending[i] << " and " << ascending[j];
    }
  }
}

TEST(CompareVersions, TakesOneVersionInTwoSpellingsForTheSame) {
  EXPECT_EQ(compare_versions("1", "01.0.0"), std::strong_ordering::equal);
  EXPECT_EQ(compare_versions("1.2.3.a", "1.02.3.a"), std::strong_ordering::equal);
}

}  // namespace
