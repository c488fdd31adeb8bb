// The program of this process and its command line.
#ifndef ECLIPSE_INT_SHELL_OWN_COMMAND_H
#define ECLIPSE_INT_SHELL_OWN_COMMAND_H

#include <cstddef>
#include <string>

namespace eclipse_shell {

/// A link to the file of the program.
inline constexpr const char* own_program = "/proc/self/exe";

inline constexpr std::size_t longest_own_command = 200;

/// What this process was started as, without the directory of the program; at most the beginning, of the longest length.
std::string own_command();

}  // namespace eclipse_shell

#endif
