#include "base/file_replacement.h"

#include <grp.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/file.h"
#include "fake_host/temporary_directory.h"

namespace {

/// What the functions below answer in the place of the system.
struct FaultySystem {
  int fchmod_error = 0;
  int fsync_error = 0;
  std::uint64_t attributes = 0;  ///< of every file, in addition
};

FaultySystem faulty;

int failed_with(int error) {
  errno = error;
  return -1;
}

}  // namespace

extern "C" int fchmod(int descriptor, mode_t mode) noexcept {
  if (faulty.fchmod_error != 0) return failed_with(faulty.fchmod_error);
  return static_cast<int>(syscall(SYS_fchmod, descriptor, mode));
}

extern "C" int fsync(int descriptor) {
  if (faulty.fsync_error != 0) return failed_with(faulty.fsync_error);
  return static_cast<int>(syscall(SYS_fsync, descriptor));
}

extern "C" int statx(int directory, const char* path, int flags, unsigned int mask, struct statx* status) noexcept {
  const long result = syscall(SYS_statx, directory, path, flags, mask, status);
  if (result == 0) {
    status->stx_attributes |= faulty.attributes;
    status->stx_attributes_mask |= faulty.attributes;
  }
  return static_cast<int>(result);
}

namespace {

using namespace eclipse_base;
namespace fs = std::filesystem;

const std::string fix = "; give the path of a writable file in a writable directory";

std::string error_of(const std::function<void()>& action) {
  try {
    action();
  } catch (const NoSpace& error) {
    return std::string("no space: ") + error.what();
  } catch (const FileError& error) {
    return error.what();
  }
  return "";
}

std::string content(const fs::path& file) { return read_file(file, 1000).bytes; }

struct stat status_of(const char* file) {
  struct stat status {};
  EXPECT_EQ(stat(file, &status), 0) << file;
  return status;
}

class FileReplacementTest : public testing::Test {
 protected:
  ~FileReplacementTest() override { faulty = {}; }

  static std::string temporary(const std::string& name) { return "." + name + "." + std::to_string(getpid()) + ".new"; }

  std::vector<std::string> names(const std::string& of = ".") const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(of)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  using Names = std::vector<std::string>;

  const fake::TemporaryDirectory directory;
};

TEST_F(FileReplacementTest, ReplacesTheTargetOnlyWhenAllIsWritten) {
  fake::write_file("f", "old");
  {
    FileReplacement replacement("f");
    EXPECT_EQ(names(), (Names{temporary("f"), "f"}));
    replacement.write("new\n");
    EXPECT_EQ(content("f"), "old");
    replacement.replace_target();
    EXPECT_EQ(names(), Names{"f"});
    EXPECT_EQ(content("f"), "new\n");
  }
  replace_file("f", "newer");
  EXPECT_EQ(content("f"), "newer");
  replace_file("other", "");
  EXPECT_EQ(names(), (Names{"f", "other"}));
}

TEST_F(FileReplacementTest, LeavesNothingBehindWhenItIsGivenUp) {
  fake::write_file("f", "old");
  const int next = dup(STDIN_FILENO);
  close(next);
  FileReplacement("f").write("new");
  EXPECT_EQ(names(), Names{"f"});
  EXPECT_EQ(content("f"), "old");
  replace_file("f", "new");
  const int after = dup(STDIN_FILENO);
  EXPECT_EQ(after, next) << "each descriptor is closed, and no other";
  close(after);
}

TEST_F(FileReplacementTest, IsDoneWithItsFilesWhenItHasReplacedTheTarget) {
  auto first = std::make_unique<FileReplacement>("f");
  first->replace_target_with("one");
  FileReplacement second("f");
  first.reset();
  second.replace_target_with("two");
  EXPECT_EQ(content("f"), "two");
}

TEST_F(FileReplacementTest, TakesThePlaceOfWhatAKilledProcessOfThisNumberLeft) {
  fake::write_file(temporary("f"), "left behind, and longer");
  replace_file("f", "new");
  EXPECT_EQ(names(), Names{"f"});
  EXPECT_EQ(content("f"), "new");
}

TEST_F(FileReplacementTest, FollowsLinksToTheFile) {
  fake::write_file("d/f", "old");
  fs::create_symlink("d/f", "link");
  FileReplacement replacement("link");
  EXPECT_EQ(names("d"), (Names{temporary("f"), "f"}));
  replacement.replace_target_with("new");
  EXPECT_TRUE(fs::is_symlink("link"));
  EXPECT_EQ(content("d/f"), "new");
}

TEST_F(FileReplacementTest, MayBePreparedInAnotherDirectory) {
  fs::create_directory("elsewhere");
  FileReplacement replacement("f", "elsewhere");
  EXPECT_EQ(names("elsewhere"), Names{temporary("f")});
  replacement.replace_target_with("new");
  EXPECT_EQ(names("elsewhere"), Names());
  EXPECT_EQ(content("f"), "new");
  EXPECT_EQ(error_of([] { FileReplacement("f", "missing"); }),
            "f: cannot be written: missing/" + temporary("f") + ": No such file or directory" + fix);
}

TEST_F(FileReplacementTest, SaysWhatCannotBeReplaced) {
  fs::create_directory("d");
  fs::create_symlink("nowhere", "dangling");
  fs::create_symlink("circle", "circle");
  fake::write_file("f", "");
  const std::string give_file = "; give the path of a file to write";
  const auto error = [](const char* file) { return error_of([&] { FileReplacement{fs::path(file)}; }); };
  EXPECT_EQ(error("d"), "d: is not a regular file" + give_file);
  EXPECT_EQ(error("/dev/null"), "/dev/null: is not a regular file" + give_file);
  EXPECT_EQ(error("dangling"), "dangling: is a dangling symlink" + give_file);
  EXPECT_EQ(error("circle/f"), "circle/f: cannot be written: Too many levels of symbolic links" + give_file);
  EXPECT_EQ(error("missing/f"), "missing/f: cannot be written: No such file or directory" + fix);
  EXPECT_EQ(error("f/g"), "f/g: cannot be written: Not a directory" + fix);
}

TEST_F(FileReplacementTest, SaysWhyTheTargetCannotBeReplacedAfterAll) {
  {
    FileReplacement replacement("f");
    fs::create_directory("f");
    EXPECT_EQ(error_of([&] { replacement.replace_target_with("new"); }), "f: cannot be written: Is a directory" + fix);
  }
  EXPECT_EQ(names(), Names{"f"});
}

TEST_F(FileReplacementTest, WritesOnAfterAShortWriteAndSaysWhatEndsIt) {
  rlimit before{};
  ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
  const auto handler = signal(SIGXFSZ, SIG_IGN);
  const rlimit ten_bytes{10, before.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &ten_bytes), 0);
  FileReplacement replacement("f");
  const std::string error = error_of([&] { replacement.write("more than ten bytes"); });
  const std::string written = content(temporary("f"));
  setrlimit(RLIMIT_FSIZE, &before);
  signal(SIGXFSZ, handler);
  EXPECT_EQ(error, "f: cannot be written: File too large" + fix);
  EXPECT_EQ(written, "more than ");
}

/// After a power cut, a file whose bytes never reached the disk would be in the place of the old one.
TEST_F(FileReplacementTest, DoesNotReplaceTheTargetBeforeAllIsOnTheDisk) {
  fake::write_file("f", "old");
  faulty.fsync_error = EIO;
  EXPECT_EQ(error_of([] { replace_file("f", "new"); }), "f: cannot be written: Input/output error" + fix);
  EXPECT_EQ(content("f"), "old");
  EXPECT_EQ(names(), Names{"f"});
  faulty.fsync_error = EDQUOT;
  EXPECT_EQ(error_of([] { replace_file("f", "new"); }),
            "no space: f: cannot be written: Disk quota exceeded; free some space in its file system");
  EXPECT_EQ(content("f"), "old");
}

/// Others could read what only the owner may read.
TEST_F(FileReplacementTest, WritesNothingWithoutThePermissionsOfTheTarget) {
  fake::write_file("f", "old");
  faulty.fchmod_error = EPERM;
  FileReplacement replacement("f");
  EXPECT_EQ(error_of([&] { replacement.write("new"); }), "f: cannot be written: Operation not permitted" + fix);
  EXPECT_EQ(content(temporary("f")), "");
  EXPECT_EQ(content("f"), "old");
}

TEST_F(FileReplacementTest, KeepsThePermissionsOfTheTarget) {
  const mode_t mask = umask(0);
  replace_file("new", "");
  EXPECT_EQ(status_of("new").st_mode & 07777U, 0666U);
  fake::write_file("f", "old");
  ASSERT_EQ(chmod("f", 01640), 0);
  replace_file("f", "new");
  umask(mask);
  EXPECT_EQ(status_of("f").st_mode & 07777U, 01640U);
}

TEST_F(FileReplacementTest, KeepsTheOwnerOfTheTarget) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can make files another user's";
  fake::write_file("f", "old");
  ASSERT_EQ(chown("f", 65534, 65533), 0);
  replace_file("f", "new");
  EXPECT_EQ(status_of("f").st_uid, 65534U);
  EXPECT_EQ(status_of("f").st_gid, 65533U);
}

/// Goes on as user 65534 with a second group, as long as it lives.
class OtherUser {
 public:
  OtherUser() {
    const std::array<gid_t, 1> group{65533};
    EXPECT_TRUE(setgroups(group.size(), group.data()) == 0 && setegid(65534) == 0 && seteuid(65534) == 0);
  }
  ~OtherUser() { EXPECT_TRUE(seteuid(0) == 0 && setegid(0) == 0 && setgroups(0, nullptr) == 0); }
  OtherUser(const OtherUser&) = delete;
  OtherUser& operator=(const OtherUser&) = delete;
};

TEST_F(FileReplacementTest, KeepsTheGroupOfTheTargetIfItCannotKeepTheOwner) {
  if (geteuid() != 0) GTEST_SKIP() << "only root can go on as another user";
  ASSERT_EQ(chmod(".", 0777), 0);
  fake::write_file("f", "old");
  ASSERT_EQ(chown("f", 65535, 65533), 0);
  fake::write_file("roots", "old");
  {
    const OtherUser other;
    replace_file("f", "new");
    replace_file("roots", "new");
  }
  EXPECT_EQ(status_of("f").st_uid, 65534U);
  EXPECT_EQ(status_of("f").st_gid, 65533U);
  EXPECT_EQ(status_of("roots").st_gid, 65534U) << "neither is required";
  EXPECT_EQ(content("roots"), "new");
}

TEST_F(FileReplacementTest, ChecksWhetherTheTargetMayBeWritten) {
  fake::write_file("f", "old");
  EXPECT_EQ(error_of([] { FileReplacement("f").check_target(); }), "");
  EXPECT_EQ(error_of([] { FileReplacement("new").check_target(); }), "");
  if (geteuid() != 0) GTEST_SKIP() << "only root can go on as another user";
  ASSERT_EQ(chmod(".", 0777), 0);
  const OtherUser other;
  EXPECT_EQ(error_of([] { FileReplacement("f").check_target(); }), "f: cannot be written: Permission denied" + fix);
}

TEST_F(FileReplacementTest, ChecksWhetherTheTargetMayBeReplaced) {
  fake::write_file("f", "old");
  const auto error_with = [](std::uint64_t attribute) {
    faulty.attributes = attribute;
    return error_of([] { FileReplacement("f").check_target(); });
  };
  EXPECT_EQ(error_with(STATX_ATTR_IMMUTABLE), "f: cannot be written: it is immutable or append-only" + fix);
  EXPECT_EQ(error_with(STATX_ATTR_APPEND), "f: cannot be written: it is immutable or append-only" + fix);
  EXPECT_EQ(error_with(STATX_ATTR_MOUNT_ROOT), "f: cannot be written: it is a mount point" + fix);
  EXPECT_EQ(error_with(STATX_ATTR_NODUMP | STATX_ATTR_COMPRESSED), "");
}

TEST(NoSpace, IsTheReasonForTwoErrors) {
  EXPECT_TRUE(NoSpace::is_reason(ENOSPC));
  EXPECT_TRUE(NoSpace::is_reason(EDQUOT));
  EXPECT_FALSE(NoSpace::is_reason(EIO));
  EXPECT_STREQ(NoSpace("f", "cannot be written: full").what(),
               "f: cannot be written: full; free some space in its file system");
}

}  // namespace
