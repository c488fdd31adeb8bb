#include "host/shell.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>

namespace eclipse_host {

namespace {

constexpr int wait_milliseconds = 250;

/// A pipe whose ends are closed with it.
class Pipe {
 public:
  Pipe() {
    if (pipe2(ends_.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "cannot make a pipe");
  }
  ~Pipe() {
    close_end(0);
    close_end(1);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  int read_end() const { return ends_[0]; }
  int write_end() const { return ends_[1]; }
  void close_write_end() { close_end(1); }

  /// Reads what is there. False at the end.
  bool read_some(std::string& into, const std::function<void(std::string_view)>& report) {
    std::array<char, 65536> buffer;
    const ssize_t count = read(read_end(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) return true;
    if (count <= 0) return false;
    const std::string_view piece(buffer.data(), static_cast<std::size_t>(count));
    into += piece;
    report(piece);
    return true;
  }

 private:
  void close_end(std::size_t end) {
    if (ends_[end] >= 0) close(ends_[end]);
    ends_[end] = -1;
  }

  std::array<int, 2> ends_{-1, -1};
};

/// What a command starts with: an empty standard input, these outputs, and no signal that this program ignores or blocks.
class SpawnOptions {
 public:
  SpawnOptions(const Pipe& output, const Pipe& error_output) {
    posix_spawn_file_actions_init(&files_);
    posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files_, output.write_end(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files_, error_output.write_end(), STDERR_FILENO);

    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnOptions() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }
  SpawnOptions(const SpawnOptions&) = delete;
  SpawnOptions& operator=(const SpawnOptions&) = delete;

  const posix_spawn_file_actions_t* files() const { return &files_; }
  const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t files_{};
  posix_spawnattr_t attributes_{};
};

/// Starts the shell; returns 0 or the error.
int start_shell(const std::string& command, const SpawnOptions& options, pid_t& child) {
  std::string shell = "sh";
  std::string option = "-c";
  std::string text = command;
  std::array<char*, 4> arguments{shell.data(), option.data(), text.data(), nullptr};
  return posix_spawn(&child, "/bin/sh", options.files(), options.attributes(), arguments.data(), environ);
}

int exit_code_of(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

CommandResult run_in_shell(const std::string& command, const CommandProgress& progress) {
  const auto start = std::chrono::steady_clock::now();
  CommandResult result;
  Pipe output;
  Pipe error_output;
  pid_t child = 0;
  const int error = start_shell(command, SpawnOptions(output, error_output), child);
  output.close_write_end();
  error_output.close_write_end();
  if (error != 0) {
    result.exit_code = 126;
    result.error_output = std::string("cannot start /bin/sh: ") + std::strerror(error) + "\n";
    progress.on_error_output(result.error_output);
    return result;
  }

  std::array<pollfd, 2> ends{pollfd{output.read_end(), POLLIN, 0}, pollfd{error_output.read_end(), POLLIN, 0}};
  while (ends[0].fd >= 0 || ends[1].fd >= 0) {
    // A closed end has its descriptor negated, which poll() passes over.
    if (poll(ends.data(), ends.size(), wait_milliseconds) == 0) progress.on_wait(seconds_since(start));
    if (ends[0].revents != 0 && !output.read_some(result.output, progress.on_output)) ends[0].fd = -1;
    if (ends[1].revents != 0 && !error_output.read_some(result.error_output, progress.on_error_output)) ends[1].fd = -1;
  }
  result.exit_code = exit_code_of(child);
  result.seconds = seconds_since(start);
  return result;
}

}  // namespace eclipse_host
