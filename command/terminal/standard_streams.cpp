#include "terminal/standard_streams.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>

#include "base/printable.h"
#include "terminal/interruptible_write.h"
#include "terminal/interruption.h"

namespace eclipse_terminal {

namespace {

constexpr const char* program_prefix = "eclipse-int: ";

bool output_is_missing = false;

std::string as_message(std::string_view message) {
  using eclipse_base::printable;
  return program_prefix + printable(message, {.line_feed = "\n", .longest = eclipse_base::no_limit}) + "\n";
}

/// A message that takes no memory.
void print_literal(const char* message) {
  for (const char* const part : {program_prefix, message, "\n"}) write_while(STDERR_FILENO, part, waits_for_reader);
}

}  // namespace

bool waits_for_reader() { return !Interruption::was_repeated(); }

void prepare_standard_streams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // Opened for reading, so that writing to it fails as it would on the closed stream.
    if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDONLY) != stream) std::_Exit(2);
  }
  // Not inherited by the directors: the command runner gives them every signal as it comes by default.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  // If a parent left it ignored, the exit codes of directors would not be known.
  std::signal(SIGCHLD, SIG_DFL);
}

void print_message(std::string_view message) { write_while(STDERR_FILENO, as_message(message), waits_for_reader); }

void print_notice(std::string_view message) {
  const std::string text = (isatty(STDERR_FILENO) != 0 ? "\n" : "") + as_message(message);
  write_while(STDERR_FILENO, text, [] { return false; });
}

void print_out_of_memory() { print_literal(out_of_memory); }

void print_errors(const eclipse_base::FileError& errors) {
  const auto all = errors.each();
  for (const eclipse_base::FileError& error : all) print_message(error.what());
  if (all.size() >= eclipse_base::FileErrors::most)
    print_message("there may be more errors; these are the first " + std::to_string(all.size()) + " that were found");
}

bool output_is_terminal() { return isatty(STDOUT_FILENO) != 0; }

bool output_is_coloured() {
  const char* const no_colour = std::getenv("NO_COLOR");
  return output_is_terminal() && (no_colour == nullptr || *no_colour == '\0');
}

std::optional<int> stream_of(const std::string& file) {
  struct stat wanted {};
  const bool is_there = stat(file.c_str(), &wanted) == 0;
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    struct stat open {};
    const bool is_it = is_there && fstat(stream, &open) == 0 && open.st_dev == wanted.st_dev && open.st_ino == wanted.st_ino;
    if (is_it && (!S_ISCHR(open.st_mode) || isatty(stream) != 0)) return stream;
  }
  return std::nullopt;
}

void write_to_output(std::string_view text, const std::function<bool()>& goes_on) {
  std::cout.flush();
  if (!output_is_missing) output_is_missing = write_while(STDOUT_FILENO, text, goes_on) != 0;
}

int with_output_written(int status) {
  std::cout.flush();
  if (std::cout && !output_is_missing) return status;
  print_literal("standard output cannot be written; the work is complete, but its output is not");
  return status == 0 ? 2 : status;
}

}  // namespace eclipse_terminal
