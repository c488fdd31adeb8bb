#include "plan/version_check.h"

#include <gtest/gtest.h>

namespace eclipse_plan {

namespace {

TEST(VersionCheck, SaysWhereTwoTextsPart) {
  EXPECT_EQ(where_they_part("4.10", "4.7"), "they part at byte 3, where \"1\" comes before \"7\"");
  EXPECT_EQ(where_they_part("4.7", "4.10"), "they part at byte 3, where \"7\" comes after \"1\"");
  EXPECT_EQ(where_they_part("4.7", "4.7"), "they are the same");
  EXPECT_EQ(where_they_part("4.7.1", "4.7"), "\"4.7.1\" goes on where \"4.7\" ends, and so comes after it");
  EXPECT_EQ(where_they_part("4.7", "4.7.0"), "\"4.7\" ends where \"4.7.0\" goes on, and so comes before it");
  EXPECT_EQ(where_they_part("\xFF", "a"), "they part at byte 1, where \"\xFF\" comes after \"a\"");
}

TEST(VersionCheck, SaysWhenNumbersSayOtherwise) {
  EXPECT_TRUE(numbers_say_otherwise({"4.10", "4.7", "no"}));
  EXPECT_TRUE(numbers_say_otherwise({"4.7", "4.10", "yes"}));
  EXPECT_TRUE(numbers_say_otherwise({"10.0", "9.0", "no"}));
  EXPECT_TRUE(numbers_say_otherwise({"4.7", "4.7.0", "no"}));
  EXPECT_FALSE(numbers_say_otherwise({"4.6", "4.7", "no"}));
  EXPECT_FALSE(numbers_say_otherwise({"4.8", "4.7", "yes"}));
  EXPECT_FALSE(numbers_say_otherwise({"4.26.0.v20221123-1800", "4.26", "yes"}));
  EXPECT_FALSE(numbers_say_otherwise({"I2022", "4.7", "yes"})) << "there is nothing to compare as a number";
}

}  // namespace

}  // namespace eclipse_plan
