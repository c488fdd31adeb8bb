// Arguments that the parser does not know.
#ifndef ECLIPSE_INT_CLI_UNEXPECTED_ARGUMENTS_H
#define ECLIPSE_INT_CLI_UNEXPECTED_ARGUMENTS_H

#include <string>

namespace CLI {
class App;
}

namespace eclipse_cli {

/// The message about the first argument that a parser was given and did not expect, with the subcommand or option that was
/// probably meant.
std::string about_unexpected_argument(const CLI::App& program);

/// The message about a name that is not that of a subcommand.
std::string about_unknown_subcommand(const CLI::App& program, const std::string& name);

}  // namespace eclipse_cli

#endif
