// docs/continuous-integration.md as people follow it.
#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <sstream>

#include "fake_host/temporary_directory.h"
#include "shell/command_runner.h"

using fake::write_file;

namespace {

std::string document() {
  std::ostringstream content;
  content << std::ifstream(CONTINUOUS_INTEGRATION).rdbuf();
  return content.str();
}

/// The code blocks in a language.
std::vector<std::string> blocks(const std::string& language) {
  std::vector<std::string> found;
  const std::string text = document();
  const std::string fence = "```" + language + "\n";
  for (std::size_t start = 0; (start = text.find(fence, start)) != std::string::npos;) {
    start += fence.size();
    const std::size_t end = text.find("```\n", start);
    found.push_back(text.substr(start, end - start));
    start = end;
  }
  return found;
}

const std::string bad = "sites/a\torg.x.y.feature.group \n";
const std::string good = "sites/a\torg.x.y.feature.group\n";

int status_of(const std::string& commands) {
  return eclipse_shell::run_in_shell("PATH=$(dirname '" ECLIPSE_INT_COMMAND "'):$PATH; " + commands).exit_code;
}

TEST(ContinuousIntegration, HookChecksWhatIsCommitted) {
  const auto scripts = blocks("sh");
  ASSERT_EQ(scripts.size(), 1U);
  const fake::TemporaryDirectory directory;
  ASSERT_EQ(status_of("git init -q . && git config user.name x && git config user.email x@example.org"), 0);
  write_file(".git/hooks/pre-commit", scripts[0]);
  ASSERT_EQ(status_of("chmod +x .git/hooks/pre-commit"), 0);
  write_file("tools/etc/eclipse/t", bad);
  EXPECT_NE(status_of("git add tools && git commit -qm bad"), 0);
  // What is in the directory but not in the index does not count.
  write_file("tools/etc/eclipse/t", good);
  EXPECT_NE(status_of("git commit -qm bad"), 0);
  EXPECT_EQ(status_of("git add tools && git commit -qm good"), 0);
}

TEST(ContinuousIntegration, CommandsFailForABadProductOnly) {
  const fake::TemporaryDirectory directory;
  std::size_t commands = 0;
  for (const std::string& block : blocks("yaml")) {
    const std::regex command("(?:entry: |run: |- )(eclipse-int lint [^\n]*)");
    for (std::sregex_iterator match(block.begin(), block.end(), command), end; match != end; ++match, ++commands) {
      std::string line = (*match)[1];
      if (line.find("product") == std::string::npos) line += " product/etc/eclipse/t";  // the names that pre-commit adds
      write_file("product/site/content.xml",
                 "<repository><units><unit id='org.x.y.feature.group' version='1.0.0'/></units></repository>");
      write_file("product/etc/eclipse/t", "site\torg.x.y.feature.group \n");
      EXPECT_EQ(status_of(line), 1) << line;
      write_file("product/etc/eclipse/t", "site\torg.x.y.feature.group\n");
      EXPECT_EQ(status_of(line), 0) << line;
    }
  }
  EXPECT_EQ(commands, 4U);
}

}  // namespace
