// What keeps a copy of the configuration from being made, or from being brought back. What a copy is for:
// configuration_files_test.
#include "instance/configuration_backup.h"

#include <gtest/gtest.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "base/file_replacement.h"
#include "fake_host/temporary_directory.h"

namespace {

struct FileSystem {
  std::uint64_t size;
  std::uint64_t free;
};

/// By the directories that are asked for; others have much space.
std::map<std::string, FileSystem> file_systems;

}  // namespace

/// In the place of the system's.
extern "C" int statvfs(const char* path, struct statvfs* status) noexcept {
  const auto found = file_systems.find(path);
  const FileSystem answer = found == file_systems.end() ? FileSystem{1U << 30U, 1U << 30U} : found->second;
  *status = {};
  status->f_frsize = 1;
  status->f_blocks = answer.size;
  status->f_bfree = answer.free + 1'000;
  status->f_bavail = answer.free;
  return 0;
}

namespace eclipse_instance {

namespace {

namespace fs = std::filesystem;

const std::string incomplete = "ide/configuration/.eclipse-int.kept/incomplete";
const std::string profile = "ide/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile";
const std::string fix = "; free some space in its file system";

class ConfigurationBackupTest : public testing::Test {
 protected:
  ConfigurationBackupTest() { file_systems.clear(); }

  static std::string error_of(const std::function<void()>& action) {
    try {
      action();
    } catch (const eclipse_base::NoSpace& error) {
      return error.what();
    }
    return "";
  }

  static std::string error_of_backup() {
    return error_of([] { back_up_configuration("ide", "1"); });
  }

  const fake::TemporaryDirectory directory;
};

/// The director writes the file anew before it removes the old one.
TEST_F(ConfigurationBackupTest, LeavesSpaceForADirector) {
  fake::write_file("ide/artifacts.xml", std::string(100, ' '));
  const std::string error = incomplete + "/artifacts.xml: would leave too little space for a director" + fix;
  file_systems[incomplete] = {1'000, 199};
  EXPECT_EQ(error_of_backup(), error);
  EXPECT_FALSE(configuration_backup("ide"));
  file_systems[incomplete] = {1'000, 200};
  EXPECT_EQ(error_of_backup(), "");
  EXPECT_EQ(configuration_backup("ide")->files, std::vector<fs::path>{"artifacts.xml"});
  file_systems[incomplete] = {1, 0};
  EXPECT_EQ(error_of_backup(), error);
}

/// As one does that has no limit, or is remote.
TEST_F(ConfigurationBackupTest, IsMadeInAFileSystemThatDoesNotSayItsSize) {
  fake::write_file("ide/artifacts.xml", std::string(100, ' '));
  file_systems[incomplete] = {0, 0};
  EXPECT_EQ(error_of_backup(), "");
}

TEST_F(ConfigurationBackupTest, SpaceForADirectorIsThatOfAllThatItWritesAnew) {
  fake::write_file("ide/configuration/config.ini", "eclipse.p2.profile=P\n");
  fake::write_file("ide/artifacts.xml", std::string(100, ' '));
  fake::write_file(profile + "/1.profile", std::string(1'000, ' '));
  fake::write_file(profile + "/2.profile", std::string(30, ' '));
  const std::uint64_t size = 21 + 100 + 30;
  const auto error = [] { return error_of([] { check_space_for_director("ide"); }); };
  const std::string reason = ": has too little space for a director" + fix;
  for (const std::string& place : {std::string("ide"), profile}) {
    file_systems = {{place, {1'000, 2 * size - 1}}};
    EXPECT_EQ(error(), place + reason);
    file_systems = {{place, {1'000, 2 * size}}};
    EXPECT_EQ(error(), "");
  }
}

}  // namespace

}  // namespace eclipse_instance
