// The command line of eclipse-int as a whole.
#ifndef ECLIPSE_INT_CLI_COMMAND_LINE_H
#define ECLIPSE_INT_CLI_COMMAND_LINE_H

namespace eclipse_cli {

/// Parses the arguments and performs the subcommand. Returns the exit status. Throws UsageError, and what the subcommand
/// throws.
int run_command_line(int argc, const char* const* argv);

}  // namespace eclipse_cli

#endif
