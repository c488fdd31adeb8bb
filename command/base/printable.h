// A line of a file as it is shown on a terminal.
#ifndef ECLIPSE_INT_BASE_PRINTABLE_H
#define ECLIPSE_INT_BASE_PRINTABLE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace eclipse_base {

/// The length of the UTF-8 character that a text begins with; 0 when it begins with none.
std::size_t character_length(std::string_view text);

/// How many characters a text has. Bytes that are not UTF-8 count as one each.
std::size_t characters_in(std::string_view text);

/// The text with "→" for a tab, and with "\xNN" for other control characters and what is not UTF-8, so that nothing in it
/// steers a terminal and each character is one column wide, wide scripts aside.
std::string shown_line(std::string_view text);

}  // namespace eclipse_base

#endif
