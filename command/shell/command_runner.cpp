#include "shell/command_runner.h"

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
#include <utility>

#include "base/file.h"
#include "shell/exit_code.h"

namespace eclipse_shell {

namespace {

constexpr int wait_milliseconds = 250;
constexpr int nap_milliseconds = 2;
constexpr std::chrono::seconds time_to_end(5);  ///< for a command that is asked to end

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

  /// Hands on what is there. False at the end, and when it cannot be read.
  template <typename Take>
  bool read_some(const Take& take) {
    std::array<char, 65536> buffer;
    const ssize_t count = read(read_end(), buffer.data(), buffer.size());
    if (count < 0 && errno == EINTR) return true;
    if (count < 0) error_ = errno;
    if (count <= 0) {
      close_end(0);
      return false;
    }
    take(std::string_view(buffer.data(), static_cast<std::size_t>(count)));
    return true;
  }

  int error() const { return error_; }

 private:
  void close_end(std::size_t end) {
    if (ends_[end] >= 0) close(ends_[end]);
    ends_[end] = -1;
  }

  std::array<int, 2> ends_{-1, -1};
  int error_ = 0;
};

/// Both outputs of a command.
class Outputs {
 public:
  Outputs() : ends_{pollfd{output_.read_end(), POLLIN, 0}, pollfd{error_output_.read_end(), POLLIN, 0}} {}

  int output() const { return output_.write_end(); }
  int error_output() const { return error_output_.write_end(); }
  void close_write_ends() {
    output_.close_write_end();
    error_output_.close_write_end();
  }

  bool is_at_end() const { return ends_[0].fd < 0 && ends_[1].fd < 0; }

  /// Why one of them could not be read to its end; 0 for both read.
  int error() const { return output_.error() != 0 ? output_.error() : error_output_.error(); }

  /// Waits a while for more, and hands it on. False when nothing came, or a signal did.
  template <typename Take, typename TakeError>
  bool read_some(const Take& take, const TakeError& take_error) {
    // A closed end has its descriptor negated, which poll() passes over.
    if (poll(ends_.data(), ends_.size(), wait_milliseconds) <= 0) return false;
    if (ends_[0].revents != 0 && !output_.read_some(take)) ends_[0].fd = -1;
    if (ends_[1].revents != 0 && !error_output_.read_some(take_error)) ends_[1].fd = -1;
    return true;
  }

 private:
  Pipe output_;
  Pipe error_output_;
  std::array<pollfd, 2> ends_;
};

/// What a command starts with: an empty standard input, these outputs, no signal that this program ignores or blocks, and a
/// session of its own. So all that it starts can be ended with it, Ctrl-C does not reach it, and no terminal stops it when it
/// touches the terminal from the background.
class SpawnOptions {
 public:
  explicit SpawnOptions(const Outputs& outputs) {
    posix_spawn_file_actions_init(&files_);
    posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&files_, outputs.output(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files_, outputs.error_output(), STDERR_FILENO);

    sigset_t none;
    sigset_t all;
    sigemptyset(&none);
    sigfillset(&all);
    posix_spawnattr_init(&attributes_);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSID);
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

/// Starts the shell; returns why it could not be started, or nothing.
std::string start_shell(const std::string& command, const SpawnOptions& options, pid_t& child) {
  // An argument ends at a NUL byte, so the shell would run only the text before it, and might succeed.
  if (command.find('\0') != command.npos) return "the command contains a NUL byte, which cannot be passed to a shell";
  std::string shell = "sh";
  std::string option = "-c";
  std::string text = command;
  std::array<char*, 4> arguments{shell.data(), option.data(), text.data(), nullptr};
  const int error = posix_spawn(&child, "/bin/sh", options.files(), options.attributes(), arguments.data(), environ);
  return error == 0 ? "" : std::strerror(error);
}

/// A shell that was started. It is ended, with all that it has started, if it is not waited for.
class RunningShell {
 public:
  RunningShell(pid_t process, Outputs& outputs) : process_(process), outputs_(outputs) {}
  ~RunningShell() {
    if (process_ != 0) end();
  }
  RunningShell(const RunningShell&) = delete;
  RunningShell& operator=(const RunningShell&) = delete;

  /// Waits a while for the shell to end. False when it has not, or a signal came.
  bool ends_soon() const {
    for (int waited = 0; waited < wait_milliseconds; waited += nap_milliseconds) {
      if (has_ended()) return true;
      if (poll(nullptr, 0, nap_milliseconds) < 0) return false;
    }
    return has_ended();
  }

  /// Leaves it to be waited for.
  bool has_ended() const {
    siginfo_t info{};
    return waitid(P_PID, static_cast<id_t>(process_), &info, WEXITED | WNOHANG | WNOWAIT) != 0 || info.si_pid != 0;
  }

  int wait() {
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(process_, &status, 0)) < 0 && errno == EINTR) {
    }
    process_ = 0;
    if (ended < 0) return exit_code::not_started;
    return WIFSIGNALED(status) ? exit_code::signal_offset + WTERMSIG(status) : WEXITSTATUS(status);
  }

 private:
  /// As long as the shell is not waited for, no other group can have its number.
  void end() {
    kill(-process_, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + time_to_end;
    const auto is_late = [&] { return std::chrono::steady_clock::now() >= deadline; };
    const auto ignore = [](std::string_view) {};
    while (!outputs_.is_at_end() && !is_late()) outputs_.read_some(ignore, ignore);
    while (!is_late() && !ends_soon()) {
    }
    kill(-process_, SIGKILL);
    wait();
  }

  pid_t process_;
  Outputs& outputs_;
};

/// An output of which, when it is too large, the beginning and the end are kept.
class KeptOutput {
 public:
  KeptOutput(std::string& text, std::size_t& left_out, const CommandProgress& progress)
      : text_(text), left_out_(left_out), progress_(progress) {}

  /// Not at each piece: the end would have to be moved each time.
  void add(std::string_view piece) {
    text_ += piece;
    if (text_.size() >= limit + beginning) cut();
  }

  /// Cuts what is left to be cut, and marks it.
  void finish() {
    cut();
    if (left_out_ != 0) text_.insert(beginning, "\n[" + std::to_string(left_out_) + " bytes left out]\n");
  }

 private:
  static constexpr std::size_t limit = eclipse_base::largest::output;
  static constexpr std::size_t beginning = limit / 2;

  void cut() {
    if (text_.size() <= limit) return;
    const std::size_t excess = text_.size() - limit;
    progress_.on_left_out(std::string_view(text_).substr(beginning, excess));
    text_.erase(beginning, excess);
    left_out_ += excess;
  }

  std::string& text_;
  std::size_t& left_out_;
  const CommandProgress& progress_;
};

double seconds_since(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

/// Hands on all that is printed. While nothing comes, `wait` is called again and again, and tells whether the shell has ended;
/// if it has, and others hold the outputs open, `on_held` is called once.
template <typename Take, typename TakeError, typename Wait>
void read_outputs(Outputs& outputs, const Take& take, const TakeError& take_error, const Wait& wait,
                  const std::function<void()>& on_held) {
  bool has_ended = false;
  bool is_held = false;
  while (!outputs.is_at_end()) {
    if (outputs.read_some(take, take_error)) continue;
    // It may have ended just now, with its last output still to be read: only one more wait tells.
    const bool had_ended = std::exchange(has_ended, wait());
    if (had_ended && !std::exchange(is_held, true)) on_held();
  }
}

}  // namespace

CommandResult run_in_shell(const std::string& command, const CommandProgress& progress) {
  CommandResult result;
  run_in_shell(command, result, progress);
  return result;
}

void run_in_shell(const std::string& command, CommandResult& result, const CommandProgress& progress) {
  const auto start = std::chrono::steady_clock::now();
  Outputs outputs;
  pid_t process = 0;
  const std::string error = start_shell(command, SpawnOptions(outputs), process);
  outputs.close_write_ends();
  if (!error.empty()) {
    result.exit_code = exit_code::not_started;
    result.error_output = "cannot start /bin/sh: " + error + "\n";
    progress.on_error_output(result.error_output);
    return;
  }

  RunningShell shell(process, outputs);
  KeptOutput output(result.output, result.output_left_out, progress);
  KeptOutput error_output(result.error_output, result.error_output_left_out, progress);
  const auto take = [&](std::string_view piece) {
    output.add(piece);
    progress.on_output(piece);
  };
  const auto take_error = [&](std::string_view piece) {
    error_output.add(piece);
    progress.on_error_output(piece);
  };
  const auto wait = [&] {
    progress.on_wait(seconds_since(start));
    return shell.has_ended();
  };
  read_outputs(outputs, take, take_error, wait, progress.on_held_outputs);
  if (outputs.error() != 0) {
    take_error("the output of the command cannot be read: " + std::string(std::strerror(outputs.error())) + "\n");
  }
  // It may have closed its outputs, and live on.
  while (!shell.ends_soon()) progress.on_wait(seconds_since(start));
  output.finish();
  error_output.finish();
  result.exit_code = shell.wait();
  if (outputs.error() != 0) result.exit_code = exit_code::not_started;
  result.seconds = seconds_since(start);
}

}  // namespace eclipse_shell
