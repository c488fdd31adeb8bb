#include "base/unified_diff.h"

#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <sstream>

#include "fake_host/temporary_directory.h"

using eclipse_base::unified_diff;

namespace {

TEST(UnifiedDiff, OfEqualTextsIsEmpty) { EXPECT_EQ(unified_diff("t", "a\n", "a\n"), ""); }

TEST(UnifiedDiff, ShowsThreeLinesAroundAChange) {
  EXPECT_EQ(unified_diff("t", "1\n2\n3\n4\n5\n6\n7\n8\n9\n", "1\n2\n3\n4\nx\n6\n7\n8\n9\n"),
            "--- t\n+++ t\n@@ -2,7 +2,7 @@\n 2\n 3\n 4\n-5\n+x\n 6\n 7\n 8\n");
}

TEST(UnifiedDiff, MarksAMissingLineFeed) {
  EXPECT_EQ(unified_diff("t", "a", "a\n"), "--- t\n+++ t\n@@ -1,1 +1,1 @@\n-a\n\\ No newline at end of file\n+a\n");
  EXPECT_EQ(unified_diff("t", "", "a\n"), "--- t\n+++ t\n@@ -0,0 +1,1 @@\n+a\n");
}

std::string content_of(const std::string& file) {
  std::ostringstream content;
  content << std::ifstream(file).rdbuf();
  return content.str();
}

std::string header_for(const std::string& name) {
  const std::string diff = unified_diff(name, "", "a");
  return diff.substr(0, diff.find('\n'));
}

TEST(UnifiedDiff, QuotesAnOddName) {
  EXPECT_EQ(header_for("a/b-\u00e4.txt"), "--- a/b-\u00e4.txt");
  EXPECT_EQ(header_for("a b"), "--- a b\t") << "otherwise the rest is a date";
  EXPECT_EQ(header_for("a\nb c"), "--- \"a\\nb c\"\t");
  EXPECT_EQ(header_for("\x1B[1m\t\r\x7F"), "--- \"\\033[1m\\t\\r\\177\"");
  EXPECT_EQ(header_for("a\"b\\c"), "--- \"a\\\"b\\\\c\"");
  EXPECT_EQ(header_for("\xFF\u202E"), "--- \"\\377\\342\\200\\256\"");
}

TEST(UnifiedDiff, NamesItsFileForPatch) {
  if (std::system("command -v patch > /dev/null") != 0) GTEST_SKIP() << "there is no patch";
  const fake::TemporaryDirectory directory;
  for (const std::string name :
       {"plain", "with space", "line\nfeed", "tab\tand \"quotes\" \\ 1", "\x1B[31m\xFF\u202E", "\u00e4"}) {
    fake::write_file(name, "a\n");
    fake::write_file("changes", unified_diff(name, "a\n", "b\n"));
    EXPECT_EQ(std::system("patch -s -p0 --no-backup-if-mismatch < changes"), 0) << content_of("changes");
    EXPECT_EQ(content_of(name), "b\n") << content_of("changes");
  }
}

std::string random_text(std::mt19937& random) {
  std::string text;
  for (std::size_t count = random() % 30; count > 0; --count)
    text += std::string(1, static_cast<char>('a' + random() % 3)) + "\n";
  if (random() % 3 == 0) text += "end";
  return text;
}

TEST(UnifiedDiff, IsAppliedByPatch) {
  if (std::system("command -v patch > /dev/null") != 0) GTEST_SKIP() << "there is no patch";
  const fake::TemporaryDirectory directory;
  std::mt19937 random(3);
  std::string many;
  for (int i = 0; i < 5000; ++i) many += std::to_string(i) + "\n";
  for (int i = 0; i < 100; ++i) {
    const std::string before = i == 0 ? many : random_text(random);
    const std::string after = i == 0 ? "0\n" + many + "x" : random_text(random);
    if (before == after) continue;
    fake::write_file("t", before);
    fake::write_file("changes", unified_diff("t", before, after));
    ASSERT_EQ(std::system("patch -s -F0 --no-backup-if-mismatch t changes"), 0) << content_of("changes");
    EXPECT_EQ(content_of("t"), after);
  }
}

}  // namespace
