// What a shell makes of a command line before it starts anything.
#ifndef ECLIPSE_INT_SHELL_SHELL_READING_H
#define ECLIPSE_INT_SHELL_SHELL_READING_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace eclipse_shell {

/// Something in a command line that the shell does not pass on as it stands.
struct ShellRemark {
  std::size_t offset;  ///< of its first byte
  std::string effect;  ///< in words, such as "the quotes are taken away"
};

using ShellWords = std::vector<std::string>;

struct ShellReading {
  /// The commands of the line, each as the words that it gets: quotes are taken away, but what the shell would replace
  /// (variables, the output of commands, patterns of file names) stands there as it was written.
  std::vector<ShellWords> commands = {{}};
  std::vector<std::string> redirections;  ///< as they are written
  std::vector<ShellRemark> remarks;
  std::vector<std::size_t> gaps;  ///< where blanks begin that are not quoted
  bool is_replaced = false;       ///< there is something in the words that the shell would replace
  std::string fault;  ///< why the shell refuses the line, or cannot be given it, so that none of it is run; otherwise empty

  /// Whether exactly one command with exactly these words is started, with its errors sent to its output.
  bool is_just(const ShellWords& words) const;
};

/// True for a text that a shell passes on wherever it stands in a word: a name, a path or a URL with nothing special in it.
/// False tells nothing.
bool is_plain(std::string_view text);

/// Reads a command line by the rules of a POSIX shell. Nothing of it is run or replaced.
ShellReading read_as_shell(std::string_view line);

}  // namespace eclipse_shell

#endif
