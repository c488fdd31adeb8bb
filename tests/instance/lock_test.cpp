#include "instance/lock.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/file.h"
#include "base/file_error.h"
#include "fake_host/not_administrator.h"
#include "fake_host/temporary_directory.h"
#include "shell/command_runner.h"
#include "shell/own_command.h"

namespace {

/// What the functions below do in the place of the system.
struct FakeSystem {
  int lock_error = 0;
  int lock_attempts = 0;
  bool has_own_clock = false;  ///< which only a sleep moves
  std::chrono::nanoseconds time{};
};

FakeSystem fake_system;

}  // namespace

extern "C" int flock(int descriptor, int operation) noexcept {
  ++fake_system.lock_attempts;
  if (fake_system.lock_error == 0) return static_cast<int>(syscall(SYS_flock, descriptor, operation));
  errno = fake_system.lock_error;
  return -1;
}

extern "C" int clock_gettime(clockid_t clock, timespec* time) noexcept {
  if (!fake_system.has_own_clock) return static_cast<int>(syscall(SYS_clock_gettime, clock, time));
  const auto seconds = std::chrono::floor<std::chrono::seconds>(fake_system.time);
  *time = {seconds.count(), (fake_system.time - seconds).count()};
  return 0;
}

extern "C" int nanosleep(const timespec* time, timespec* left) {
  if (!fake_system.has_own_clock) return static_cast<int>(syscall(SYS_nanosleep, time, left));
  fake_system.time += std::chrono::seconds(time->tv_sec) + std::chrono::nanoseconds(time->tv_nsec);
  return 0;
}

namespace eclipse_instance {

namespace {

namespace fs = std::filesystem;

constexpr std::chrono::seconds no_time(0);
constexpr std::chrono::seconds some_time(20);

void ignore_wait(const std::string&) {}

const std::string lock_file = "ide/configuration/.eclipse-int.lock";

/// The number that the next file gets, which grows with each one that stays open.
int next_descriptor() {
  const int next = dup(STDIN_FILENO);
  close(next);
  return next;
}

class InstanceLockTest : public testing::Test {
 protected:
  InstanceLockTest() { fs::create_directories("ide/configuration"); }
  ~InstanceLockTest() override { fake_system = {}; }

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

  /// Whether the lock is on this file or directory.
  static bool is_locked(const fs::path& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const bool is_locked = flock(descriptor, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    close(descriptor);
    return is_locked;
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
    eclipse_shell::run_in_shell("exec > /dev/null 2>&1; (for i in $(seq 600); do [ -e end ] && break; sleep 0.05; done) &");
  }
  EXPECT_EQ(holder(), "another director is at work on ide");
  std::vector<std::string> waits;
  const InstanceLock lock("ide", some_time, [&](const std::string& who) {
    waits.push_back(who);
    std::ofstream("end").flush();
  });
  EXPECT_EQ(lock.problem(), "");
  EXPECT_EQ(waits, std::vector<std::string>{"another director is at work on ide"}) << "said once";
}

TEST_F(InstanceLockTest, PatienceEnds) {
  const InstanceLock lock("ide", no_time, ignore_wait);
  fake_system = {};
  fake_system.has_own_clock = true;
  std::size_t waits = 0;
  const auto count = [&](const std::string&) { ++waits; };
  EXPECT_THROW(InstanceLock("ide", no_time, count), InstanceInUse);
  EXPECT_EQ(fake_system.lock_attempts, 1);
  EXPECT_EQ(waits, 0U);
  EXPECT_THROW(InstanceLock("ide", std::chrono::seconds(20), count), InstanceInUse);
  EXPECT_GE(fake_system.time, std::chrono::seconds(20));
  EXPECT_LT(fake_system.time, std::chrono::seconds(21));
  EXPECT_LT(fake_system.lock_attempts, 1'000) << "the processor rests between them";
  EXPECT_EQ(waits, 1U);
}

TEST_F(InstanceLockTest, ItsFileSaysWhoHasItWhileItIsHeld) {
  fake::write_file(lock_file, std::string(300, 'x'));
  {
    const InstanceLock lock("ide", no_time, ignore_wait);
    EXPECT_EQ(eclipse_base::read_file(lock_file, 1000).bytes,
              std::to_string(getpid()) + "\n" + eclipse_shell::own_command() + "\n");
  }
  EXPECT_EQ(eclipse_base::read_file(lock_file, 1000).bytes, "");
}

TEST_F(InstanceLockTest, IsSeenByThoseWhoOnlyAsk) {
  EXPECT_EQ(who_uses("missing"), "");
  EXPECT_EQ(who_uses("ide"), "");
  const InstanceLock lock("ide", no_time, ignore_wait);
  EXPECT_TRUE(is_in_use("ide"));
  EXPECT_EQ(who_uses("ide"), holder());
}

TEST_F(InstanceLockTest, DoesNotDependOnErrorsOfEarlierCalls) {
  fake::write_file(lock_file, "");
  errno = EACCES;
  EXPECT_EQ(holder(), "");
  errno = EWOULDBLOCK;
  EXPECT_FALSE(is_in_use("ide"));
}

TEST_F(InstanceLockTest, LeavesNoFileOpen) {
  const int next = next_descriptor();
  EXPECT_EQ(holder(), "");
  EXPECT_EQ(next_descriptor(), next);
  {
    const InstanceLock lock("ide", no_time, ignore_wait);
    const int next_to_lock = next_descriptor();
    EXPECT_TRUE(is_in_use("ide"));
    EXPECT_NE(holder(), "");
    EXPECT_EQ(next_descriptor(), next_to_lock);
  }
  fs::remove(lock_file);
  ASSERT_EQ(mkfifo(lock_file.c_str(), 0600), 0);
  EXPECT_EQ(holder(), "");
  EXPECT_EQ(next_descriptor(), next);
}

TEST_F(InstanceLockTest, OfTheAdministratorBelongsToTheOwnerOfTheInstance) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make files another user's";
  ASSERT_EQ(chown("ide/configuration", 65534, 65533), 0);
  EXPECT_EQ(holder(), "");
  struct stat status {};
  ASSERT_EQ(stat(lock_file.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, 65534U);
  EXPECT_EQ(status.st_gid, 65533U);
}

/// The number of the process that has ended is that of a child that was waited for.
TEST_F(InstanceLockTest, SaysWhenTheProcessHasEnded) {
  const InstanceLock lock("ide", no_time, ignore_wait);
  const std::string ended = eclipse_shell::run_in_shell("printf %s $$").output;
  std::ofstream(lock_file) << ended << "\neclipse-int run a\tb.json\n";
  EXPECT_EQ(holder(), "another director is at work on ide (started by process " + ended +
                          ", which has ended, eclipse-int run a\\tb.json)");
}

/// The first process is another user's, and lives as long as the system.
TEST_F(InstanceLockTest, NamesAProcessOfAnotherUser) {
  fs::permissions(".", fs::perms(0755));
  const InstanceLock lock("ide", no_time, ignore_wait);
  const std::string command(eclipse_shell::longest_own_command, 'c');
  std::ofstream(lock_file) << "1\n" << command << "\n";
  const pid_t child = fork();
  if (child == 0) {
    const bool is_other_user = geteuid() != 0 || setuid(65534) == 0;
    const bool is_named = who_uses("ide") == "another director is at work on ide (started by process 1, " + command + ")";
    _exit(is_other_user && is_named ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
}

TEST_F(InstanceLockTest, DoesNotNameAnotherProcessForWhatIsNotANote) {
  const InstanceLock lock("ide", no_time, ignore_wait);
  for (const std::string text : {"", "x", "-1\nall", "0\nnobody", "12"}) {
    std::ofstream(lock_file) << text;
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
  fs::create_symlink("../../victim", lock_file);
  {
    const InstanceLock lock("ide", no_time, ignore_wait);
    EXPECT_TRUE(is_locked("ide"));
  }
  EXPECT_FALSE(fs::exists("victim"));
  fs::remove(lock_file);
  ASSERT_EQ(mkfifo(lock_file.c_str(), 0600), 0);
  const InstanceLock lock("ide", no_time, ignore_wait);
  EXPECT_TRUE(is_locked("ide"));
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
  fs::permissions(lock_file, fs::perms(0444));
  const fake::NotAdministrator not_administrator;
  const InstanceLock lock("ide", no_time, ignore_wait);
  EXPECT_EQ(lock.problem(), "");
  EXPECT_TRUE(is_locked(lock_file)) << "which those who may write it lock";
}

/// A lock that another user cannot take is none.
TEST_F(InstanceLockTest, IsSharedByAllWhoMayWriteTheConfiguration) {
  fs::permissions("ide/configuration", fs::perms(0775));
  const mode_t before = umask(077);
  EXPECT_EQ(holder(), "");
  EXPECT_EQ(fs::status(lock_file).permissions(), fs::perms(0664));
  fs::remove(lock_file);
  umask(0);
  EXPECT_EQ(holder(), "");
  umask(before);
  EXPECT_EQ(fs::status(lock_file).permissions(), fs::perms(0666));
}

TEST_F(InstanceLockTest, IsRefusedWhenItsFileCannotBeRead) {
  fake::write_file(lock_file, "");
  fs::permissions(".", fs::perms(0755));
  fs::permissions(lock_file, fs::perms::none);
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

/// Some file systems of other machines have no locks. Who works on the instance is not known then, nor overwritten.
TEST_F(InstanceLockTest, AFileSystemWithoutLocksIsAProblem) {
  fake::write_file(lock_file, "1\nsomebody\n");
  fake_system.lock_error = ENOLCK;
  {
    const InstanceLock lock("ide", some_time, [](const std::string& who) { ADD_FAILURE() << who; });
    EXPECT_EQ(lock.problem(), "No locks available");
  }
  EXPECT_EQ(eclipse_base::read_file(lock_file, 1000).bytes, "1\nsomebody\n");
  EXPECT_EQ(who_uses("ide"), "");
}

}  // namespace

}  // namespace eclipse_instance
