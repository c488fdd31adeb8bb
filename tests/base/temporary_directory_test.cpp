#include "base/temporary_directory.h"

#include <gtest/gtest.h>

#include <fstream>

namespace fs = std::filesystem;

TEST(TemporaryDirectory, LastsAsLongAsItsObject) {
  fs::path path;
  {
    const eclipse_base::TemporaryDirectory one;
    const eclipse_base::TemporaryDirectory other;
    path = one.path();
    EXPECT_NE(path, other.path());
    EXPECT_TRUE(fs::is_empty(path));
    EXPECT_EQ(fs::status(path).permissions(), fs::perms::owner_all);
    fs::create_directory(path / "more");
    std::ofstream(path / "more/file") << "text";
  }
  EXPECT_FALSE(fs::exists(path)) << "with all that was in it";
}
