#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <locale>
#include <sstream>
#include <stdexcept>

#include "eclipse_int/eclipse_int.h"
#include "every_text.h"
#include "fake_host/fake_host.h"
#include "fake_host/not_administrator.h"
#include "plugin_config_equality.h"
#include "short_reads.h"

using fake::FakeHost;
using fake::Texts;

namespace {

using Records = std::vector<plugin_config>;

/// The records of a descriptor file with this content, in the base directory "base".
Records records_of(const std::string& content) {
  fake::write_file("base/file", content);
  Records records;
  process_file({"base", "file"}, records);
  return records;
}

TEST(DescriptorFile, LinesBecomeRecords) {
  const plugin_config plain = {"site", "feat", "", "undefined", "base"};
  const std::vector<std::pair<std::string, Records>> cases = {
      {"", {}},
      {"\n\n\n", {}},
      {"Repository\tFeature", {}},
      {"Repository\tFeature\n", {}},
      {"site\torg.example.feature.group", {{"site", "org.example.feature.group", "", "undefined", "base"}}},
      {"site\tfeat\tx\t3\tmore", {{"site", "feat", "x", "3", "base"}}},
      {"site\tfeat\t\t2", {{"site", "feat", "", "2", "base"}}},
      {"site\tfeat\tx\t", {{"site", "feat", "x", "undefined", "base"}}},
      {"site\tfeat\tx\t\t", {{"site", "feat", "x", "", "base"}}},
      {"site\tfeat\tx\tundefined", {{"site", "feat", "x", "undefined", "base"}}},
      {"site\tfeat\r\n", {{"site", "feat\r", "", "undefined", "base"}}},
      {"site\tfeat\tx\t3\r\nsite\tfeat", {{"site", "feat", "x", "3\r", "base"}, plain}},
      {"site\tfeat", {plain}},
      {"site\tfeat\n", {plain}},
      {"\nsite\tfeat\n\n", {plain}},
      {"\r\ncomment text\nsite\nsite\t\nsite\tfeat", {plain}},
      {"site\tfeat\nRepository\tfeat\nsite\tfeat", {plain, plain}},
      {"repository\tfeat", {{"repository", "feat", "", "undefined", "base"}}},
      {"Repository \tfeat", {{"Repository ", "feat", "", "undefined", "base"}}},
      {"Repository\t\tx\t1\nRepository", {}},
      {"\tfeat", {{"", "feat", "", "undefined", "base"}}},
      {"site\t\tx", {{"site", "", "x", "undefined", "base"}}},
      {"\t\t", {{"", "", "", "undefined", "base"}}},
      {"\xEF\xBB\xBFRepository\tFeature\nsite\tfeat", {{"\xEF\xBB\xBFRepository", "Feature", "", "undefined", "base"}, plain}},
      {" site \t feat ", {{" site ", " feat ", "", "undefined", "base"}}},
      {"# comment\twith a tab", {{"# comment", "with a tab", "", "undefined", "base"}}},
      {"\xFF\t\x80%s", {{"\xFF", "\x80%s", "", "undefined", "base"}}},
      {std::string("si\0te\tfe\0at\nsite\tfeat", 21),
       {{std::string("si\0te", 5), std::string("fe\0at", 5), "", "undefined", "base"}, plain}},
  };
  FakeHost host;
  for (const auto& [content, records] : cases) EXPECT_EQ(records_of(content), records) << testing::PrintToString(content);
  EXPECT_EQ(host.events, Texts{});
}

TEST(DescriptorFile, RecordsAreAppendedBehindThoseThatAreThere) {
  FakeHost host;
  fake::write_file("base/file", "site\tfeat\nsite\tfeat");
  Records records = {{"a", "b", "c", "d", "e"}};
  process_file({"base", "file"}, records);
  const plugin_config added = {"site", "feat", "", "undefined", "base"};
  EXPECT_EQ(records, (Records{{"a", "b", "c", "d", "e"}, added, added}));
}

TEST(DescriptorFile, BaseDirectoryIsKeptAsGivenAndThePathIsNormalised) {
  FakeHost host;
  fake::write_file("base/etc/eclipse/file", "site\tfeat");
  Records records;
  process_file({"base/x/..//", "etc/eclipse/file"}, records);
  EXPECT_EQ(records, (Records{{"site", "feat", "", "undefined", "base/x/..//"}}));
  EXPECT_EQ(host.calls, Texts{"path(base/x/..///etc/eclipse/file)"});
}

TEST(DescriptorFile, WhatIsNoReadableFileAppendsNothingAndIsNotLogged) {
  FakeHost host;
  std::filesystem::create_directories("base/directory");
  ASSERT_EQ(mkfifo("base/pipe", 0600), 0);
  std::filesystem::create_symlink("nowhere", "base/dangling");
  Records records = {{"a", "b", "c", "d", "e"}};
  for (const std::string file : {"missing", "directory", "pipe", "dangling", ""}) process_file({"base", file}, records);
  EXPECT_EQ(records, (Records{{"a", "b", "c", "d", "e"}}));
  EXPECT_EQ(host.events, Texts{});
}

TEST(DescriptorFile, OneThatMayNotBeReadAppendsNothing) {
  FakeHost host;
  fake::write_file("base/file", "site\tfeat\n");
  ASSERT_EQ(chmod(".", 0755), 0);
  ASSERT_EQ(chmod("base", 0755), 0);
  ASSERT_EQ(chmod("base/file", 0), 0);
  Records records;
  {
    const fake::NotAdministrator unprivileged;
    process_file({"base", "file"}, records);
  }
  EXPECT_EQ(records, Records());
  ASSERT_EQ(chmod("base/file", 0644), 0);
  process_file({"base", "file"}, records);
  EXPECT_EQ(records.size(), 1U);
}

/// Makes an "x" of every byte that a stream reads.
class Unreadable : public std::codecvt<char, char, std::mbstate_t> {
 private:
  bool do_always_noconv() const noexcept override { return false; }
  int do_encoding() const noexcept override { return 1; }
  result do_in(state_type&, const char* from, const char* from_end, const char*& from_next, char* to, char* to_end,
               char*& to_next) const override {
    const auto count = std::min(from_end - from, to_end - to);
    from_next = from + count;
    to_next = std::fill_n(to, count, 'x');
    return ok;
  }
};

TEST(DescriptorFile, IsReadAsItIsWhateverTheLocale) {
  FakeHost host;
  fake::write_file("base/file", "site\tfeat");
  Records records;
  const std::locale before = std::locale::global(std::locale(std::locale::classic(), new Unreadable));
  process_file({"base", "file"}, records);
  std::locale::global(before);
  EXPECT_EQ(records, (Records{{"site", "feat", "", "undefined", "base"}}));
}

TEST(DescriptorFile, OneThatShrinksWhileItIsReadHasZeroBytesForTheRest) {
  FakeHost host;
  fake::write_file("base/file", "site\tfeat\nsite\tfeat\n");
  Records records;
  {
    const ShortReads shrunk(16);
    process_file({"base", "file"}, records);
  }
  EXPECT_EQ(records, (Records{{"site", "feat", "", "undefined", "base"},
                              {"site", std::string("f\0\0\0\0", 5), "", "undefined", "base"}}));
}

TEST(DescriptorFile, LinkToAFileIsRead) {
  FakeHost host;
  fake::write_file("base/file", "site\tfeat");
  std::filesystem::create_symlink("file", "base/link");
  Records records;
  process_file({"base", "link"}, records);
  EXPECT_EQ(records, (Records{{"site", "feat", "", "undefined", "base"}}));
}

TEST(DescriptorFile, SeveralMegabytesAreReadWhole) {
  FakeHost host;
  std::string content;
  Records expected;
  for (int i = 0; i < 100'000; ++i) {
    const std::string feature = "feature" + std::to_string(i);
    content += "some/long/site/of/the/update\t" + feature + "\textra\t" + std::to_string(i) + "\n";
    expected.push_back({"some/long/site/of/the/update", feature, "extra", std::to_string(i), "base"});
  }
  content += std::string(3'000'000, 'r') + "\t" + std::string(3'000'000, 'f');
  expected.push_back({std::string(3'000'000, 'r'), std::string(3'000'000, 'f'), "", "undefined", "base"});
  // Not printed when they differ: that would be megabytes too.
  EXPECT_TRUE(records_of(content) == expected);
}

TEST(DescriptorFile, LargerThanTheAddressSpaceIsNotCutOff) {
  if (sizeof(std::size_t) > 4) GTEST_SKIP() << "no file is that large";
  FakeHost host;
  fake::write_file("base/file", "site\tfeat\n");
  std::filesystem::resize_file("base/file", (std::uintmax_t{1} << 32) + 10);
  Records records;
  EXPECT_THROW(process_file({"base", "file"}, records), std::length_error);
  EXPECT_EQ(records, Records{});
}

/// The rules once more, on streams.
Records records_by_streams(const std::string& content) {
  Records records;
  std::istringstream lines(content);
  for (std::string line; std::getline(lines, line);) {
    Texts columns;
    std::istringstream stream(line);
    for (std::string column; std::getline(stream, column, '\t');) columns.push_back(column);
    if (columns.size() < 2 || columns[0] == "Repository") continue;
    const std::string extra = columns.size() > 2 ? columns[2] : "";
    const std::string order = columns.size() > 3 ? columns[3] : "undefined";
    records.push_back({columns[0], columns[1], extra, order, "base"});
  }
  return records;
}

TEST(DescriptorFile, EverySmallFileReadsAsByStreams) {
  FakeHost host;
  for (const std::string& content : every_text({"a", "\t", "\n", "Repository"}, 6)) {
    EXPECT_EQ(records_of(content), records_by_streams(content)) << testing::PrintToString(content);
  }
}

TEST(UndefinedOrder, IsTheOrderOfARecordWithoutOne) { EXPECT_STREQ(UNDEFINED_ORDER, "undefined"); }

}  // namespace
