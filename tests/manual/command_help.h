// What the command says that it has.
#ifndef ECLIPSE_INT_TESTS_MANUAL_COMMAND_HELP_H
#define ECLIPSE_INT_TESTS_MANUAL_COMMAND_HELP_H

#include <set>
#include <string>

namespace manual {

using Names = std::set<std::string>;

/// What a shell command prints, which has to succeed.
std::string output_of(const std::string& command);

/// The subcommands that the command's help lists.
Names subcommands();

/// The long options that the help of a subcommand lists; those of the program for "".
Names options_of(const std::string& subcommand);

/// Everything in a text that looks like a long option.
Names options_in(const std::string& text);

}  // namespace manual

#endif
