#include "base/file.h"
#include "base/limits.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "fake_host/temporary_directory.h"

namespace {

using namespace eclipse_base;
namespace fs = std::filesystem;

class ReadFile : public testing::Test {
 protected:
  const fake::TemporaryDirectory directory;
};

TEST_F(ReadFile, GivesAllBytes) {
  std::string content;
  for (int i = 0; i < 200000; ++i) content += static_cast<char>(i % 251);
  fake::write_file("f", content);
  EXPECT_EQ(read_file("f", content.size()).bytes, content);
  EXPECT_EQ(read_file("f", content.size()).error, "");
  fs::create_symlink("f", "link");
  EXPECT_EQ(read_file("link", largest::json).bytes, content);
  fake::write_file("empty", "");
  EXPECT_EQ(read_file("empty", 0).bytes, "");
  EXPECT_EQ(read_file("empty", 0).error, "");
}

TEST_F(ReadFile, RefusesLargerFiles) {
  fake::write_file("f", "");
  fs::resize_file("f", largest::mebibyte + 1);
  EXPECT_EQ(read_file("f", largest::mebibyte).error, "is larger than 1 MiB");
  EXPECT_EQ(read_file("f", largest::mebibyte).bytes, "");
  EXPECT_EQ(read_file("f", largest::mebibyte + 1).error, "");
}

/// What the process has read so far by system calls; nothing where the kernel does not count it.
std::optional<std::uint64_t> bytes_read() {
  std::ifstream counts("/proc/self/io");
  std::string name;
  std::uint64_t count = 0;
  if (counts >> name >> count && name == "rchar:") return count;
  return std::nullopt;
}

TEST_F(ReadFile, RefusesLargerFilesWithoutReadingThem) {
  if (!bytes_read()) GTEST_SKIP() << "the kernel does not count what is read";
  fake::write_file("f", "");
  fs::resize_file("f", std::uintmax_t{1} << 40U);
  const std::uint64_t before = *bytes_read();
  const FileContent content = read_file("f", largest::profile);
  EXPECT_LT(*bytes_read() - before, largest::mebibyte);
  EXPECT_EQ(content.error, "is larger than 256 MiB");
  EXPECT_TRUE(content.exceeds_limit);
}

/// Without a limit on it, a read of a pipe would wait and one of /dev/zero would not end: the test's own time limit ends it
/// then.
TEST_F(ReadFile, NeitherWaitsNorReadsWhatIsNotARegularFile) {
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  fs::create_symlink("pipe", "to-pipe");
  fs::create_symlink("/dev/zero", "to-zero");
  const int listener = socket(AF_UNIX, SOCK_STREAM, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strcpy(address.sun_path, "socket");
  ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  close(listener);
  for (const char* file : {".", "pipe", "to-pipe", "to-zero", "socket", "/dev/tty", "/dev/null"}) {
    EXPECT_EQ(read_file(file, largest::json).error, "is not a regular file") << file;
    EXPECT_EQ(read_beginning(file, 4).error, "is not a regular file") << file;
    EXPECT_EQ(read_end(file, 4).error, "is not a regular file") << file;
  }
}

TEST_F(ReadFile, SaysWhyAFileCannotBeRead) {
  fs::create_symlink("nowhere", "dangling");
  fs::create_symlink("circle", "circle");
  EXPECT_EQ(read_file("missing", 1).error, "cannot be read: No such file or directory");
  EXPECT_EQ(read_file("", 1).error, "cannot be read: No such file or directory");
  EXPECT_EQ(read_file("dangling", 1).error, "cannot be read: No such file or directory");
  EXPECT_EQ(read_file("circle", 1).error, "cannot be read: Too many levels of symbolic links");
}

/// The memory of a process can be opened and is regular, but nothing is mapped at its beginning: EIO.
TEST_F(ReadFile, ReportsAReadError) {
  EXPECT_EQ(read_file("/proc/self/mem", 1).error, "cannot be read: Input/output error");
  EXPECT_EQ(read_beginning("/proc/self/mem", 1).error, "cannot be read: Input/output error");
}

TEST_F(ReadFile, ReadsOnlyTheBeginningOrTheEndOnDemand) {
  fake::write_file("f", "abcdef");
  EXPECT_EQ(read_beginning("f", 2).bytes, "ab");
  EXPECT_EQ(read_beginning("f", 9).bytes, "abcdef");
  EXPECT_EQ(read_end("f", 2).bytes, "ef");
  EXPECT_EQ(read_end("f", 9).bytes, "abcdef");
  fs::resize_file("f", std::uintmax_t{1} << 40U);
  EXPECT_EQ(read_end("f", 3).bytes, std::string(3, '\0'));
}

TEST_F(ReadFile, LeavesNoDescriptorOpen) {
  fake::write_file("f", "abc");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const int next = dup(STDIN_FILENO);
  close(next);
  for (const char* file : {"f", "pipe", ".", "missing", "/proc/self/mem"}) read_file(file, 1);
  const int after = dup(STDIN_FILENO);
  EXPECT_EQ(after, next);
  close(after);
}

/// Then the first free descriptor is 0.
TEST_F(ReadFile, DoesTheSameWithoutAStandardInput) {
  fake::write_file("f", "abc");
  const int input = dup(STDIN_FILENO);
  close(STDIN_FILENO);
  const std::string of_directory = read_file(".", 9).error;
  const std::string of_file = read_file("f", 9).bytes;
  dup2(input, STDIN_FILENO);
  close(input);
  EXPECT_EQ(of_directory, "is not a regular file");
  EXPECT_EQ(of_file, "abc");
}

TEST_F(ReadFile, OfDamageGetsAFreeName) {
  for (const char* name : {"f.damaged", "f.damaged.2", "f.damaged.3"}) {
    fake::write_file("f", name);
    EXPECT_EQ(renamed_to_damaged("f"), name);
    EXPECT_EQ(read_file(name, 99).bytes, name);
    EXPECT_FALSE(fs::exists("f"));
  }
  fs::remove("f.damaged");
  fs::create_symlink("nowhere", "f.damaged");
  fake::write_file("f", "");
  EXPECT_EQ(renamed_to_damaged("f"), "f.damaged.4") << "a link is something, too";
  try {
    renamed_to_damaged("missing");
    FAIL();
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "missing: cannot be renamed: No such file or directory");
  }
}

TEST_F(ReadFile, IsNotInheritedByPrograms) {
  fake::write_file("f", "abc");
  const int descriptor = open_regular_file("f");
  ASSERT_GE(descriptor, 0);
  EXPECT_NE(system(("test ! -e /proc/self/fd/" + std::to_string(descriptor)).c_str()), -1);
  EXPECT_EQ(system(("test ! -e /proc/self/fd/" + std::to_string(descriptor)).c_str()), 0);
  close(descriptor);
}

TEST_F(ReadFile, SaysWhatTheFileSystemKnowsOfIt) {
  fake::write_file("f", "abc");
  std::filesystem::permissions("f", std::filesystem::perms(0640));
  std::filesystem::create_symlink("f", "link");
  for (const bool is_link : {false, true}) {
    FileFacts facts;
    const int descriptor = open_regular_file(is_link ? "link" : "f", facts);
    ASSERT_GE(descriptor, 0);
    close(descriptor);
    EXPECT_EQ(facts.size, 3U);
    EXPECT_EQ(facts.permissions, std::filesystem::perms(0640));
    EXPECT_EQ(facts.is_link, is_link);
  }
}

std::string error_of(const std::string& file) {
  try {
    content_of(file, largest::mebibyte, "give another file");
  } catch (const FileError& error) {
    return error.what();
  }
  return "read";
}

TEST_F(ReadFile, ThrowsOneLineThatNamesTheFile) {
  EXPECT_EQ(error_of("a\nb\x1B\xFF"), "a\\nb\\x1B\\xFF: cannot be read: No such file or directory; give another file");
  EXPECT_EQ(error_of("."), ".: is not a regular file; give another file");
  fake::write_file("f", "");
  fs::resize_file("f", largest::mebibyte + 1);
  EXPECT_EQ(error_of("f"), "f: is larger than 1 MiB; give another file");
}

TEST(FileError, IsOnePrintableLine) {
  EXPECT_STREQ(FileError("a\n\xE2\x80\xAE", "b\nc\xC2\x9B").what(), "a\\n\\u202E: b\\nc\\u009B");
  EXPECT_STREQ(FileError("\xFF", 2, 3, "b\x1B").what(), "\\xFF:2:3: b\\x1B");
}

TEST_F(ReadFile, KnowsWhichPathsNameTheSameFile) {
  fake::write_file("f", "");
  fake::write_file("d/g", "");
  fs::create_symlink("f", "link");
  fs::create_hard_link("f", "hard");
  fs::create_symlink("new", "to-new");
  for (const char* same : {"f", "./f", "d/../f", "link", "hard"}) EXPECT_TRUE(is_same_file("f", same)) << same;
  EXPECT_FALSE(is_same_file("f", "d/g"));
  EXPECT_FALSE(is_same_file("f", "missing"));
  EXPECT_TRUE(is_same_file("missing", "d/../missing"));
  EXPECT_TRUE(is_same_file("new", directory.path() + "/new"));
  EXPECT_FALSE(is_same_file("new", "d/new"));
}

TEST_F(ReadFile, DeterminesFullPaths) {
  fake::write_file("d/f", "");
  fs::create_symlink("d", "link");
  EXPECT_EQ(absolute_path("link/f"), directory.path() + "/link/f");
  EXPECT_EQ(canonical_path("link/f"), directory.path() + "/d/f");
  try {
    canonical_path("missing");
    FAIL();
  } catch (const FileError& error) {
    EXPECT_STREQ(error.what(), "missing: cannot determine its full path: No such file or directory; give the full path");
  }
}

}  // namespace
