// Standard input, output and error as the command finds them, which may be closed, full or without a reader.
#ifndef ECLIPSE_INT_CLI_STANDARD_STREAMS_H
#define ECLIPSE_INT_CLI_STANDARD_STREAMS_H

#include <string_view>

namespace eclipse_cli {

/// To be called first. Files that are opened later do not take the places of closed streams, and neither the loss of a reader
/// nor a file that may grow no further ends the command in the middle of an integration: writing fails instead.
void prepare_standard_streams();

/// Reports a fault or a warning on standard error.
void print_message(std::string_view message);

/// True when standard output is a terminal and the user has not asked for no colours with NO_COLOR.
bool output_is_coloured();

/// Writes out what is left of standard output. If anything of it was lost, complains and turns the exit status 0 into 2.
int with_output_written(int status);

}  // namespace eclipse_cli

#endif
