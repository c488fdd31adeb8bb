#include "plan/version_check.h"

#include <gtest/gtest.h>

namespace eclipse_plan {

namespace {

TEST(VersionCheck, SaysWhereTwoTextsPart) {
  EXPECT_EQ(first_difference("4.10", "4.7"), "they first differ at byte 3, where \"1\" comes before \"7\"");
  EXPECT_EQ(first_difference("4.7", "4.10"), "they first differ at byte 3, where \"7\" comes after \"1\"");
  EXPECT_EQ(first_difference("4.7", "4.7"), "they are equal");
  EXPECT_EQ(first_difference("4.7.1", "4.7"), "\"4.7.1\" begins with \"4.7\" and is longer, so it comes after it");
  EXPECT_EQ(first_difference("4.7", "4.7.0"), "\"4.7.0\" begins with \"4.7\" and is longer, so it comes after it");
  EXPECT_EQ(first_difference("\xFF", "a"), "they first differ at byte 1, where \"\xFF\" comes after \"a\"");
}

TEST(VersionCheck, SaysWhenNumbersSayOtherwise) {
  EXPECT_TRUE(numeric_order_differs({"4.10", "4.7", "no"}));
  EXPECT_TRUE(numeric_order_differs({"4.7", "4.10", "yes"}));
  EXPECT_TRUE(numeric_order_differs({"10.0", "9.0", "no"}));
  EXPECT_TRUE(numeric_order_differs({"4.7", "4.7.0", "no"}));
  EXPECT_FALSE(numeric_order_differs({"4.6", "4.7", "no"}));
  EXPECT_FALSE(numeric_order_differs({"4.8", "4.7", "yes"}));
  EXPECT_FALSE(numeric_order_differs({"4.26.0.v20221123-1800", "4.26", "yes"}));
  EXPECT_FALSE(numeric_order_differs({"I2022", "4.7", "yes"})) << "there is nothing to compare as a number";
}

}  // namespace

}  // namespace eclipse_plan
