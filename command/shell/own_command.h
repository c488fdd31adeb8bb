// The command line of this process.
#ifndef ECLIPSE_INT_SHELL_OWN_COMMAND_H
#define ECLIPSE_INT_SHELL_OWN_COMMAND_H

#include <cstddef>
#include <string>

namespace eclipse_shell {

inline constexpr std::size_t longest_own_command = 200;

/// What this process was started as, without the directory of the program; at most the beginning, of the longest length.
std::string own_command();

}  // namespace eclipse_shell

#endif
