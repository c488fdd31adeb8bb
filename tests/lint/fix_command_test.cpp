// lint --fix and --diff as users have them.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>

#include "cli/json_documents.h"
#include "fake_host/temporary_directory.h"
#include "shell/command_runner.h"

using fake::write_file;

namespace fs = std::filesystem;

namespace {

std::string content_of(const fs::path& file) {
  std::ostringstream content;
  content << std::ifstream(file).rdbuf();
  return content.str();
}

const std::string bad = "\xEF\xBB\xBFRepository\tFeature\r\nsites/a \torg.x.y.feature.group\t\r\n";
const std::string good = "Repository\tFeature\nsites/a\torg.x.y.feature.group\n";

class FixCommand : public testing::Test {
 protected:
  FixCommand() { write_file("t", bad); }

  eclipse_shell::CommandResult eclipse_int(const std::string& arguments) const {
    auto result = eclipse_shell::run_in_shell("'" ECLIPSE_INT_COMMAND "' " + arguments);
    cli_test::keep_json_document(arguments, result.output);
    return result;
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(FixCommand, CorrectsAndFindsNothingAfterwards) {
  const auto fix = eclipse_int("lint --fix t");
  EXPECT_EQ(fix.exit_code, 0);
  EXPECT_EQ(fix.output, "");
  EXPECT_EQ(fix.error_output, "eclipse-int: fixed 4 findings in 1 file\n");
  EXPECT_EQ(content_of("t"), good);
  const auto again = eclipse_int("lint --fix t");
  EXPECT_EQ(again.output + again.error_output, "");
}

TEST_F(FixCommand, PrintsWhatRemains) {
  write_file("t", "sites/a\torg.x.y.feature.group/1.0\t\n");
  const auto fix = eclipse_int("lint --fix --severity warning --fail-on warning --format json t");
  EXPECT_EQ(fix.exit_code, 1);
  const auto findings = nlohmann::json::parse(fix.output)["findings"];
  ASSERT_EQ(findings.size(), 1U);
  EXPECT_EQ(findings[0]["rule"], "feature-pinned");
  EXPECT_EQ(findings[0]["correction"], nlohmann::json({{"title", "remove the version"},
                                                       {"safe", false},
                                                       {"edits", {{{"offset", 29}, {"length", 4}, {"replacement", ""}}}}}));
  EXPECT_EQ(eclipse_int("lint --fix --unsafe-fixes --fail-on warning t").exit_code, 0);
  EXPECT_EQ(content_of("t"), "sites/a\torg.x.y.feature.group\n");
}

TEST_F(FixCommand, DiffWritesNothingAndIsAppliedByPatch) {
  const auto diff = eclipse_int("lint --diff t");
  EXPECT_EQ(diff.exit_code, 1);
  EXPECT_EQ(diff.error_output, "");
  EXPECT_EQ(content_of("t"), bad);
  write_file("changes", diff.output);
  if (std::system("command -v patch > /dev/null") != 0) GTEST_SKIP() << "there is no patch";
  EXPECT_EQ(std::system("patch -s -p0 --binary < changes"), 0) << diff.output;
  EXPECT_EQ(content_of("t"), good);
  const auto again = eclipse_int("lint --diff t");
  EXPECT_EQ(again.exit_code, 0);
  EXPECT_EQ(again.output, "");
}

TEST_F(FixCommand, DiffNamesAFileInOneLine) {
  const std::string name = "a\n+++ b\x1B[2J";
  write_file(name, bad);
  const std::string quoted = "\"a\\n+++ b\\033[2J\"\t\n";
  EXPECT_TRUE(eclipse_int("lint --diff '" + name + "'").output.starts_with("--- " + quoted + "+++ " + quoted + "@@ "));
}

TEST_F(FixCommand, KeepsPermissionsOwnerAndLinks) {
  fs::create_symlink("t", "link");
  ASSERT_EQ(chmod("t", 0640), 0);
  if (getuid() == 0) {
    ASSERT_EQ(chown("t", 65534, 65534), 0);
  }
  struct stat before {};
  ASSERT_EQ(stat("t", &before), 0);
  EXPECT_EQ(eclipse_int("lint --fix link").exit_code, 0);
  EXPECT_TRUE(fs::is_symlink("link"));
  EXPECT_EQ(content_of("t"), good);
  struct stat after {};
  ASSERT_EQ(stat("t", &after), 0);
  EXPECT_EQ(after.st_mode, before.st_mode);
  EXPECT_EQ(after.st_uid, before.st_uid);
  EXPECT_EQ(after.st_gid, before.st_gid);
  EXPECT_EQ(std::distance(fs::directory_iterator("."), fs::directory_iterator()), 2);
}

/// The plug-in reads whatever is below etc/eclipse. That the directory has a directory of the name makes a new file there fail.
TEST_F(FixCommand, WritesNoOtherFileWhereThePlugInLooks) {
  const std::string blocked = "sh -c 'mkdir -p tools/etc/eclipse/.t.$$.new && exec \"$@\"' - '" ECLIPSE_INT_COMMAND "' ";
  write_file("tools/etc/eclipse/t", bad);
  const auto fix = eclipse_shell::run_in_shell(blocked + "lint --fix tools/etc/eclipse/t");
  EXPECT_EQ(fix.exit_code, 0) << fix.error_output;
  EXPECT_EQ(content_of("tools/etc/eclipse/t"), good);
  EXPECT_EQ(std::distance(fs::directory_iterator("tools/etc"), fs::directory_iterator()), 1);
  write_file("tools/etc/eclipse/t", bad);
  const auto refused = eclipse_shell::run_in_shell("sh -c 'mkdir -p tools/etc/.t.$$.new && exec \"$@\"' - '" ECLIPSE_INT_COMMAND
                                                   "' lint --fix tools/etc/eclipse/t");
  EXPECT_EQ(refused.exit_code, 2);
  EXPECT_NE(refused.error_output.find("tools/etc/eclipse/t: cannot be written: " + directory.path() + "/tools/etc/.t."),
            std::string::npos)
      << refused.error_output;
  EXPECT_EQ(content_of("tools/etc/eclipse/t"), bad);
}

TEST_F(FixCommand, FileThatCannotBeWrittenIsAnErrorAndTheOthersAreFixed) {
  write_file("u", bad);
  ASSERT_EQ(chmod("u", 0444), 0);
  const std::string as_nobody = getuid() == 0
                                    ? "chown -R nobody . && setpriv --reuid=65534 --clear-groups '" ECLIPSE_INT_COMMAND "' "
                                    : "'" ECLIPSE_INT_COMMAND "' ";
  const auto refused = eclipse_shell::run_in_shell(as_nobody + "lint --fix u t");
  EXPECT_EQ(refused.exit_code, 2) << refused.output << refused.error_output;
  EXPECT_NE(refused.error_output.find("eclipse-int: u: cannot be written: Permission denied; "), std::string::npos)
      << refused.error_output;
  EXPECT_EQ(content_of("u"), bad);
  EXPECT_EQ(content_of("t"), good);
}

TEST_F(FixCommand, CorrectsTheDescriptorsOfASession) {
  write_file("tools/etc/eclipse/t", "site \torg.example.one\n");
  write_file("tools/site/content.xml",
             "<repository><units><unit id='org.example.one.feature.group' version='1.0.0'/></units></repository>");
  write_file("ide/eclipse", "");
  ASSERT_EQ(chmod("ide/eclipse", 0755), 0);
  write_file("session.json",
             R"({"mode": "install", "variables": {"ECLIPSE_INTEGRATION_CHOICE": "user", "ECLIPSE_BIN": "eclipse",
    "USER_DEFINED_ECLIPSE_PATH": "ide/eclipse"}, "components": [{"code": "tools", "installBase": ".", "installDir": "tools",
    "install": true, "capabilities": ["TOOLS_ECLIPSE_PLUGIN"], "package": {"scan": "tools"}}]})");
  for (const std::string input : {"session.json", "tools", "tools --eclipse ide/eclipse"}) {
    write_file("tools/etc/eclipse/t", "site \torg.example.one\n");
    const auto fix = eclipse_int("lint --fix " + input);
    EXPECT_EQ(fix.exit_code, 0) << input << fix.output << fix.error_output;
    EXPECT_EQ(content_of("tools/etc/eclipse/t"), "site\torg.example.one.feature.group\n") << input;
  }
}

TEST_F(FixCommand, OptionsThatDoNotGoTogetherAreErrors) {
  for (const std::string options : {"--unsafe-fixes", "--fix --diff", "--diff --format json"}) {
    const auto lint = eclipse_int("lint t " + options);
    EXPECT_EQ(lint.exit_code, 2) << options;
    EXPECT_NE(lint.error_output, "") << options;
  }
  EXPECT_EQ(content_of("t"), bad);
}

}  // namespace
