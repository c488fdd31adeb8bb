// Positions in a line, which the protocol counts in UTF-16 code units or, if the editor can, in bytes or characters.
#ifndef ECLIPSE_INT_LANGUAGE_SERVER_POSITIONS_H
#define ECLIPSE_INT_LANGUAGE_SERVER_POSITIONS_H

#include <cstddef>
#include <string_view>

namespace eclipse_language_server {

enum class PositionEncoding { utf8, utf16, utf32 };

/// "utf-8", "utf-16" or "utf-32".
std::string_view name_of(PositionEncoding encoding);

/// How many units the first `bytes` bytes of a line are. A byte that is not UTF-8 counts as one.
std::size_t units_in(std::string_view line, std::size_t bytes, PositionEncoding encoding);

/// How many bytes the first `units` units of a line are: the whole line if it has fewer, and without a character of which they
/// are only a part.
std::size_t bytes_in(std::string_view line, std::size_t units, PositionEncoding encoding);

}  // namespace eclipse_language_server

#endif
