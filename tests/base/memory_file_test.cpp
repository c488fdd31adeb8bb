#include "base/memory_file.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "base/file.h"
#include "base/limits.h"

using namespace eclipse_base;

namespace {

TEST(MemoryFile, IsReadByItsPath) {
  const std::string content = std::string("a\0\n", 3) + std::string(100'000, 'x');
  const MemoryFile file(content);
  EXPECT_EQ(file.path(), std::string(MemoryFile::directory) + "/" + file.name());
  EXPECT_EQ(read_file(file.path(), largest::descriptor).bytes, content);
  EXPECT_EQ(std::filesystem::file_size(file.path()), content.size());
}

TEST(MemoryFile, EndsWithItsObject) {
  std::string path;
  {
    const MemoryFile file("text");
    path = file.path();
    EXPECT_TRUE(std::filesystem::exists(path));
  }
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
