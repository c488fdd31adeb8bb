// Texts from sessions and files, which may hold line ends and control characters, as they stand in a line of the account.
#ifndef ECLIPSE_INT_CLI_ONE_LINE_H
#define ECLIPSE_INT_CLI_ONE_LINE_H

#include <string>
#include <string_view>

namespace eclipse_cli {

/// The text with "\n", "\r", "\t" or "\xNN" for each control character, so that it neither breaks a line nor steers a terminal.
std::string on_one_line(std::string_view text);

}  // namespace eclipse_cli

#endif
