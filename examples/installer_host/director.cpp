// Running a command with progress, and with a way to cancel it.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "session.h"

namespace {

constexpr int not_started = 126;
constexpr int milliseconds_between_looks = 200;

/// Starts "sh -c COMMAND" in a process group of its own, so that all that it starts can be ended with it. -1 if that fails.
pid_t start(const std::string& command, int output) {
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP);
  const char* const arguments[] = {"sh", "-c", command.c_str(), nullptr};
  pid_t child = -1;
  if (posix_spawn(&child, "/bin/sh", &files, &attributes, const_cast<char**>(arguments), environ) != 0) child = -1;
  posix_spawn_file_actions_destroy(&files);
  posix_spawnattr_destroy(&attributes);
  return child;
}

/// Reads until the command closes its output. Ends the command when the user cancels the run.
std::string read_output(int input, pid_t child, const Session& session) {
  std::string output;
  for (;;) {
    if (session.is_cancelled) kill(-child, SIGTERM);
    pollfd ready{input, POLLIN, 0};
    if (poll(&ready, 1, milliseconds_between_looks) <= 0) continue;
    char piece[4096];
    const ssize_t count = read(input, piece, sizeof piece);
    if (count == 0 || (count < 0 && errno != EINTR)) return output;
    if (count > 0) output.append(piece, static_cast<std::size_t>(count));
    std::fprintf(stderr, ".");  // progress; a window would count the lines
  }
}

int exit_code_of(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) return not_started;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

}  // namespace

std::string get_command_output(std::string command, int* exit_status, bool, std::string) {
  Session& session = *session_of_thread;
  *exit_status = not_started;
  // After a failure, the plug-in tries each feature alone. When the user has cancelled, each fails at once.
  if (session.is_cancelled || command.find('\0') != std::string::npos) return "";
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return "";
  const pid_t child = start(command, ends[1]);
  close(ends[1]);
  std::string output;
  if (child > 0) {
    output = read_output(ends[0], child, session);
    *exit_status = exit_code_of(child);
  }
  close(ends[0]);
  if (*exit_status == 0) ++session.commands_that_succeeded;
  return output;
}
