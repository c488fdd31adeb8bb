#include "terminal/log_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <string>
#include <utility>

#include "base/file.h"
#include "base/file_error.h"
#include "fake_host/temporary_directory.h"
#include "terminal/redirected_stream.h"

namespace {

using eclipse_base::FileError;
using eclipse_terminal::LogFile;
using terminal_test::written_to;

std::string content(const std::string& file) { return eclipse_base::read_file(file, 1000).bytes; }

std::string error_of_opening(const std::string& file) {
  try {
    const LogFile log(file);
  } catch (const FileError& error) {
    return error.what();
  }
  return "";
}

std::string error_of(const LogFile& log) {
  try {
    log.check();
  } catch (const FileError& error) {
    return error.what();
  }
  return "";
}

class LogFileTest : public testing::Test {
 protected:
  const fake::TemporaryDirectory directory;
};

TEST_F(LogFileTest, TakesRecordsAndWhatIsLeftOutAsPrintableLines) {
  fake::write_file("log", "of an earlier run\n");
  const int next = dup(STDIN_FILENO);
  close(next);
  {
    LogFile log("log");
    EXPECT_EQ(content("log"), "");
    const auto observer = log.observer();
    observer.on_log("first\x1B");
    EXPECT_EQ(content("log"), "first\\x1B\n");
    observer.command_progress.on_left_out("a\nb\n\nc");
    observer.on_log(std::string(300, 'l'));
    EXPECT_EQ(error_of(log), "");
    EXPECT_EQ(fcntl(next, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(fcntl(next, F_GETFL) & O_NONBLOCK, 0);
  }
  const std::string left_out = "eclipse-int: left out below: ";
  EXPECT_EQ(content("log"), "first\\x1B\n" + left_out + "a\n" + left_out + "b\n" + left_out + "\n" + left_out + "c\n" +
                                std::string(300, 'l') + "\n");
  const int after = dup(STDIN_FILENO);
  EXPECT_EQ(after, next) << "it is closed";
  close(after);
}

TEST_F(LogFileTest, IsReadableForAllUsersWhoMay) {
  const mode_t mask = umask(0);
  { const LogFile log("log"); }
  umask(mask);
  struct stat status {};
  ASSERT_EQ(stat("log", &status), 0);
  EXPECT_EQ(status.st_mode & 07777U, 0666U);
}

TEST_F(LogFileTest, SaysWhyItCannotBeOpened) {
  const std::string fix = "; give the path of a file that can be written";
  EXPECT_EQ(error_of_opening("missing/log"), "missing/log: cannot open the log: No such file or directory" + fix);
  ASSERT_EQ(mkfifo("fifo", 0600), 0);
  EXPECT_EQ(error_of_opening("fifo"), "fifo: cannot open the log: it is a FIFO that no process reads" + fix);
}

TEST_F(LogFileTest, SaysWhyItIsIncomplete) {
  LogFile log("/dev/full");
  EXPECT_EQ(error_of(log), "");
  log.observer().on_log("line");
  EXPECT_EQ(error_of(log), "/dev/full: the log is incomplete: No space left on device; give the log another file");
}

TEST_F(LogFileTest, WritesNothingMoreAfterAnError) {
  ASSERT_EQ(mkfifo("fifo", 0600), 0);
  const int reader = open("fifo", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  LogFile log("fifo");
  close(reader);
  const auto handler = signal(SIGPIPE, SIG_IGN);
  log.observer().on_log("lost");
  const int second = open("fifo", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  log.observer().on_log("not begun again");
  signal(SIGPIPE, handler);
  char byte = 0;
  EXPECT_LT(read(second, &byte, 1), 0);
  close(second);
  EXPECT_EQ(error_of(log), "fifo: the log is incomplete: Broken pipe; give the log another file");
}

TEST_F(LogFileTest, MayBeAStandardStream) {
  for (const auto& [stream, path] : {std::pair(STDOUT_FILENO, "/dev/stdout"), {STDERR_FILENO, "/dev/stderr"}}) {
    const std::string written = written_to(stream, [path = std::string(path)] {
      LogFile log(path);
      log.observer().on_log("line");
    });
    EXPECT_EQ(written, "line\n");
  }
}

}  // namespace
