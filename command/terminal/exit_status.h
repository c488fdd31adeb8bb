// The exit statuses of eclipse-int. Each subcommand says in its help what they mean for it.
#ifndef ECLIPSE_INT_TERMINAL_EXIT_STATUS_H
#define ECLIPSE_INT_TERMINAL_EXIT_STATUS_H

namespace eclipse_terminal {

inline constexpr int exit_success = 0;
inline constexpr int exit_failure = 1;  ///< what was asked for failed, or something was found
inline constexpr int exit_trouble = 2;  ///< it could not be tried: wrong arguments, an input or an output that is unusable

}  // namespace eclipse_terminal

#endif
