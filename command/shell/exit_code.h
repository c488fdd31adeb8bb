// Exit codes that a shell gives a command, whatever its programs do.
#ifndef ECLIPSE_INT_SHELL_EXIT_CODE_H
#define ECLIPSE_INT_SHELL_EXIT_CODE_H

namespace eclipse_shell::exit_code {

inline constexpr int not_started = 126;    ///< the program cannot be started, or no shell gets the command
inline constexpr int not_found = 127;      ///< the program does not exist
inline constexpr int signal_offset = 128;  ///< plus the number of the signal that ended the program

}  // namespace eclipse_shell::exit_code

#endif
