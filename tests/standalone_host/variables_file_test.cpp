#include "standalone_host/variables_file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

#include "fake_host/not_administrator.h"
#include "fake_host/temporary_directory.h"

namespace {

namespace fs = std::filesystem;

using eclipse_base::FileError;
using eclipse_host::check_variables_file;
using eclipse_host::read_variables_file;
using eclipse_host::Variables;
using eclipse_host::write_variables_file;

class VariablesFile : public testing::Test {
 protected:
  const fake::TemporaryDirectory directory;
};

std::string content_of(const std::string& file) {
  std::ostringstream content;
  content << std::ifstream(file, std::ios::binary).rdbuf();
  return content.str();
}

std::string error_of(const std::function<void()>& attempt) {
  try {
    attempt();
  } catch (const FileError& error) {
    return error.what();
  }
  return "none";
}

std::vector<std::string> files_here() {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(".")) names.push_back(entry.path().filename().string());
  return names;
}

TEST_F(VariablesFile, KeepsWhatOutlivesARun) {
  write_variables_file("v.json", {{"A", ""},
                                  {"CASHED_ECLIPSE_PATH", "/opt/\xC3\xA4\n\"e\\"},
                                  {"KORU_MODE", "install"},
                                  {"QN_SCRIPTS_COMPLETE_DESC", "x"},
                                  {"QN_SCRIPTS_FAILED", "yes"}});
  EXPECT_EQ(content_of("v.json"), "{\n  \"A\": \"\",\n  \"CASHED_ECLIPSE_PATH\": \"/opt/\xC3\xA4\\n\\\"e\\\\\"\n}\n");
  EXPECT_EQ(read_variables_file("v.json"), (Variables{{"A", ""}, {"CASHED_ECLIPSE_PATH", "/opt/\xC3\xA4\n\"e\\"}}));
}

TEST_F(VariablesFile, MayBeEmptyOfVariables) {
  write_variables_file("v.json", {});
  EXPECT_EQ(content_of("v.json"), "{}\n");
  EXPECT_EQ(read_variables_file("v.json"), Variables());
}

TEST_F(VariablesFile, ReplacesTheFileAndKeepsItsPermissions) {
  fake::write_file("v.json", "old");
  fs::permissions("v.json", fs::perms(0640));
  write_variables_file("v.json", {{"A", "1"}});
  EXPECT_EQ(content_of("v.json"), "{\n  \"A\": \"1\"\n}\n");
  EXPECT_EQ(fs::status("v.json").permissions(), fs::perms(0640));
  EXPECT_EQ(files_here(), (std::vector<std::string>{"v.json"}));
}

TEST_F(VariablesFile, KeepsItsOwnerAndGroup) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make a file another user's";
  fake::write_file("v.json", "old");
  fs::permissions("v.json", fs::perms(0600));
  ASSERT_EQ(chown("v.json", 65534, 65533), 0);
  write_variables_file("v.json", {{"A", "1"}});
  struct stat status {};
  ASSERT_EQ(stat("v.json", &status), 0);
  EXPECT_EQ(status.st_uid, 65534U);
  EXPECT_EQ(status.st_gid, 65533U);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(VariablesFile, IsReadableByOthersAsFarAsTheUserWants) {
  const mode_t before = umask(027);
  write_variables_file("v.json", {});
  umask(before);
  EXPECT_EQ(fs::status("v.json").permissions(), fs::perms(0640));
}

TEST_F(VariablesFile, IsWrittenBehindALink) {
  fake::write_file("real/v.json", "old");
  fs::create_symlink("real/v.json", "link.json");
  write_variables_file("link.json", {});
  EXPECT_TRUE(fs::is_symlink("link.json"));
  EXPECT_EQ(content_of("real/v.json"), "{}\n");
}

TEST_F(VariablesFile, IsNotWrittenOverALinkToNothing) {
  fs::create_symlink("nothing.json", "link.json");
  const std::string error = "link.json: is a dangling symlink; give the path of a file to write";
  EXPECT_EQ(error_of([] { check_variables_file("link.json", {}); }), error);
  EXPECT_EQ(error_of([] { write_variables_file("link.json", {}); }), error);
  EXPECT_TRUE(fs::is_symlink("link.json"));
  EXPECT_FALSE(fs::exists("nothing.json"));
}

TEST_F(VariablesFile, IsWrittenWithoutWhatJsonCannotCarry) {
  const Variables variables = {{"A", "\xFF"}, {"B", "b"}, {"KORU_MODE", "\xFF"}, {"\xFF", ""}};
  const std::string names = "variables that are not UTF-8: \"A\", \"\\xFF\"; give other values";
  fake::write_file("v.json", "old");
  EXPECT_EQ(error_of([&] { check_variables_file("v.json", variables); }), "v.json: cannot keep " + names);
  EXPECT_EQ(content_of("v.json"), "old");
  EXPECT_EQ(error_of([&] { write_variables_file("v.json", variables); }), "v.json: is written without " + names);
  EXPECT_EQ(read_variables_file("v.json"), (Variables{{"B", "b"}}));
  EXPECT_EQ(files_here(), (std::vector<std::string>{"v.json"}));
  EXPECT_EQ(error_of([] {
              check_variables_file("v.json", {{"QN_SCRIPTS_COMPLETE_DESC", "\xFF"}});
            }),
            "none")
      << "it is not kept";
}

TEST_F(VariablesFile, ThatIsReadOnlyIsFoundBeforeTheRun) {
  fake::write_file("v.json", "old");
  fs::permissions("v.json", fs::perms(0444));
  fs::permissions(".", fs::perms(0777));
  const fake::NotAdministrator not_administrator;
  EXPECT_EQ(error_of([] { check_variables_file("v.json", {}); }),
            "v.json: cannot be written: Permission denied; give the path of a writable file in a writable directory");
  EXPECT_EQ(content_of("v.json"), "old");
}

TEST_F(VariablesFile, ThatIsImmutableIsFoundBeforeTheRun) {
  fake::write_file("v.json", "old");
  if (std::system("chattr +i v.json 2> /dev/null") != 0) GTEST_SKIP() << "no file can be made immutable here";
  EXPECT_EQ(
      error_of([] { check_variables_file("v.json", {}); }),
      "v.json: cannot be written: it is immutable or append-only; give the path of a writable file in a writable directory");
  EXPECT_EQ(std::system("chattr -i v.json"), 0);
}

TEST_F(VariablesFile, CannotBeWrittenEverywhere) {
  fs::create_directory("directory");
  // In the place of a device, which a mistake here must not replace.
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const std::vector<std::pair<std::string, std::string>> errors = {
      {"missing/v.json",
       "missing/v.json: cannot be written: No such file or directory; give the path of a writable file in a writable "
       "directory"},
      {"directory", "directory: is not a regular file; give the path of a file to write"},
      {"pipe", "pipe: is not a regular file; give the path of a file to write"},
      {"/proc/v.json",
       "/proc/v.json: cannot be written: No such file or directory; give the path of a writable file in a writable "
       "directory"}};
  for (const auto& error : errors) {
    EXPECT_EQ(error_of([&] { check_variables_file(error.first, {}); }), error.second);
    EXPECT_EQ(error_of([&] { write_variables_file(error.first, {}); }), error.second);
  }
  EXPECT_TRUE(fs::is_fifo("pipe"));
  fs::remove("pipe");
  EXPECT_EQ(files_here(), (std::vector<std::string>{"directory"}));
}

TEST_F(VariablesFile, IsLeftAloneByTheCheck) {
  check_variables_file("v.json", {{"A", "1"}});
  EXPECT_EQ(files_here(), std::vector<std::string>());
  fake::write_file("v.json", "old");
  check_variables_file("v.json", {{"A", "1"}});
  EXPECT_EQ(content_of("v.json"), "old");
  EXPECT_EQ(files_here(), (std::vector<std::string>{"v.json"}));
}

TEST_F(VariablesFile, IsRefusedUnlessItIsAnObjectOfTexts) {
  const std::vector<std::pair<std::string, std::string>> errors = {
      {"[]", "v.json:1:1: document: expected an object, found an array; write it in { }"},
      {"{\"A\": 1}", "v.json:1:7: A: expected a string, found a number; write it in double quotes"},
      {"{\"\": \"\"}", "v.json:1:2: [\"\"]: the name is empty; name the variable"},
      {"{\"A\": \"\",\n\"A\": \"\"}", "v.json:2:1: A: the key is given twice, first in line 1; keep one of the two"}};
  for (const auto& [text, message] : errors) {
    fake::write_file("v.json", text);
    EXPECT_EQ(error_of([] { read_variables_file("v.json"); }), message);
  }
  EXPECT_EQ(error_of([] { read_variables_file("missing"); }),
            "missing: cannot be read: No such file or directory; give the path of a JSON file");
}

}  // namespace
