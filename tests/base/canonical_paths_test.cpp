#include "base/canonical_paths.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <system_error>

#include "fake_host/temporary_directory.h"

namespace fs = std::filesystem;

namespace {

TEST(CanonicalPaths, AreThoseOfTheStandardLibrary) {
  const fake::TemporaryDirectory directory;
  fake::write_file("a/b/file", "");
  fs::create_directory_symlink("a", "to-a");
  fs::create_directory_symlink("../to-a/b", "a/to-b");
  fs::create_symlink("b/file", "a/to-file");
  fs::create_symlink("nowhere", "a/dangling");
  fs::create_symlink("circle", "a/circle");
  eclipse_base::CanonicalPaths canonical;
  for (const char* const name :
       {"", ".", "a", "a/", "a/b", "a//b/file", "a/./b", "a/b/..", "a/b/../b/file", "to-a", "to-a/b/file", "to-a/to-b/file",
        "a/to-file", "a/to-b/../to-file", "a/dangling", "a/circle", "a/b/file/x", "a/b/file/", "missing/x"}) {
    for (const fs::path& path : {fs::path(name), fs::current_path() / name}) {
      std::error_code error;
      EXPECT_EQ(canonical.of(path).native(), fs::canonical(path, error).native()) << path;
      EXPECT_EQ(canonical.of(path).native(), fs::canonical(path, error).native()) << path << ", again";
    }
  }
  EXPECT_EQ(canonical.of("/"), "/");
}

}  // namespace
