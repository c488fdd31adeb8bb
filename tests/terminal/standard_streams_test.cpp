#include "terminal/standard_streams.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <sys/resource.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "fake_host/temporary_directory.h"
#include "terminal/interruptible_write.h"
#include "terminal/interruption.h"
#include "terminal/redirected_stream.h"

namespace {

using namespace eclipse_terminal;
using terminal_test::RedirectedStream;
using terminal_test::shown_on_terminal;
using terminal_test::status_of_child;
using terminal_test::written_to;

TEST(StandardStreams, ClosedOnesAreOpenForReadingOnlyAndSignalsDoNotEndTheProgram) {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    EXPECT_EQ(status_of_child([stream] {
                std::signal(SIGCHLD, SIG_IGN);
                close(stream);
                prepare_standard_streams();
                const bool is_open = (fcntl(stream, F_GETFL) & O_ACCMODE) == O_RDONLY;
                const bool are_ignored = std::signal(SIGPIPE, SIG_DFL) == SIG_IGN && std::signal(SIGXFSZ, SIG_DFL) == SIG_IGN;
                return is_open && are_ignored && std::signal(SIGCHLD, SIG_DFL) == SIG_DFL ? 0 : 1;
              }),
              0)
        << stream;
  }
  EXPECT_EQ(status_of_child([] {
              const int before = open("/dev/null", O_RDWR | O_CLOEXEC);
              close(before);
              prepare_standard_streams();
              const bool stay = fcntl(STDOUT_FILENO, F_GETFD) >= 0;
              return stay && open("/dev/null", O_RDWR | O_CLOEXEC) == before ? 0 : 1;
            }),
            0)
      << "open ones stay as they are";
  EXPECT_EQ(status_of_child([] {
              const rlimit no_more{0, 0};
              close(STDIN_FILENO);
              setrlimit(RLIMIT_NOFILE, &no_more);
              prepare_standard_streams();
              return 0;
            }),
            2)
      << "one cannot be opened";
}

TEST(StandardStreams, AMessageIsPrintableAndKeepsItsLineFeeds) {
  const std::string message = "a\nb\x1B " + std::string(1000, 'l');
  EXPECT_EQ(written_to(STDERR_FILENO, [&] { print_message(message); }),
            "eclipse-int: a\nb\\x1B " + std::string(1000, 'l') + "\n");
  EXPECT_EQ(written_to(STDERR_FILENO, print_out_of_memory), "eclipse-int: there is not enough memory\n");
}

TEST(StandardStreams, ANoticeBeginsANewLineOnATerminal) {
  EXPECT_EQ(written_to(STDERR_FILENO, [] { print_notice("a"); }), "eclipse-int: a\n");
  EXPECT_EQ(shown_on_terminal(STDERR_FILENO, [] { print_notice("a"); }), "\r\neclipse-int: a\r\n");
}

TEST(StandardStreams, ANoticeDoesNotWaitForAReader) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  const std::size_t room = static_cast<std::size_t>(fcntl(ends[1], F_GETPIPE_SZ));
  ASSERT_EQ(write_while(ends[1], std::string(room, 'a'), [] { return false; }), 0);
  {
    const RedirectedStream full(STDERR_FILENO, ends[1]);
    print_notice("lost");
  }
  close(ends[0]);
}

TEST(StandardStreams, ManyErrorsMayBeMore) {
  using namespace eclipse_base;
  const auto printed = [](std::size_t count) {
    return written_to(STDERR_FILENO, [&] { print_errors(FileErrors(std::vector<FileError>(count, FileError("f", "e")))); });
  };
  std::string all;
  for (int i = 0; i < 99; ++i) all += "eclipse-int: f: e\n";
  EXPECT_EQ(printed(99), all);
  EXPECT_EQ(printed(100),
            all + "eclipse-int: f: e\neclipse-int: there may be more errors; these are the first 100 that were found\n");
}

TEST(StandardStreams, ColoursAreForTerminalsUnlessTheUserHasTurnedThemOff) {
  std::string coloured;
  const auto look = [&] { coloured = std::to_string(output_is_terminal()) + std::to_string(output_is_coloured()); };
  unsetenv("NO_COLOR");
  shown_on_terminal(STDOUT_FILENO, look);
  EXPECT_EQ(coloured, "11");
  written_to(STDOUT_FILENO, look);
  EXPECT_EQ(coloured, "00");
  setenv("NO_COLOR", "", 1);
  shown_on_terminal(STDOUT_FILENO, look);
  EXPECT_EQ(coloured, "11");
  setenv("NO_COLOR", "1", 1);
  shown_on_terminal(STDOUT_FILENO, look);
  EXPECT_EQ(coloured, "10");
  unsetenv("NO_COLOR");
}

TEST(StandardStreams, APathMayLeadToOne) {
  const fake::TemporaryDirectory directory;
  fake::write_file("out", "");
  fake::write_file("error", "");
  fake::write_file("other", "");
  std::vector<std::optional<int>> streams;
  {
    const RedirectedStream out(STDOUT_FILENO, open("out", O_WRONLY | O_CLOEXEC));
    const RedirectedStream error(STDERR_FILENO, open("error", O_WRONLY | O_CLOEXEC));
    for (const char* file : {"out", "error", "other", "missing", "/dev/stdout"}) streams.push_back(stream_of(file));
  }
  EXPECT_EQ(streams, (std::vector<std::optional<int>>{STDOUT_FILENO, STDERR_FILENO, {}, {}, STDOUT_FILENO}));
  std::optional<int> null = STDOUT_FILENO;
  {
    const RedirectedStream out(STDOUT_FILENO, open("/dev/null", O_WRONLY | O_CLOEXEC));
    null = stream_of("/dev/stdout");
  }
  EXPECT_EQ(null, std::nullopt);
  std::optional<int> terminal;
  shown_on_terminal(STDOUT_FILENO, [&] { terminal = stream_of("/dev/stdout"); });
  EXPECT_EQ(terminal, STDOUT_FILENO);
}

TEST(StandardStreams, OutputFollowsWhatTheStreamHas) {
  EXPECT_EQ(written_to(STDOUT_FILENO,
                       [] {
                         std::cout << "first ";
                         write_to_output("second");
                         EXPECT_EQ(with_output_written(0), 0);
                         EXPECT_EQ(with_output_written(1), 1);
                       }),
            "first second");
}

/// In a child, since what is missing stays missing.
TEST(StandardStreams, MissingOutputIsTrouble) {
  for (const int status : {0, 1, 2}) {
    EXPECT_EQ(
        status_of_child([status] {
          int result = 0;
          const std::string message = written_to(STDERR_FILENO, [&] {
            const RedirectedStream full(STDOUT_FILENO, open("/dev/full", O_WRONLY | O_CLOEXEC));
            write_to_output("lost");
            result = with_output_written(status);
          });
          const std::string more = written_to(STDOUT_FILENO, [] { write_to_output("not begun again"); });
          return message == "eclipse-int: standard output cannot be written; the work is complete, but its output is not\n" &&
                         more.empty()
                     ? 10 + result
                     : 1;
        }),
        status == 0 ? 12 : 10 + status);
  }
  EXPECT_EQ(status_of_child([] {
              int result = 0;
              written_to(STDERR_FILENO, [&] {
                const RedirectedStream full(STDOUT_FILENO, open("/dev/full", O_WRONLY | O_CLOEXEC));
                std::cout << "lost";
                result = with_output_written(0);
              });
              return result;
            }),
            2);
}

TEST(StandardStreams, AReaderIsWaitedForUntilTheSecondSignal) {
  const Interruption interruption;
  EXPECT_TRUE(waits_for_reader());
  raise(SIGTERM);
  EXPECT_TRUE(waits_for_reader());
}

TEST(WriteWhile, WritesAllAtOnceOrUntilItIsToStop) {
  std::array<int, 2> ends{};
  ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  const std::size_t room = static_cast<std::size_t>(fcntl(ends[1], F_GETPIPE_SZ));
  const auto never = [] { return false; };
  EXPECT_EQ(write_while(ends[1], std::string(room, 'a'), never), 0);
  int asked = 0;
  const auto twice = [&] { return ++asked < 2; };
  EXPECT_EQ(write_while(ends[1], "b", twice), ECANCELED);
  EXPECT_EQ(asked, 2);
  std::string text(room, '\0');
  ASSERT_EQ(read(ends[0], text.data(), PIPE_BUF), PIPE_BUF);
  EXPECT_EQ(write_while(ends[1], "c", twice), 0) << "there is room again";
  close(ends[0]);
  const auto handler = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(write_while(ends[1], "d", never), EPIPE);
  std::signal(SIGPIPE, handler);
  close(ends[1]);
}

}  // namespace
