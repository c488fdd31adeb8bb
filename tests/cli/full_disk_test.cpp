// A file system without room for an instance: nothing may be begun there, since a director that finds it full damages the
// profile.
#include <filesystem>

#include "cli/child_command.h"

namespace cli_test {

namespace {

/// The instance of the session is in a small file system of its own, which is copied to "after" when the command has ended.
class FullDisk : public ChildCommand {
 protected:
  FullDisk() {
    write_session("install");
    fake::write_file("eclipse/configuration/config.ini", "eclipse.p2.profile=P\n");
    fake::write_file("eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/1.profile",
                     "<profile><units/></profile>");
    fake::write_file("eclipse/artifacts.xml", "<repository/>" + std::string(400'000, ' '));
  }

  static std::string in_file_system_with(const std::string& limits) {
    return "unshare -rm sh -c 'cp -r eclipse before && mount -t tmpfs -o " + limits +
           " none eclipse && cp -r before/. eclipse || exit 99; \"$@\"; status=$?; rm -rf before after; cp -r eclipse after; "
           "exit $status' -";
  }

  bool can_mount() const { return eclipse_int("--version", in_file_system_with("size=1m")).status == 0; }

  Outcome run_with(const std::string& limits) const { return eclipse_int("run session.json", in_file_system_with(limits)); }

  static std::ptrdiff_t entries_of_copies() {
    const std::filesystem::path copies = "after/configuration/.eclipse-int.kept";
    return std::filesystem::exists(copies) ? std::distance(std::filesystem::directory_iterator(copies), {}) : 0;
  }
};

const std::string copies = "eclipse-int: DIRECTORY/eclipse/configuration/.eclipse-int.kept";
const std::string fix =
    "; free some space in its file system; nothing was run, because a director that runs out of space damages the p2 profile\n";

/// The copy fits into the larger one, but the director would find the disk full.
TEST_F(FullDisk, WithoutSpaceForTheCopyOfTheConfigurationRunsNothing) {
  if (!can_mount()) GTEST_SKIP() << "this user can mount nothing here";
  for (const std::string limits : {"size=640k", "size=1000k"}) {
    EXPECT_EQ(run_with(limits),
              (Outcome{2, "", copies + "/incomplete/artifacts.xml: would leave too little space for a director" + fix}))
        << limits;
    EXPECT_FALSE(std::filesystem::exists("after/calls")) << limits;
    EXPECT_EQ(entries_of_copies(), 0) << limits;
  }
}

/// The instance and its lock are eleven files and directories.
TEST_F(FullDisk, WithoutInodesForTheCopyRunsNothing) {
  if (!can_mount()) GTEST_SKIP() << "this user can mount nothing here";
  const std::string reason = ": cannot be written: No space left on device" + fix;
  for (const auto& [inodes, file] : {std::pair("11", ""), {"13", ""}, {"14", "/incomplete/configuration/config.ini"}}) {
    EXPECT_EQ(run_with("size=2m,nr_inodes=" + std::string(inodes)), (Outcome{2, "", copies + file + reason})) << inodes;
    EXPECT_FALSE(std::filesystem::exists("after/calls")) << inodes;
    EXPECT_EQ(entries_of_copies(), 0) << inodes;
  }
}

TEST_F(FullDisk, ThatHasSpaceForBothIsNone) {
  if (!can_mount()) GTEST_SKIP() << "this user can mount nothing here";
  let_director_leave_states();
  const Outcome outcome = run_with("size=1500k");
  EXPECT_EQ(outcome.status, 0) << outcome.output;
  EXPECT_EQ(outcome.error, "");
  EXPECT_TRUE(std::filesystem::exists("after/calls"));
  EXPECT_EQ(entries_of_copies(), 1);
}

/// A director writes also when it is only asked, if the instance was moved.
TEST_F(FullDisk, NoDirectorIsAsked) {
  if (!can_mount()) GTEST_SKIP() << "this user can mount nothing here";
  const std::string reason = "DIRECTORY/eclipse: has too little space for a director" + fix;
  const Outcome verify = eclipse_int("verify session.json --director", in_file_system_with("size=640k"));
  EXPECT_EQ(verify, (Outcome{2, "", "eclipse-int: " + reason}));
  EXPECT_FALSE(std::filesystem::exists("after/calls"));
  const Outcome repair = eclipse_int("repair eclipse", in_file_system_with("size=640k"));
  EXPECT_EQ(repair.status, 1);
  EXPECT_TRUE(repair.output.ends_with("  Error: " + reason)) << repair.output;
  EXPECT_FALSE(std::filesystem::exists("after/calls"));
}

/// Also where nobody may mount anything: no file system has so much space.
class DiskTooSmallForAHugeFile : public FullDisk {
 protected:
  void SetUp() override {
    fake::write_file(file, "");
    std::error_code error;
    std::filesystem::resize_file(file, std::uintmax_t{15} << 40U, error);
    if (error) GTEST_SKIP() << "no file can be so large here";
  }

  const std::string file = "eclipse/configuration/org.eclipse.update/platform.xml";
  const std::string no_space = "eclipse-int: DIRECTORY/eclipse: has too little space for a director" + fix;
};

TEST_F(DiskTooSmallForAHugeFile, GetsNoDirectorInADamagedInstance) {
  fake::write_file("eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/2.profile",
                   "<profile><units><unit id='ide' version='1.0.0'/></units></profile>");
  fake::write_file("eclipse/artifacts.xml", "<repository><arti");
  const std::string damage =
      "eclipse-int: DIRECTORY/eclipse/artifacts.xml is not well-formed XML, so the next director starts a new list of "
      "artifacts; there is no backup copy of it; restore it from a backup of the Eclipse instance, or reinstall Eclipse\n";
  for (const std::string arguments : {"verify session.json --director", "run session.json"}) {
    EXPECT_EQ(eclipse_int(arguments), (Outcome{2, "", damage + no_space})) << arguments;
  }
  EXPECT_FALSE(std::filesystem::exists("eclipse/calls"));
}

TEST_F(DiskTooSmallForAHugeFile, GetsNoDirectorWithoutACopyOfTheConfiguration) {
  EXPECT_EQ(eclipse_int("run session.json"),
            (Outcome{2, "",
                     "eclipse-int: warning: DIRECTORY/" + file +
                         ": is larger than 256 MiB; restore it from a backup, or make it readable for this user; the run keeps "
                         "no copy of the configuration, so the Eclipse instance cannot be repaired if a director is killed\n" +
                         no_space}));
  EXPECT_FALSE(std::filesystem::exists("eclipse/calls"));
}

/// Its states are new files, which may be in a file system of their own.
TEST_F(FullDisk, OfTheProfileCountsToo) {
  const std::string profile = "/org.eclipse.equinox.p2.engine/profileRegistry/P.profile";
  fake::write_file("eclipse/artifacts.xml", "<repository/>");
  fake::write_file("eclipse/configuration/config.ini",
                   "eclipse.p2.profile=P\neclipse.p2.data.area=file\\:" + directory.path() + "/shared\n");
  fake::write_file("shared" + profile + "/1.profile", "<profile><units/></profile>" + std::string(400'000, ' '));
  const std::string in_small_data_area =
      "unshare -rm sh -c 'rm -rf before && cp -r shared before && mount -t tmpfs -o size=640k none shared && "
      "cp -r before/. shared || exit 99; exec \"$@\"' -";
  if (eclipse_int("--version", in_small_data_area).status != 0) GTEST_SKIP() << "this user can mount nothing here";
  EXPECT_EQ(eclipse_int("verify session.json --director", in_small_data_area),
            (Outcome{2, "", "eclipse-int: DIRECTORY/shared" + profile + ": has too little space for a director" + fix}));
}

TEST_F(FullDisk, ForTheRepositoryOfTheWayBackIsAnError) {
  const std::string in_full_directory =
      "unshare -rm sh -c 'mkdir -p full && mount -t tmpfs -o size=4k none full || exit 99; export TMPDIR=$PWD/full; \"$@\"' -";
  if (eclipse_int("--version", in_full_directory).status != 0) GTEST_SKIP() << "this user can mount nothing here";
  const std::string registry = "eclipse/p2/org.eclipse.equinox.p2.engine/profileRegistry/P.profile/";
  fake::write_file(registry + "2.profile", "<profile><units><unit id='one' version='1'/></units></profile>");
  const Outcome outcome = eclipse_int("undo --eclipse eclipse --to 1 --force", in_full_directory);
  EXPECT_EQ(outcome.status, 1);
  EXPECT_NE(
      outcome.output.find("/artifacts.xml: cannot be written: No space left on device; free some space in its file system\n"),
      std::string::npos)
      << outcome.output << outcome.error;
  EXPECT_EQ(director_calls(), "");
}

}  // namespace

}  // namespace cli_test
