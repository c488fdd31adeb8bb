#include "instance/lock.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/file_error.h"
#include "fake_host/not_administrator.h"
#include "fake_host/temporary_directory.h"
#include "shell/command_runner.h"

namespace eclipse_instance {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds no_time(0);
constexpr std::chrono::seconds some_time(20);

void ignore_wait(const std::string&) {}

class InstanceLockTest : public testing::Test {
 protected:
  InstanceLockTest() { fs::create_directories("ide/configuration"); }

  /// Who has the lock; empty when nobody does.
  static std::string holder(const fs::path& instance = "ide") {
    try {
      const InstanceLock lock(instance, no_time, ignore_wait);
      EXPECT_EQ(lock.problem(), "");
      return "";
    } catch (const InstanceInUse& in_use) {
      return in_use.what();
    }
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(InstanceLockTest, IsTakenByOneOnly) {
  {
    const InstanceLock lock("ide", no_time, ignore_wait);
    EXPECT_EQ(lock.problem(), "");
    const std::string expected =
        "another director is at work on ide (started by process " + std::to_string(getpid()) + ", instance_test";
    EXPECT_EQ(holder().substr(0, expected.size()), expected);
  }
  EXPECT_EQ(holder(), "");
}

TEST_F(InstanceLockTest, IsThatOfTheInstanceWhateverNamesIt) {
  fs::create_directory_symlink("ide", "link");
  fs::create_directories("other/configuration");
  const InstanceLock lock("link", no_time, ignore_wait);
  EXPECT_NE(holder("./ide/../ide"), "");
  EXPECT_EQ(holder("other"), "");
}

/// A host that is killed leaves its director running.
TEST_F(InstanceLockTest, IsHeldByTheCommandsThatWereStartedMeanwhile) {
  {
    const InstanceLock lock("ide", no_time, ignore_wait);
    eclipse_shell::run_in_shell("exec > /dev/null 2>&1; (while [ ! -e end ]; do sleep 0.05; done) &");
  }
  EXPECT_EQ(holder(), "another director is at work on ide");
  std::ofstream("end").flush();
  std::vector<std::string> waits;
  const InstanceLock lock("ide", some_time, [&](const std::string& who) { waits.push_back(who); });
  EXPECT_LE(waits.size(), 1U) << "said once";
}

TEST_F(InstanceLockTest, IsWaitedFor) {
  {
    const InstanceLock lock("ide", no_time, ignore_wait);
    eclipse_shell::run_in_shell("exec > /dev/null 2>&1; sleep 0.5 &");
  }
  std::vector<std::string> waits;
  const auto start = std::chrono::steady_clock::now();
  const InstanceLock lock("ide", some_time, [&](const std::string& who) { waits.push_back(who); });
  EXPECT_EQ(waits, std::vector<std::string>{"another director is at work on ide"});
  EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
}

TEST_F(InstanceLockTest, PatienceEnds) {
  const InstanceLock lock("ide", no_time, ignore_wait);
  std::size_t waits = 0;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_THROW(InstanceLock("ide", std::chrono::milliseconds(300), [&](const std::string&) { ++waits; }), InstanceInUse);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(300));
  EXPECT_EQ(waits, 1U);
}

/// The number of the process that has ended is that of a child that was waited for.
TEST_F(InstanceLockTest, SaysWhenTheProcessHasEnded) {
  const InstanceLock lock("ide", no_time, ignore_wait);
  const std::string ended = eclipse_shell::run_in_shell("printf %s $$").output;
  std::ofstream("ide/configuration/.eclipse-int.lock") << ended << "\neclipse-int run a\tb.json\n";
  EXPECT_EQ(holder(), "another director is at work on ide (started by process " + ended +
                          ", which has ended, eclipse-int run a\\tb.json)");
}

TEST_F(InstanceLockTest, DoesNotNameAnotherProcessForWhatIsNotANote) {
  const InstanceLock lock("ide", no_time, ignore_wait);
  for (const std::string text : {"", "x", "-1\nall", "0\nnobody", "12"}) {
    std::ofstream("ide/configuration/.eclipse-int.lock") << text;
    EXPECT_EQ(holder(), "another director is at work on ide") << text;
  }
}

TEST_F(InstanceLockTest, AnInstanceWithoutAConfigurationIsLocked) {
  fs::create_directories("bare");
  const InstanceLock lock("bare", no_time, ignore_wait);
  EXPECT_EQ(lock.problem(), "");
  EXPECT_EQ(holder("bare"), "another director is at work on bare");
  EXPECT_TRUE(fs::is_empty("bare"));
}

TEST_F(InstanceLockTest, NeitherFollowsASymlinkNorWaitsForAPipe) {
  fs::create_symlink("../../victim", "ide/configuration/.eclipse-int.lock");
  {
    const InstanceLock lock("ide", no_time, ignore_wait);
    EXPECT_NE(holder(), "");
  }
  EXPECT_FALSE(fs::exists("victim"));
  fs::remove("ide/configuration/.eclipse-int.lock");
  ASSERT_EQ(mkfifo("ide/configuration/.eclipse-int.lock", 0600), 0);
  const InstanceLock lock("ide", no_time, ignore_wait);
  EXPECT_NE(holder(), "");
}

TEST_F(InstanceLockTest, AnInstanceThatMayOnlyBeReadIsLocked) {
  fs::permissions(".", fs::perms(0755));
  fs::permissions("ide/configuration", fs::perms(0555));
  {
    const fake::NotAdministrator not_administrator;
    const InstanceLock lock("ide", no_time, ignore_wait);
    EXPECT_EQ(lock.problem(), "");
    EXPECT_EQ(holder(), "another director is at work on ide");
    EXPECT_TRUE(fs::is_empty("ide/configuration"));
  }
  fs::permissions("ide/configuration", fs::perms(0755));
}

TEST_F(InstanceLockTest, AFileThatMayOnlyBeReadIsLocked) {
  { const InstanceLock lock("ide", no_time, ignore_wait); }
  fs::permissions(".", fs::perms(0755));
  fs::permissions("ide/configuration/.eclipse-int.lock", fs::perms(0444));
  const fake::NotAdministrator not_administrator;
  const InstanceLock lock("ide", no_time, ignore_wait);
  EXPECT_EQ(lock.problem(), "");
  EXPECT_EQ(holder(), "another director is at work on ide");
}

/// A lock that another user cannot take is none.
TEST_F(InstanceLockTest, IsSharedByAllWhoMayWriteTheConfiguration) {
  fs::permissions("ide/configuration", fs::perms(0775));
  const mode_t before = umask(077);
  EXPECT_EQ(holder(), "");
  umask(before);
  EXPECT_EQ(fs::status("ide/configuration/.eclipse-int.lock").permissions(), fs::perms(0664));
}

TEST_F(InstanceLockTest, IsRefusedWhenItsFileCannotBeRead) {
  fake::write_file("ide/configuration/.eclipse-int.lock", "");
  fs::permissions(".", fs::perms(0755));
  fs::permissions("ide/configuration/.eclipse-int.lock", fs::perms::none);
  const fake::NotAdministrator not_administrator;
  try {
    holder();
    ADD_FAILURE();
  } catch (const eclipse_base::FileError& error) {
    EXPECT_STREQ(
        error.what(),
        "ide/configuration/.eclipse-int.lock: cannot be read by this user, so it is not known whether another director "
        "is at work; make it readable, for example with chmod a+r");
  }
}

TEST_F(InstanceLockTest, SaysWhyAnInstanceCannotBeLocked) {
  const InstanceLock lock("missing", no_time, ignore_wait);
  EXPECT_EQ(lock.problem(), "No such file or directory");
}

}  // namespace

}  // namespace eclipse_instance
