// Writing to a pipe, a terminal or a file while signals may ask this program to end.
#ifndef ECLIPSE_INT_TERMINAL_INTERRUPTIBLE_WRITE_H
#define ECLIPSE_INT_TERMINAL_INTERRUPTIBLE_WRITE_H

#include <functional>
#include <string_view>

namespace eclipse_terminal {

/// Writes a text to a descriptor. While that has no room, because nobody reads, `goes_on` is called about four times a second;
/// it may throw, and when it returns false, the rest is not written. Returns 0, or the errno of what could not be written:
/// ECANCELED when `goes_on` returned false.
int write_while(int descriptor, std::string_view text, const std::function<bool()>& goes_on);

}  // namespace eclipse_terminal

#endif
