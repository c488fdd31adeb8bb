// The strictness of the fake itself: each thing that it has to refuse is done once, on purpose.
#include "fake_host/fake_host.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "fake_host/allocations.h"
#include "fake_host/file_buffers.h"

using fake::FakeHost;
using fake::Texts;

namespace {

TEST(FakeHost, RemembersWhatIsDoneInOrder) {
  FakeHost host;
  host.results = {fake::fails(3, "printed")};
  print_log("eclipse_int: %d", 1);
  env_set_string(&host, "NAME", "value");
  int exit_code = 0;
  EXPECT_EQ(get_command_output("command", &exit_code, true, ""), "printed");
  EXPECT_EQ(exit_code, 3);
  EXPECT_EQ(host.events, (Texts{"eclipse_int: 1", "NAME=value", "$ command"}));
  EXPECT_EQ(host.log, Texts{"eclipse_int: 1"});
  EXPECT_EQ(host.writes, Texts{"NAME=value"});
  EXPECT_EQ(host.commands, Texts{"command"});
  EXPECT_EQ(host.calls, (Texts{"print_log(eclipse_int: 1)", "env_set_string(NAME, value)", "get_command_output(command)"}));
}

TEST(FakeHost, ComponentGoesIntoCatalogueAndCapabilityMap) {
  FakeHost host;
  auto* const component = host.add({.code = "c",
                                    .installBase = "base",
                                    .installDir = "dir",
                                    .install = true,
                                    .package = {{.prefix = "prefix", .files = {"file"}, .root = "root"}},
                                    .capabilities = {"A", "B"}});
  EXPECT_EQ(host.tsd.components(), std::vector<Component*>{component});
  EXPECT_EQ(*host.capabilities, (std::map<std::string, Component*>{{"A", component}, {"B", component}}));
  EXPECT_EQ(component->installBase + " " + component->installDir, "base dir");
  EXPECT_TRUE(component->installCondition());
  EXPECT_FALSE(component->uninstallCondition());
  EXPECT_FALSE(component->getInstalled(0));
  Package* const package = component->provider()->findPackage("", "c", "");
  ASSERT_NE(package, nullptr);
  EXPECT_EQ(package->prefix, "prefix");
  EXPECT_EQ(component->provider()->packageFiles(package), Texts{"file"});
  EXPECT_EQ(component->provider()->rootPath(), "root");
}

TEST(FakeHost, WorksInATemporaryDirectoryAndRemovesIt) {
  const auto before = std::filesystem::current_path();
  std::string path;
  {
    FakeHost host;
    path = host.directory.path();
    EXPECT_EQ(std::filesystem::current_path(), path);
    fake::write_file("some/file", "content");
    EXPECT_TRUE(is_file(path + "/some/file"));
  }
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(std::filesystem::current_path(), before);
}

void run_a_command_with_results(std::deque<eclipse_shell::CommandResult> results) {
  FakeHost host;
  host.results = std::move(results);
  int exit_code = 0;
  get_command_output("command", &exit_code, true, "");
}

void log_a_line(const char* line) {
  FakeHost host;
  print_log("%s", line);
}

TEST(FakeHost, CommandWithoutAResultFails) {
  EXPECT_NONFATAL_FAILURE(run_a_command_with_results({}), "a command that was not scripted: command");
}

TEST(FakeHost, ResultWithoutACommandFails) {
  EXPECT_NONFATAL_FAILURE(run_a_command_with_results(std::deque(2, fake::succeeds())),
                          "1 scripted command result(s) were not used");
}

TEST(FakeHost, LogLineWithoutAPrefixFails) {
  EXPECT_NONFATAL_FAILURE(log_a_line("eclipse: hello"), "a log line without a known prefix: eclipse: hello");
}

void free_buffer_times(int times) {
  FakeHost host;
  fake::write_file("file", std::string(100, 'x'));  // longer than a string keeps in itself
  // The compiler must not see that the second free() is one too many.
  char* volatile buffer = get_file("file", 0, nullptr);
  for (int i = 0; i < times; ++i) std::free(buffer);  // NOLINT(clang-analyzer-unix.Malloc)
}

// The address sanitizer ends the program instead.
TEST(FakeHostDeathTest, FileBufferNotFreedFails) {
  if (fake::file_buffers_are_watched()) {
    EXPECT_NONFATAL_FAILURE(free_buffer_times(0), "1 buffer(s) of get_file() were not freed");
  } else {
    EXPECT_DEATH((free_buffer_times(0), std::exit(0)), "LeakSanitizer");
  }
}

TEST(FakeHostDeathTest, FileBufferFreedTwiceFails) {
  if (fake::file_buffers_are_watched()) {
    EXPECT_NONFATAL_FAILURE(free_buffer_times(2), "1 buffer(s) of get_file() were freed more than once");
  } else {
    EXPECT_DEATH(free_buffer_times(2), "double-free");
  }
}

TEST(FakeHost, FileBuffersAreTheOnlyMemoryWatched) {
  FakeHost host;
  fake::write_file("file", std::string(100'000, 'x'));
  std::free(get_file("file", 0, nullptr));
  void* volatile other = std::malloc(10);
  std::free(other);
  std::free(get_file("file", 0, nullptr));
  EXPECT_EQ(get_file("missing", 0, nullptr), nullptr);
  const std::size_t watched = fake::file_buffers_are_watched() ? 2 : 0;
  EXPECT_EQ(fake::settle_file_buffers(), (fake::BufferAccount{watched, 0, 0}));
}

TEST(FailingAllocations, TheNthAllocationThrows) {
  FakeHost host;
  const fake::FailingAllocations allocations(2, fake::Extent::once);
  void* const first = ::operator new(8);
  EXPECT_FALSE(allocations.happened());
  EXPECT_THROW(::operator delete(::operator new(8)), std::bad_alloc);
  EXPECT_TRUE(allocations.happened());
  ::operator delete(first);
  void* const third = ::operator new(8);
  ::operator delete(third);
}

}  // namespace
