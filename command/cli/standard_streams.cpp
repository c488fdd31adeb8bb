#include "cli/standard_streams.h"

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <iostream>

#include "base/printable.h"

namespace eclipse_cli {

namespace {

constexpr int wait_milliseconds = 250;

bool output_is_missing = false;

/// False when a wait ended without room for more.
bool output_has_room() {
  pollfd output{STDOUT_FILENO, POLLOUT, 0};
  return poll(&output, 1, wait_milliseconds) > 0;
}

/// A pipe with room takes so much at once, so that the write does not block.
ssize_t write_some(std::string_view text) {
  return write(STDOUT_FILENO, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
}

}  // namespace

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

void print_message(std::string_view message) {
  using eclipse_base::printable;
  std::cerr << "eclipse-int: " << printable(message, {.line_feed = "\n", .longest = eclipse_base::no_limit}) << std::endl;
}

void print_errors(const eclipse_base::FileError& errors) {
  const auto all = errors.each();
  for (const eclipse_base::FileError& error : all) print_message(error.what());
  if (all.size() >= eclipse_base::FileErrors::most)
    print_message("there may be more errors; these are the first " + std::to_string(all.size()) + " that were found");
}

bool output_is_coloured() {
  const char* const no_colour = std::getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) != 0 && (no_colour == nullptr || *no_colour == '\0');
}

std::optional<int> stream_of(const std::string& file) {
  struct stat wanted {};
  if (stat(file.c_str(), &wanted) != 0) return std::nullopt;
  for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) {
    struct stat open {};
    if (fstat(stream, &open) != 0 || open.st_dev != wanted.st_dev || open.st_ino != wanted.st_ino) continue;
    if (!S_ISCHR(open.st_mode) || isatty(stream) != 0) return stream;
  }
  return std::nullopt;
}

void write_to_output(std::string_view text, const std::function<bool()>& goes_on) {
  std::cout.flush();
  while (!text.empty() && !output_is_missing) {
    if (!output_has_room()) {
      output_is_missing = !goes_on();
      continue;
    }
    const ssize_t count = write_some(text);
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
    output_is_missing = count < 0 && errno != EINTR && errno != EAGAIN;
  }
}

int with_output_written(int status) {
  std::cout.flush();
  if (std::cout && !output_is_missing) return status;
  print_message("standard output cannot be written; the work is complete, but its output is not");
  return status == 0 ? 2 : status;
}

}  // namespace eclipse_cli
