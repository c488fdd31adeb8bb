#include "base/files_below.h"

#include <gtest/gtest.h>

#include "fake_host/temporary_directory.h"

using eclipse_base::files_below;
using fake::write_file;

namespace {

TEST(FilesBelow, AreAllButDirectoriesWithFiles) {
  const fake::TemporaryDirectory directory;
  write_file("top/b/2", "");
  write_file("top/b/1", "");
  write_file("top/a", "");
  std::filesystem::create_directories("top/empty");
  std::filesystem::create_symlink("nowhere", "top/link");
  std::error_code error;
  EXPECT_EQ(files_below("top", std::filesystem::directory_options::none, error),
            (std::vector<std::string>{"a", "b/1", "b/2", "empty", "link"}));
  EXPECT_FALSE(error);
}

TEST(FilesBelow, ReportsADirectoryThatDoesNotExist) {
  const fake::TemporaryDirectory directory;
  std::error_code error;
  EXPECT_EQ(files_below("top", std::filesystem::directory_options::none, error), std::vector<std::string>());
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
}

}  // namespace
