// How p2 reads and orders versions.
#include "p2/version.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

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

/// As it is compared.
TEST(WholeVersion, HasNoDotWithoutAQualifier) { EXPECT_EQ(whole_version("1.2.3."), "1.2.3"); }

TEST(WholeVersion, IsSomethingForAnyText) {
  EXPECT_EQ(whole_version(""), ".0.0");
  EXPECT_EQ(whole_version("x"), "x.0.0");
  EXPECT_EQ(whole_version("..."), "..");
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
  EXPECT_EQ(compare_versions("1.2.3", "1.2.3."), std::strong_ordering::equal);
}

TEST(VersionRange, HasItsEndsByItsBrackets) {
  const std::vector<std::tuple<std::string_view, std::string_view, bool>> ranges = {{"1.9.0", "[2.0.0,3.0.0)", false},
                                                                                    {"2.0.0", "[2.0.0,3.0.0)", true},
                                                                                    {"3.0.0", "[2.0.0,3.0.0)", false},
                                                                                    {"2.0.0", "(2.0.0,3.0.0]", false},
                                                                                    {"3.0.0", "(2.0.0,3.0.0]", true},
                                                                                    {"1.0.0.v2", "[1.0.0.v1,1.0.0.v1]", false},
                                                                                    {"1.0", "[1.0.0, 1.0.0]", true},
                                                                                    {"1.9.0", "2.0.0", false},
                                                                                    {"3.0.0", "2.0.0", true},
                                                                                    {"0.1.0", "", true},
                                                                                    {"0.1.0", "0.0.0", true},
                                                                                    {"0.1.0", "raw:[1.0,2.0]", true},
                                                                                    {"0.1.0", ",", true}};
  for (const auto& [version, range, is_in] : ranges)
    EXPECT_EQ(eclipse_p2::is_in_range(version, range), is_in) << version << range;
}

TEST(Qualifier, HasALowerNumberInTheNewerVersion) {
  EXPECT_TRUE(eclipse_p2::has_lower_number("1.0.0.b9", "1.0.0.b10"));
  EXPECT_TRUE(eclipse_p2::has_lower_number("1.0.0.9", "1.0.0.10"));
  EXPECT_TRUE(eclipse_p2::has_lower_number("1.0.0.v2b9-x", "1.0.0.v2b19"));
  for (const auto& [newer, older] :
       {std::pair("1.0.0.b10", "1.0.0.b9"), std::pair("1.0.0.b09", "1.0.0.b10"), std::pair("1.0.9", "1.0.10"),
        std::pair("1.0.1.b9", "1.0.0.b10"), std::pair("1.0.0.v20221124", "1.0.0.v202211231800"),
        std::pair("1.0.0.b9", "1.0.0.b9"), std::pair("1.0.0.x9", "1.0.0.b10"), std::pair("1.0.0.b9", "1.0.0")}) {
    EXPECT_FALSE(eclipse_p2::has_lower_number(newer, older)) << newer << " " << older;
  }
}

}  // namespace
