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

std::string random_text(std::mt19937& random) {
  std::string text;
  for (std::size_t count = random() % 30; count > 0; --count)
    text += std::string(1, static_cast<char>('a' + random() % 3)) + "\n";
  if (random() % 3 == 0) text += "end";
  return text;
}

std::string content_of(const std::string& file) {
  std::ostringstream content;
  content << std::ifstream(file).rdbuf();
  return content.str();
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
