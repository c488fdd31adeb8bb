// The command runner of the stand-alone host.
#ifndef ECLIPSE_INT_SHELL_COMMAND_RUNNER_H
#define ECLIPSE_INT_SHELL_COMMAND_RUNNER_H

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "base/limits.h"

namespace eclipse_shell {

/// The longest command line, in bytes, that can be run: Linux hands no longer text to a program as one argument.
inline constexpr std::size_t longest_command = 131'071;

/// What a command came to.
struct CommandResult {
  std::string output;        ///< its standard output; what is left out is marked
  std::string error_output;  ///< the same of its standard error: what the command line itself did not redirect
  int exit_code = 0;         ///< as the shell's (shell/exit_code.h); not_started also when it, or the output, is not known
  double seconds = 0;        ///< by the wall clock
  std::size_t output_left_out = 0;  ///< bytes in the middle of an output that is larger than largest::output
  std::size_t error_output_left_out = 0;
};

/// What run_in_shell() reports while a command runs.
struct CommandProgress {
  std::function<void(std::string_view)> on_output = [](std::string_view) {};        ///< a piece of standard output
  std::function<void(std::string_view)> on_error_output = [](std::string_view) {};  ///< a piece of standard error
  std::function<void(std::string_view)> on_left_out = [](std::string_view) {};      ///< what the result has not, in order
  std::function<void(double seconds)> on_wait = [](double) {
  };  ///< about four times a second while nothing is printed, and when a signal comes
  std::function<void()> on_held_outputs = [] {};  ///< once, when the command has ended and a process of it holds an output
};

/// Runs a command line with `/bin/sh -c`, with an empty standard input and in a session of its own, without a terminal, and
/// waits until it has ended and its outputs are closed. What `progress` throws comes out, after the command and all that it
/// started were ended: they are asked to by SIGTERM, and get some seconds before SIGKILL. A command with a NUL byte in it is
/// not started. It inherits the descriptors that are not close-on-exec.
CommandResult run_in_shell(const std::string& command, const CommandProgress& progress = {});

/// The same. Fills in the result, which must be empty, while the command runs, so that it has what is known when `progress`
/// throws.
void run_in_shell(const std::string& command, CommandResult& result, const CommandProgress& progress);

}  // namespace eclipse_shell

#endif
