#include "host_kit/forked.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <string.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <fstream>
#include <stdexcept>

#include "base/write_all.h"

namespace host_kit {

namespace {

using Clock = std::chrono::steady_clock;

/// The end of a message: a child that ends within one has not returned.
constexpr char end_of_message = '\x04';

/// What a check may allocate in addition to what the host has.
constexpr rlim_t memory = rlim_t{2} << 30;
/// A process with more than this reserves addresses without using them, as with a sanitizer, and gets no limit.
constexpr rlim_t most_memory = rlim_t{1} << 40;

rlim_t address_space() {
  std::ifstream file("/proc/self/statm");
  rlim_t pages = 0;
  file >> pages;
  return pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE));
}

void set_limit(__rlimit_resource resource, rlim_t value) {
  rlimit limit;
  if (getrlimit(resource, &limit) != 0 || limit.rlim_cur <= value) return;
  limit.rlim_cur = value;
  setrlimit(resource, &limit);
}

void prepare_child(unsigned seconds, const std::string& outputs) {
  setpgid(0, 0);
  const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int output = open(outputs.c_str(), O_CREAT | O_WRONLY | O_APPEND | O_CLOEXEC, 0600);
  dup2(input, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  close(input);
  close(output);
  set_limit(RLIMIT_CORE, 0);
  set_limit(RLIMIT_CPU, seconds + 1);
  set_limit(RLIMIT_FSIZE, memory);
  const rlim_t used = address_space();
  if (used < most_memory) set_limit(RLIMIT_AS, used + memory);
}

struct Reading {
  std::string message;
  bool is_late = false;  ///< neither the end of the message nor that of the child came in time
};

/// Reads until the end of the message or of the child, or until `until`.
Reading read_message(int file, Clock::time_point until) {
  Reading reading;
  std::string& message = reading.message;
  while (message.empty() || message.back() != end_of_message) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(until - Clock::now()).count();
    if (left <= 0) {
      reading.is_late = true;
      break;
    }
    pollfd ready{file, POLLIN, 0};
    if (poll(&ready, 1, static_cast<int>(left)) <= 0) continue;
    char piece[4096];
    const ssize_t count = read(file, piece, sizeof piece);
    if (count == 0) break;
    if (count > 0) message.append(piece, static_cast<std::size_t>(count));
  }
  return reading;
}

std::string signal_name(int number) {
  const char* const name = sigabbrev_np(number);
  return name == nullptr ? "signal " + std::to_string(number) : "SIG" + std::string(name) + " (" + strsignal(number) + ")";
}

/// How the child ended, after everything in its group was ended.
std::string end_of(pid_t child, bool is_late) {
  if (is_late) kill(-child, SIGKILL);
  int status = 0;
  pid_t ended;
  do {
    ended = waitpid(child, &status, 0);
  } while (ended < 0 && errno == EINTR);
  kill(-child, SIGKILL);
  if (is_late) return "it was still running, and was stopped";
  if (ended < 0) return "the process ended; the host's own handler of SIGCHLD took how";
  if (WIFSIGNALED(status)) return "the process was ended by " + signal_name(WTERMSIG(status));
  return "the process exited with status " + std::to_string(WEXITSTATUS(status));
}

}  // namespace

ChildEnd run_in_child(const std::function<std::string()>& function, unsigned seconds, const std::string& outputs) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) throw std::runtime_error(std::string("cannot make a pipe: ") + strerror(errno));
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error(std::string("cannot start a process: ") + strerror(errno));
  if (child == 0) {
    close(ends[0]);
    prepare_child(seconds, outputs);
    _exit(eclipse_base::write_all(ends[1], function() + end_of_message) ? 0 : 1);
  }
  setpgid(child, child);  // here as well: the child may not have got so far when it is to be ended
  close(ends[1]);
  Reading reading = read_message(ends[0], Clock::now() + std::chrono::seconds(seconds));
  close(ends[0]);
  const std::string how = end_of(child, reading.is_late);
  std::string& message = reading.message;
  const bool is_whole = !message.empty() && message.back() == end_of_message;
  if (!is_whole) return {std::nullopt, how};
  message.pop_back();
  return {message, how};
}

}  // namespace host_kit
