// That each record is matched with its line.
#include "dry_run/descriptor_lines.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace eclipse_dry_run;

namespace {

const PluginFunctions& functions() {
  static const eclipse_host::Plugin plugin(ECLIPSE_INT_LIBRARY);
  static const PluginFunctions functions(plugin);
  return functions;
}

/// The numbers of the lines of the records that the plug-in reads from the content `read`, in the text `text`.
std::vector<std::size_t> numbers(const std::string& read, const std::string& text) {
  auto lines = descriptor_lines(functions(), text);
  std::vector<std::size_t> numbers;
  for (const DescriptorLine* const line : lines_of_records(lines, functions().records("directory", read))) {
    numbers.push_back(line->number);
  }
  return numbers;
}

using Numbers = std::vector<std::size_t>;

TEST(DescriptorLines, EachRecordHasItsLine) {
  const std::string text = "Repository\tFeature\n\nno data\ns\tF\ns\tF\n\tG\nRepository\tF\ns\t\t\ns\tH\tx\t1";
  EXPECT_EQ(numbers(text, text), (Numbers{4, 5, 6, 8, 9}));
}

TEST(DescriptorLines, OrderOfALineWithoutColumn4) {
  EXPECT_EQ(functions().records("directory", "s\tF\n").at(0).order, undefined_order);
}

TEST(DescriptorLines, ColumnsAreThoseOfThePlugin) {
  const auto lines = descriptor_lines(functions(), "a\tb\t\r\n\t\n");
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0].columns, (std::vector<std::string_view>{"a", "b", "\r"}));
  EXPECT_EQ(lines[0].text, "a\tb\t\r");
  EXPECT_EQ(lines[1].columns.size(), functions().columns("\t").size());
  EXPECT_TRUE(lines[2].columns.empty() || lines[2].columns.front().empty());
}

TEST(DescriptorLines, ZeroBytesArePartOfALine) {
  const std::string text("a\0\tF\0\n\0\nb\tG\0", 13);
  EXPECT_EQ(numbers(text, text), (Numbers{1, 3}));
}

TEST(DescriptorLines, RecordsOfAnotherContentAreAnError) {
  EXPECT_THROW(numbers("s\tF\ns\tG\ns\tH\n", "s\tF\ns\tH\n"), std::logic_error);
  EXPECT_THROW(numbers("s\tF\n", ""), std::logic_error);
  EXPECT_EQ(numbers("", "s\tF\n"), Numbers());
}

}  // namespace
