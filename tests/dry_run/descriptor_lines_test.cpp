// That lines are ascribed to the right records, and that a file that cannot be read completely is recognised.
#include "dry_run/descriptor_lines.h"

#include <gtest/gtest.h>

#include "fake_host/temporary_directory.h"

using namespace eclipse_dry_run;

namespace {

const PluginFunctions& functions() {
  static const eclipse_host::Plugin plugin(ECLIPSE_INT_LIBRARY);
  static const PluginFunctions functions(plugin);
  return functions;
}

/// The numbers of the lines of the records that the plug-in reads from a file with the content `read`, in the text `text`; 0
/// for none.
std::vector<std::size_t> numbers(const std::string& read, const std::string& text) {
  const fake::TemporaryDirectory directory;
  fake::write_file("descriptor", read);
  auto lines = descriptor_lines(functions(), text);
  std::vector<std::size_t> numbers;
  for (const DescriptorLine* const line : lines_of_records(lines, functions().records(directory.path(), "descriptor"))) {
    numbers.push_back(line == nullptr ? 0 : line->number);
  }
  return numbers;
}

using Numbers = std::vector<std::size_t>;

TEST(DescriptorLines, EachRecordHasItsLine) {
  const std::string text = "Repository\tFeature\n\nno data\ns\tF\ns\tF\n\tG\nRepository\tF\ns\t\t\ns\tH\tx\t1";
  EXPECT_EQ(numbers(text, text), (Numbers{4, 5, 6, 8, 9}));
}

TEST(DescriptorLines, ColumnsAreThoseOfThePlugin) {
  const auto lines = descriptor_lines(functions(), "a\tb\t\r\n\t\n");
  ASSERT_EQ(lines.size(), 3U);
  EXPECT_EQ(lines[0].columns, (std::vector<std::string_view>{"a", "b", "\r"}));
  EXPECT_EQ(lines[0].text, "a\tb\t\r");
  EXPECT_EQ(lines[1].columns.size(), functions().columns("\t").size());
  EXPECT_TRUE(lines[2].columns.empty() || lines[2].columns.front().empty());
}

TEST(DescriptorLines, RecordsOfAnotherContentHaveNone) {
  EXPECT_EQ(numbers("s\tF\ns\tG\ns\tH\n", "s\tF\ns\tH\n"), (Numbers{1, 0, 0}));
  EXPECT_EQ(numbers("s\tF\n", ""), (Numbers{0}));
  EXPECT_EQ(numbers("", "s\tF\n"), Numbers());
}

TEST(DescriptorContent, HasEveryByteOfAFile) {
  const fake::TemporaryDirectory directory;
  const std::string bytes = std::string("a\0\r\n", 4) + std::string(200'000, 'x');
  fake::write_file("file", bytes);
  const eclipse_base::FileContent content = descriptor_content("file");
  EXPECT_EQ(content.bytes, bytes);
  EXPECT_EQ(content.error, "");
}

TEST(DescriptorContent, TellsWhyAFileCannotBeRead) {
  const fake::TemporaryDirectory directory;
  std::filesystem::create_directory("directory");
  EXPECT_EQ(descriptor_content("missing").error, "cannot be read: No such file or directory");
  EXPECT_EQ(descriptor_content("directory").error, "is not a regular file");
  // Its first pages are not mapped.
  EXPECT_EQ(descriptor_content("/proc/self/mem").error, "cannot be read: Input/output error");
}

/// The files of the kernel have another size than content.
TEST(DescriptorContent, TellsWhenTheSizeIsAnother) {
  EXPECT_EQ(descriptor_content("/proc/version").error, "contains more than the 0 bytes that are its size");
  EXPECT_EQ(descriptor_content("/proc/version").bytes, "");
  const std::string shorter = "/sys/kernel/uevent_seqnum";
  if (!std::filesystem::exists(shorter)) GTEST_SKIP() << shorter << " does not exist";
  const eclipse_base::FileContent content = descriptor_content(shorter);
  EXPECT_EQ(content.error, "has a size of 4096 bytes, of which only " + std::to_string(content.bytes.size()) + " can be read");
}

}  // namespace
