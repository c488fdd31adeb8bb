// The command runner of the stand-alone host.
#ifndef ECLIPSE_INT_SHELL_COMMAND_RUNNER_H
#define ECLIPSE_INT_SHELL_COMMAND_RUNNER_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

namespace eclipse_shell {

/// The longest command line, in bytes, that can be run: Linux hands no longer text to a program as one argument.
inline constexpr std::size_t longest_command = 131'071;

/// What a command came to.
struct CommandResult {
  std::string output;        ///< its standard output, every byte of it
  std::string error_output;  ///< its standard error: what the command line itself did not redirect
  int exit_code = 0;         ///< as the shell's (shell/exit_code.h); not_started also when it is not known
  double seconds = 0;        ///< by the wall clock
};

/// What run_in_shell() reports while a command runs.
struct CommandProgress {
  std::function<void(std::string_view)> on_output = [](std::string_view) {};        ///< a piece of standard output
  std::function<void(std::string_view)> on_error_output = [](std::string_view) {};  ///< a piece of standard error
  std::function<void(double seconds)> on_wait = [](double) {
  };  ///< about four times a second while nothing is printed, and when a signal comes
  std::function<void()> on_held_outputs = [] {};  ///< once, when the command has ended and a process of it holds an output
};

/// Runs a command line with `/bin/sh -c`, with an empty standard input and in a process group of its own, and waits until it
/// has ended and its outputs are closed. What `progress` throws comes out, after the command and all that it started were
/// ended: they are asked to by SIGTERM, and get some seconds before SIGKILL. A command with a zero byte in it is not started.
CommandResult run_in_shell(const std::string& command, const CommandProgress& progress = {});

}  // namespace eclipse_shell

#endif
