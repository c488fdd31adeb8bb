#include <gtest/gtest.h>

#include <sstream>

#include "eclipse_int/eclipse_int.h"
#include "every_text.h"
#include "fake_host/fake_host.h"

using fake::Texts;

namespace {

TEST(SplitByTabs, ColumnsOfALine) {
  const std::vector<std::pair<std::string, Texts>> cases = {
      {"", {}},
      {"abc", {"abc"}},
      {"r\tf", {"r", "f"}},
      {"\tf", {"", "f"}},
      {"r\t\tx", {"r", "", "x"}},
      {"r\tf\t", {"r", "f"}},
      {"a\t\t", {"a", ""}},
      {"a\t\t\t", {"a", "", ""}},
      {"r\tf\r", {"r", "f\r"}},
      {"\t", {""}},
      {"\t\t", {"", ""}},
      {" a \t b ", {" a ", " b "}},
      {"a\nb\tc", {"a\nb", "c"}},
      {std::string("a\0b\t\0", 5), {std::string("a\0b", 3), std::string("\0", 1)}},
      {"\xff\t\x80", {"\xff", "\x80"}},
  };
  for (const auto& [line, columns] : cases) EXPECT_EQ(split_by_tabs(line), columns) << line;
}

TEST(SplitByTabs, NeitherNumberNorLengthOfColumnsIsLimited) {
  std::string line;
  for (int i = 0; i < 100'000; ++i) line += "x\t";
  EXPECT_EQ(split_by_tabs(line), Texts(100'000, "x"));
  const std::string wide(5'000'000, 'y');
  EXPECT_EQ(split_by_tabs(wide + "\t" + wide), (Texts{wide, wide}));
}

TEST(SplitByTabs, EveryShortLineSplitsAsAStreamDoes) {
  const Texts lines = every_text({"a", "\t", "\r", "\n"}, 6);
  ASSERT_EQ(lines.size(), 5461U);  // the powers of 4 from 0 to 6, summed up
  for (const std::string& line : lines) {
    Texts expected;
    std::istringstream stream(line);
    for (std::string column; std::getline(stream, column, '\t');) expected.push_back(column);
    EXPECT_EQ(split_by_tabs(line), expected) << testing::PrintToString(line);
  }
}

}  // namespace
