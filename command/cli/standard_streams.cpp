#include "cli/standard_streams.h"

#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <iostream>

namespace eclipse_cli {

void prepare_standard_streams() {
  for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    // Opened for reading, so that writing to it fails as it would on the closed stream.
    if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDONLY) != stream) std::_Exit(2);
  }
  // Not inherited by the directors: the command runner gives them every signal as it comes by default.
  std::signal(SIGPIPE, SIG_IGN);
  std::signal(SIGXFSZ, SIG_IGN);
  // Ignored, as a careless parent may leave it, the exit codes of directors would be lost.
  std::signal(SIGCHLD, SIG_DFL);
}

void print_message(std::string_view message) { std::cerr << "eclipse-int: " << message << std::endl; }

bool output_is_coloured() {
  const char* const no_colour = std::getenv("NO_COLOR");
  return isatty(STDOUT_FILENO) != 0 && (no_colour == nullptr || *no_colour == '\0');
}

int with_output_written(int status) {
  std::cout.flush();
  if (std::cout) return status;
  print_message("standard output cannot be written; what is missing there was found or done all the same");
  return status == 0 ? 2 : status;
}

}  // namespace eclipse_cli
