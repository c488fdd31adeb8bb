// Texts from sessions and files, which may hold line ends and control characters, as they stand in a line of the account.
#ifndef ECLIPSE_INT_CLI_ONE_LINE_H
#define ECLIPSE_INT_CLI_ONE_LINE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace eclipse_cli {

/// Longer ones are shortened. It is as long as a path can be.
inline constexpr std::size_t longest_text = 4096;

/// The text with "\n", "\r", "\t" or "\xNN" for each control character, so that it neither breaks a line nor steers a terminal.
/// Of a text of more than `longest` bytes only the first 200 are there, and how many were left out.
std::string on_one_line(std::string_view text, std::size_t longest = longest_text);

}  // namespace eclipse_cli

#endif
