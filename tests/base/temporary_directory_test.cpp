#include "base/temporary_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "fake_host/temporary_directory.h"

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

TEST(TemporaryDirectory, ThatCannotBeMadeSaysHowToGetOne) {
  const fake::TemporaryDirectory directory;
  fake::write_file("file", "");
  const auto error_in = [](const std::string& place) -> std::string {
    const fake::PlaceOfTemporaryFiles elsewhere(place);
    try {
      const eclipse_base::TemporaryDirectory none;
      return "";
    } catch (const eclipse_base::FileError& error) {
      return error.what();
    }
  };
  const std::string fix = "; set TMPDIR to a directory with enough space that this user can write to";
  EXPECT_EQ(error_in("missing"), "missing: no temporary directory can be made here: No such file or directory" + fix);
  EXPECT_EQ(error_in("file"), "file: no temporary directory can be made here: Not a directory" + fix);
  EXPECT_EQ(error_in("/proc/self"), "/proc/self: no temporary directory can be made here: No such file or directory" + fix);
}
