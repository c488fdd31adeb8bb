#include "p2/unit_list.h"

#include <gtest/gtest.h>

namespace eclipse_p2 {

namespace {

using Units = std::vector<Unit>;

TEST(UnitList, IsReadAsTheDirectorReadsIt) {
  EXPECT_EQ(units_named("a,b/1.0"), (Units{{"a", ""}, {"b", "1.0"}}));
  EXPECT_EQ(units_named(" a\r"), (Units{{"a", ""}}));
  EXPECT_EQ(units_named("a,, ,b,"), (Units{{"a", ""}, {"b", ""}}));
  EXPECT_EQ(units_named(",a,b"), (Units{{",a,b", ""}})) << "a comma at the beginning";
  EXPECT_EQ(units_named(list_of({{"a", ""}, {"b", "1.0"}})), (Units{{"a", ""}, {"b", "1.0"}}));
}

/// Each unit as "ID VERSION TEXT START".
std::vector<std::string> written_in(const std::string& list) {
  std::vector<std::string> units;
  for (const auto& [unit, text, start] : units_written_in(list)) {
    units.push_back(unit.id + " " + unit.version + " " + text + " " + (start ? std::to_string(*start) : "elsewhere"));
  }
  return units;
}

TEST(UnitList, IsWrittenForAShell) {
  using Texts = std::vector<std::string>;
  EXPECT_EQ(written_in("a"), Texts({"a  a 0"}));
  EXPECT_EQ(written_in("a,,b/1.0/2,"), Texts({"a  a 0", "b 1.0 b/1.0/2 3"}));
  EXPECT_EQ(written_in("'a, b'"), Texts({"a  a 1", "b  b 4"})) << "quoted as a whole";
  EXPECT_EQ(written_in("a,'b'"), Texts({"a  a elsewhere", "b  b elsewhere"})) << "quoted in part";
  EXPECT_EQ(written_in("a b"), Texts({"a b  a b 0"})) << "no word of a shell";
  EXPECT_EQ(written_in("','"), Texts({",  , 1"}));
  EXPECT_EQ(written_in(""), Texts());
}

TEST(UnitList, MayBeAnOptionOrBeginWithAComma) {
  for (const std::string list : {"-a", " -a", "'-a'", "\\-a"}) EXPECT_TRUE(is_read_as_option(list)) << list;
  for (const std::string list : {"a", "a,-b", ""}) EXPECT_FALSE(is_read_as_option(list)) << list;
  for (const std::string list : {",a", "',a'"}) EXPECT_TRUE(begins_with_comma(list)) << list;
  for (const std::string list : {"a,", "a", ""}) EXPECT_FALSE(begins_with_comma(list)) << list;
}

}  // namespace

}  // namespace eclipse_p2
