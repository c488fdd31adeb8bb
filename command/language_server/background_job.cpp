#include "language_server/background_job.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <exception>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/write_all.h"

namespace eclipse_language_server {

namespace {

// The exit statuses of a child.
constexpr int success = 0;
constexpr int failure = 1;
constexpr int unwritable = 2;  ///< the parent did not get all of the result or message

/// Nothing that the work prints may get between the messages to the editor.
void leave_standard_streams() {
  const int nothing = open("/dev/null", O_RDWR);
  if (nothing >= 0 && dup2(nothing, STDIN_FILENO) >= 0 && dup2(nothing, STDOUT_FILENO) >= 0) return;
  throw std::system_error(errno, std::generic_category(), "cannot open /dev/null");
}

int status_of(const std::function<std::string()>& work, int output) {
  try {
    leave_standard_streams();
    return eclipse_base::write_all(output, work()) ? success : unwritable;
  } catch (const std::exception& error) {
    return eclipse_base::write_all(output, error.what()) ? failure : unwritable;
  }
}

[[noreturn]] void work_and_exit(const std::function<std::string()>& work, int output) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  _exit(status_of(work, output));
}

}  // namespace

BackgroundJob::BackgroundJob(const std::function<std::string()>& work, Clock::time_point deadline) : deadline_(deadline) {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
  child_ = fork();
  if (child_ == 0) work_and_exit(work, ends[1]);
  const int error = errno;
  close(ends[1]);
  descriptor_ = ends[0];
  if (child_ > 0) return;
  close(descriptor_);
  throw std::system_error(error, std::generic_category(), "cannot start a process");
}

BackgroundJob::~BackgroundJob() {
  close(descriptor_);
  if (child_ <= 0) return;
  kill(child_, SIGKILL);
  wait_for_end();
}

bool BackgroundJob::has_ended() {
  for (pollfd input{descriptor_, POLLIN, 0}; poll(&input, 1, 0) > 0;) {
    if (!read_some()) return true;
  }
  return false;
}

/// False at the end.
bool BackgroundJob::read_some() {
  std::array<char, 65536> buffer;
  const ssize_t count = read(descriptor_, buffer.data(), buffer.size());
  if (count > 0) result_.append(buffer.data(), static_cast<std::size_t>(count));
  if (count > 0 || (count < 0 && errno == EINTR)) return true;
  const int error = count < 0 ? errno : 0;
  if (error != 0) kill(child_, SIGKILL);  // it would wait for a reader
  wait_for_end();
  if (error != 0) fail(std::string("the result cannot be read: ") + std::strerror(error));
  return false;
}

void BackgroundJob::fail(std::string message) {
  has_succeeded_ = false;
  result_ = std::move(message);
}

void BackgroundJob::wait_for_end() {
  int status = 0;
  pid_t ended = 0;
  do ended = waitpid(child_, &status, 0);
  while (ended < 0 && errno == EINTR);
  const bool has_exited = ended == child_ && WIFEXITED(status);
  child_ = -1;
  has_succeeded_ = has_exited && WEXITSTATUS(status) == success;
  if (has_exited && WEXITSTATUS(status) == unwritable) fail("the result cannot be written");
}

}  // namespace eclipse_language_server
