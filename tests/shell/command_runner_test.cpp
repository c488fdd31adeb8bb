#include "shell/command_runner.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/limits.h"
#include "fake_host/temporary_directory.h"

using eclipse_shell::CommandResult;
using eclipse_shell::run_in_shell;

namespace {

struct ExitCase {
  std::string command;
  int exit_code;
};

TEST(Shell, ExitCodeIsThatOfTheCommandLine) {
  const std::vector<ExitCase> cases = {
      {"true", 0},
      {"false", 1},
      {"exit 13", 13},
      {"exit 255", 255},
      {"", 0},
      {"no_such_command_here", 127},
      {"false; true", 0},
      {"kill -TERM $$", 128 + SIGTERM},
      {"kill -KILL $$", 128 + SIGKILL},
      {"/", 126},
  };
  for (const auto& [command, exit_code] : cases) EXPECT_EQ(run_in_shell(command).exit_code, exit_code) << command;
}

TEST(Shell, OutputsAreKeptApart) {
  const CommandResult result = run_in_shell("echo out; echo error >&2; printf 'more'; exit 2");
  EXPECT_EQ(result.output, "out\nmore");
  EXPECT_EQ(result.error_output, "error\n");
  EXPECT_EQ(result.exit_code, 2);
  EXPECT_EQ(run_in_shell("(echo 1; echo 2 >&2; echo 3) 2>&1").output, "1\n2\n3\n");
}

TEST(Shell, EveryByteOfTheOutputIsKept) {
  EXPECT_EQ(run_in_shell("printf 'a\\000b\\377\\r\\n\\n'").output, std::string("a\0b\xFF\r\n\n", 7));
}

TEST(Shell, MegabytesOnBothOutputsDoNotBlock) {
  const CommandResult result = run_in_shell(
      "head -c 2000000 /dev/zero | tr '\\000' o; head -c 2000000 /dev/zero | tr '\\000' e >&2; head -c 1000000 /dev/zero | tr "
      "'\\000' p");
  EXPECT_TRUE(result.output == std::string(2'000'000, 'o') + std::string(1'000'000, 'p')) << result.output.size();
  EXPECT_TRUE(result.error_output == std::string(2'000'000, 'e')) << result.error_output.size();
  EXPECT_EQ(result.exit_code, 0);
}

/// What is left out is handed on in order, so that with what is kept it is all of the output.
TEST(Shell, OfALargeOutputBeginningAndEndAreKept) {
  constexpr std::size_t limit = eclipse_base::largest::output;
  for (const std::size_t size : {limit - 1, limit, limit + 1, 2 * limit + 12345, 5 * limit}) {
    std::string all;
    std::string left_out;
    eclipse_shell::CommandProgress progress;
    progress.on_output = [&](std::string_view piece) {
      all += piece;
      EXPECT_LE(all.size() - left_out.size(), limit + limit / 2) << "no more is kept while it runs";
    };
    progress.on_left_out = [&](std::string_view piece) { left_out += piece; };
    const std::string count = std::to_string(size);
    const CommandResult result = run_in_shell("seq 1 9999999 | head -c " + count + "; seq 5 | head -c 9 >&2", progress);
    ASSERT_EQ(all.size(), size);
    EXPECT_EQ(result.error_output, "1\n2\n3\n4\n5");
    EXPECT_EQ(result.error_output_left_out, 0U);
    EXPECT_EQ(result.output_left_out, size - std::min(size, limit));
    EXPECT_EQ(left_out.size(), result.output_left_out);
    const std::string mark = left_out.empty() ? "" : "\n[" + std::to_string(left_out.size()) + " bytes left out]\n";
    ASSERT_EQ(result.output.size(), std::min(size, limit) + mark.size());
    const std::size_t beginning = limit / 2;
    EXPECT_TRUE(result.output.substr(beginning, mark.size()) == mark);
    EXPECT_TRUE(result.output.substr(0, beginning) + left_out + result.output.substr(beginning + mark.size()) == all);
  }
}

TEST(Shell, WhatAnInterruptedCommandPrintedIsKnown) {
  CommandResult result;
  eclipse_shell::CommandProgress progress;
  progress.on_wait = [](double) { throw 42; };
  EXPECT_THROW(run_in_shell("echo out; echo error >&2; sleep 100", result, progress), int);
  EXPECT_EQ(result.output, "out\n");
  EXPECT_EQ(result.error_output, "error\n");
}

TEST(Shell, StandardInputIsEmpty) {
  const fake::TemporaryDirectory directory;
  fake::write_file("input", "of this program");
  const int own = dup(STDIN_FILENO);
  const int input = open("input", O_RDONLY);
  dup2(input, STDIN_FILENO);
  const CommandResult result = run_in_shell("cat; echo end");
  dup2(own, STDIN_FILENO);
  close(input);
  close(own);
  EXPECT_EQ(result.output, "end\n");
  EXPECT_EQ(result.error_output, "");
}

TEST(Shell, IsCalledSh) { EXPECT_EQ(run_in_shell("echo \"$0 $#\"").output, "sh 0\n"); }

TEST(Shell, EachOutputIsReadToItsOwnEnd) {
  EXPECT_EQ(run_in_shell("exec >&-; sleep 0.4; echo late >&2").error_output, "late\n");
  EXPECT_EQ(run_in_shell("exec 2>&-; sleep 0.4; echo late").output, "late\n");
}

TEST(Shell, WhatStillHoldsTheOutputIsWaitedFor) {
  const CommandResult result = run_in_shell("(sleep 0.4; echo late) & echo early");
  EXPECT_EQ(result.output, "early\nlate\n");
  EXPECT_GE(result.seconds, 0.4);
}

TEST(Shell, CommandTooLongForTheSystemCannotBeStarted) {
  const CommandResult result = run_in_shell("echo " + std::string(131'072, 'x'));
  EXPECT_EQ(result.exit_code, 126);
  EXPECT_EQ(result.output, "");
  EXPECT_EQ(result.error_output, "cannot start /bin/sh: Argument list too long\n");
}

TEST(Shell, CommandWithAZeroByteIsNotStarted) {
  const fake::TemporaryDirectory directory;
  for (const std::string& command :
       {std::string("echo > begun\0", 13), std::string("\0echo > begun", 13), std::string("echo > begun; echo a\0b", 22)}) {
    const CommandResult result = run_in_shell(command);
    EXPECT_EQ(result.exit_code, 126);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.error_output,
              "cannot start /bin/sh: the command contains a NUL byte, which cannot be passed to a shell\n");
  }
  EXPECT_FALSE(std::filesystem::exists("begun"));
}

/// Where the system waits for all children, nobody learns how a command ended.
TEST(Shell, LostExitCodeIsNoSuccess) {
  const auto before = std::signal(SIGCHLD, SIG_IGN);
  const CommandResult result = run_in_shell("echo text");
  std::signal(SIGCHLD, before);
  EXPECT_EQ(result.output, "text\n");
  EXPECT_EQ(result.exit_code, 126);
}

TEST(Shell, LongCommandIsRunWhole) {
  const std::string text(130'000, 'x');
  EXPECT_TRUE(run_in_shell("echo " + text).output == text + "\n");
}

TEST(Shell, ProgressIsReportedWhileTheCommandRuns) {
  std::string seen;
  std::string seen_errors;
  double waited = 0;
  eclipse_shell::CommandProgress progress;
  progress.on_output = [&](std::string_view piece) { seen += piece; };
  progress.on_error_output = [&](std::string_view piece) { seen_errors += piece; };
  progress.on_wait = [&](double seconds) {
    EXPECT_EQ(seen, "first\n");
    EXPECT_GT(seconds, waited);
    waited = seconds;
  };
  const CommandResult result = run_in_shell("echo first; sleep 0.8; echo error >&2; echo last", progress);
  EXPECT_EQ(seen, "first\nlast\n");
  EXPECT_EQ(seen, result.output);
  EXPECT_EQ(seen_errors, "error\n");
  EXPECT_EQ(seen_errors, result.error_output);
  EXPECT_GT(waited, 0);
  EXPECT_GE(result.seconds, waited);
}

TEST(Shell, ProgressIsReportedWhenTheCommandHasClosedItsOutputs) {
  std::vector<double> waits;
  eclipse_shell::CommandProgress progress;
  progress.on_wait = [&](double seconds) { waits.push_back(seconds); };
  const CommandResult result = run_in_shell("exec >/dev/null 2>&1; sleep 0.9; exit 3", progress);
  EXPECT_EQ(result.exit_code, 3);
  EXPECT_GE(result.seconds, 0.9);
  ASSERT_GE(waits.size(), 2U);
  EXPECT_LE(waits.size(), 4U) << "about four times a second";
  EXPECT_LT(waits.front(), waits.back());
}

TEST(Shell, FailureToStartIsReportedAsErrorOutput) {
  std::string seen;
  eclipse_shell::CommandProgress progress;
  progress.on_error_output = [&](std::string_view piece) { seen += piece; };
  const CommandResult result = run_in_shell(std::string(200'000, 'x'), progress);
  EXPECT_EQ(seen, result.error_output);
}

/// The descriptors that are open here; only those that a command inherits, when asked for.
std::ptrdiff_t open_descriptors(bool inherited_only = false) {
  std::ptrdiff_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int flags = fcntl(std::stoi(entry.path().filename().string()), F_GETFD);
    if (!inherited_only || (flags & FD_CLOEXEC) == 0) ++count;
  }
  return count;
}

TEST(Shell, NoDescriptorsAreLeftOpenHereOrInTheCommand) {
  const std::ptrdiff_t before = open_descriptors();
  // One more than are inherited: that by which ls reads the directory.
  const std::string in_a_command = std::to_string(open_descriptors(true) + 1) + "\n";
  for (int i = 0; i < 3; ++i) EXPECT_EQ(run_in_shell("ls /proc/self/fd | wc -l").output, in_a_command);
  run_in_shell(std::string(200'000, 'x'));
  EXPECT_EQ(open_descriptors(), before);
}

/// Signals this program again and again, with a handler that does nothing, as long as it lives.
class Interruptions {
 public:
  explicit Interruptions(suseconds_t microseconds = 5'000) {
    struct sigaction action {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, &before_);
    const itimerval often{{0, microseconds}, {0, microseconds}};
    setitimer(ITIMER_REAL, &often, nullptr);
  }
  ~Interruptions() {
    const itimerval never{};
    setitimer(ITIMER_REAL, &never, nullptr);
    sigaction(SIGALRM, &before_, nullptr);
  }
  Interruptions(const Interruptions&) = delete;
  Interruptions& operator=(const Interruptions&) = delete;

 private:
  struct sigaction before_ {};
};

/// Whether this program has a child, running or not waited for.
bool has_child() { return waitpid(-1, nullptr, WNOHANG) == 0 || errno != ECHILD; }

/// The process whose number is in a file, once it is there.
pid_t process_in(const std::string& file) {
  for (int i = 0; i < 200; ++i) {
    std::ifstream stream(file);
    pid_t process = 0;
    if (stream >> process) return process;
    usleep(10'000);
  }
  return -1;
}

/// A zombie that somebody else has to wait for has ended.
bool is_running(pid_t process) {
  std::ifstream stream("/proc/" + std::to_string(process) + "/stat");
  std::string number, name, state;
  return (stream >> number >> name >> state) && state != "Z";
}

bool ends_soon(pid_t process) {
  for (int i = 0; i < 200 && is_running(process); ++i) usleep(10'000);
  return !is_running(process);
}

class ThrowingProgress : public testing::TestWithParam<std::string> {
 protected:
  /// Throws from the callback that the parameter names.
  static eclipse_shell::CommandProgress progress() {
    eclipse_shell::CommandProgress progress;
    if (GetParam() == "output") progress.on_output = [](std::string_view) { throw 42; };
    if (GetParam() == "error output") progress.on_error_output = [](std::string_view) { throw 42; };
    if (GetParam() == "wait") progress.on_wait = [](double) { throw 42; };
    return progress;
  }

  const fake::TemporaryDirectory directory;
};

TEST_P(ThrowingProgress, LeavesNoProcessAndNoDescriptor) {
  const std::ptrdiff_t before = open_descriptors();
  EXPECT_THROW(run_in_shell("sh -c 'echo $$ > child; exec sleep 100' & while [ ! -s child ]; do sleep 0.01; done; echo text; "
                            "echo text >&2; sleep 100",
                            progress()),
               int);
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_FALSE(has_child());
  const pid_t child = process_in("child");
  ASSERT_GT(child, 0);
  EXPECT_TRUE(ends_soon(child));
}

TEST_P(ThrowingProgress, EndsWhatIgnoresTheRequestToEnd) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_THROW(run_in_shell("trap '' TERM; echo $$ > shell; echo text; echo text >&2; while :; do sleep 1; done", progress()),
               int);
  EXPECT_FALSE(has_child());
  const pid_t shell = process_in("shell");
  ASSERT_GT(shell, 0);
  EXPECT_FALSE(is_running(shell));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

INSTANTIATE_TEST_SUITE_P(Shell, ThrowingProgress, testing::Values("output", "error output", "wait"), [](const auto& parameter) {
  std::string name = parameter.param;
  std::erase(name, ' ');
  return name;
});

/// The grace is for a director that puts its files in order.
TEST(Shell, ACommandMayPutThingsInOrderWhenItIsEnded) {
  const fake::TemporaryDirectory directory;
  eclipse_shell::CommandProgress progress;
  progress.on_output = [](std::string_view) { throw 42; };
  EXPECT_THROW(run_in_shell("trap 'sleep 0.3; echo tidy > tidy; exit' TERM; echo text; while :; do sleep 0.1; done", progress),
               int);
  EXPECT_TRUE(std::filesystem::exists("tidy"));
}

class ClosedOutputs : public testing::Test {
 protected:
  /// Interrupts the command, which has closed its outputs, while it is waited for.
  static void interrupt(const std::string& command) {
    eclipse_shell::CommandProgress progress;
    progress.on_wait = [](double) {
      if (std::filesystem::exists("ready")) throw 42;
    };
    EXPECT_THROW(run_in_shell("exec >/dev/null 2>&1; " + command, progress), int);
    EXPECT_FALSE(has_child());
  }

  double seconds() const { return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count(); }

  const fake::TemporaryDirectory directory;

 private:
  const std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

TEST_F(ClosedOutputs, ACommandMayPutThingsInOrderWhenItIsEnded) {
  interrupt("trap 'sleep 0.6; echo tidy > tidy; exit' TERM; echo > ready; for second in 1 2 3 4 5; do sleep 1; done");
  EXPECT_TRUE(std::filesystem::exists("tidy"));
  EXPECT_LT(seconds(), 4) << "nothing is left to be waited for";
}

TEST_F(ClosedOutputs, ACommandThatIgnoresTheRequestToEndIsEnded) {
  interrupt("trap '' TERM; echo > ready; for second in 1 2 3 4 5 6 7 8 9 10 11 12 13 14 15; do sleep 1; done");
  EXPECT_GE(seconds(), 4) << "it had its time";
  EXPECT_LT(seconds(), 14);
}

TEST(Shell, ASignalIsReportedAsWaitingWhenTheOutputsAreClosed) {
  std::size_t waits = 0;
  eclipse_shell::CommandProgress progress;
  progress.on_wait = [&](double) { ++waits; };
  const Interruptions interruptions;
  EXPECT_EQ(run_in_shell("exec >/dev/null 2>&1; sleep 0.3; exit 5", progress).exit_code, 5);
  EXPECT_GT(waits, 5U);
}

/// poll() leaves what it said before as it was when a signal comes.
TEST(Shell, ASignalIsReportedAsWaiting) {
  std::size_t waits = 0;
  eclipse_shell::CommandProgress progress;
  progress.on_wait = [&](double) { ++waits; };
  const Interruptions interruptions;
  EXPECT_EQ(run_in_shell("echo 1; sleep 0.3; echo 2", progress).output, "1\n2\n");
  EXPECT_GT(waits, 5U);
}

/// A signal comes just when a command has ended and its output is not read yet.
TEST(Shell, OnlyAProcessThatIsLeftHoldsTheOutputs) {
  int held = 0;
  eclipse_shell::CommandProgress progress;
  progress.on_held_outputs = [&] { ++held; };
  const Interruptions interruptions(50);
  for (int i = 0; i < 50; ++i) run_in_shell("echo 1; sleep 0.01; echo 2", progress);
  EXPECT_EQ(held, 0);
  EXPECT_EQ(run_in_shell("(sleep 1; echo 2) & echo 1", progress).output, "1\n2\n");
  EXPECT_EQ(held, 1);
}

TEST(Shell, SignalsToThisProgramDoNotDisturbACommand) {
  const Interruptions interruptions;
  const CommandResult result = run_in_shell("echo 1; sleep 0.2; echo error >&2; sleep 0.2; echo 2; exit 4");
  EXPECT_EQ(result.output, "1\n2\n");
  EXPECT_EQ(result.error_output, "error\n");
  EXPECT_EQ(result.exit_code, 4);
}

/// The fourth field behind the name is the session.
TEST(Shell, CommandHasASessionOfItsOwn) {
  EXPECT_EQ(run_in_shell("read -r process name state parent group session rest < /proc/$$/stat; "
                         "test \"$group $session\" = \"$$ $$\"")
                .exit_code,
            0);
}

/// In the background of a terminal, a process that sets it is stopped by SIGTTOU, and nobody would ever continue it.
TEST(Shell, CommandThatTouchesTheTerminalIsNotStopped) {
  int terminal = -1;
  const pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
  ASSERT_GE(child, 0);
  if (child == 0) _exit(run_in_shell("stty -echo < /dev/tty; exit 7").exit_code);
  int status = 0;
  pid_t ended = 0;
  for (int i = 0; i < 500 && ended == 0; ++i) {
    usleep(10'000);
    ended = waitpid(child, &status, WNOHANG);
  }
  if (ended == 0) kill(child, SIGKILL), waitpid(child, nullptr, 0);
  close(terminal);
  ASSERT_EQ(ended, child) << "the command is stopped";
  EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST(Shell, CommandStartsWithoutTheSignalsThatThisProgramIgnores) {
  struct sigaction ignore {};
  struct sigaction before {};
  ignore.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &ignore, &before);
  const CommandResult result = run_in_shell("kill -PIPE $$; echo still here");
  sigaction(SIGPIPE, &before, nullptr);
  EXPECT_EQ(result.exit_code, 128 + SIGPIPE);
  EXPECT_EQ(result.output, "");
}

}  // namespace
