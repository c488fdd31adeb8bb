// Standard input, output and error as the command finds them, which may be closed, full or without a reader.
#ifndef ECLIPSE_INT_TERMINAL_STANDARD_STREAMS_H
#define ECLIPSE_INT_TERMINAL_STANDARD_STREAMS_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "base/file_error.h"

namespace eclipse_terminal {

/// Must be called first. Files that are opened later do not take the places of closed streams, and neither a reader that goes
/// away nor a file that reaches its size limit ends the command in the middle of an integration: writing fails instead.
void prepare_standard_streams();

/// What is printed in place of std::bad_alloc.
inline constexpr const char* out_of_memory = "there is not enough memory";

/// Whether to wait on for a reader of what is written: not after the second signal of an Interruption.
bool waits_for_reader();

/// Prints an error or a warning on standard error, its line feeds as such: what comes from outside must be printable before it
/// becomes a part of a message. Other control characters become visible here.
void print_message(std::string_view message);

/// print_message(), but at once or not at all: for what is said while a director runs, whose output is to be read on. On a
/// terminal it begins a new line, since the cursor may stand behind "^C" or the elapsed time.
void print_notice(std::string_view message);

/// Prints this, and needs no memory for it.
void print_out_of_memory();

/// Prints each error as a message. When there are very many, a last message says that there may be more.
void print_errors(const eclipse_base::FileError& errors);

bool output_is_terminal();

/// True when standard output is a terminal and the user has not turned colours off with NO_COLOR.
bool output_is_coloured();

/// The standard stream that a path leads to, as /dev/stdout does: the descriptor of standard output or of standard error. Not
/// for the null device.
std::optional<int> stream_of(const std::string& file);

/// Writes a text to standard output, after all that std::cout has. While nobody reads it, `goes_on` is called about four times
/// a second; it may throw, and when it returns false, this text and all that follows is not written.
void write_to_output(std::string_view text, const std::function<bool()>& goes_on = waits_for_reader);

/// Writes out what is left of standard output. If any output is missing, prints a message and turns the exit status 0 into 2.
int with_output_written(int status);

}  // namespace eclipse_terminal

#endif
