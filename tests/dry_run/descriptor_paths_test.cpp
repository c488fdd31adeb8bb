#include "dry_run/descriptor_paths.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "fake_host/temporary_directory.h"

namespace eclipse_dry_run {

namespace {

namespace fs = std::filesystem;

class DirectoryForReplacement : public testing::Test {
 protected:
  DirectoryForReplacement() {
    for (const std::string file : {"tools/etc/eclipse/t", "tools/etc/eclipse/a/b/t", "mine-etc/eclipse/t", "other/deep/t",
                                   "outer/etc/eclipse/inner/etc/eclipse/t", "plain/eclipse/t"}) {
      fake::write_file(file, "");
    }
  }

  std::string of(const fs::path& file) const {
    return directory_for_replacement(file).lexically_relative(directory.path()).string();
  }

  const fake::TemporaryDirectory directory;
};

TEST_F(DirectoryForReplacement, IsOutsideOfAllDirectoriesOfDescriptors) {
  EXPECT_EQ(of("tools/etc/eclipse/t"), "tools/etc");
  EXPECT_EQ(of("tools/etc/eclipse/a/b/t"), "tools/etc");
  EXPECT_EQ(of("outer/etc/eclipse/inner/etc/eclipse/t"), "outer/etc");
  EXPECT_EQ(of("mine-etc/eclipse/t"), "mine-etc") << "the plug-in takes it for a descriptor";
  EXPECT_EQ(of("plain/eclipse/t"), "plain/eclipse");
}

TEST_F(DirectoryForReplacement, FollowsLinks) {
  fs::create_directories("linked/etc");
  fs::create_directory_symlink("../../other/deep", "linked/etc/eclipse");
  EXPECT_EQ(of("linked/etc/eclipse/t"), "other");
  fs::create_symlink("../../../other/deep/t", "tools/etc/eclipse/link");
  EXPECT_EQ(of("tools/etc/eclipse/link"), "other/deep");
  fs::create_symlink("tools/etc/eclipse/t", "link");
  EXPECT_EQ(of("link"), "tools/etc");
  fs::create_directory_symlink("tools/etc/eclipse", "descriptors");
  EXPECT_EQ(of("descriptors/t"), "tools/etc");
}

}  // namespace

}  // namespace eclipse_dry_run
