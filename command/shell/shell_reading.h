// How a POSIX shell reads a command line, before it starts anything.
#ifndef ECLIPSE_INT_SHELL_SHELL_READING_H
#define ECLIPSE_INT_SHELL_SHELL_READING_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace eclipse_shell {

/// What every command of the plug-in ends with, and the redirection in it: the director writes the reasons of a failure to
/// standard error.
inline constexpr std::string_view command_end = " 2>&1";
inline constexpr std::string_view error_redirection = command_end.substr(1);

/// What a shell does with a command that has a syntax error.
inline constexpr const char* rejects_command = "rejects the command and starts nothing";

/// Something in a command line that the shell does not pass on unchanged.
struct ShellRemark {
  std::size_t offset;  ///< of its first byte
  std::string effect;  ///< what the shell does there, such as "the quotes are removed"
};

using ShellWords = std::vector<std::string>;

struct ShellReading {
  /// The commands of the line, each as its words: after pathname expansion in the working directory and quote removal, but
  /// without other expansions (of parameters, commands and tildes), which are left as they are written.
  std::vector<ShellWords> commands = {{}};
  std::vector<std::string> redirections;  ///< as they are written
  std::vector<ShellRemark> remarks;
  std::vector<std::size_t> word_ends;  ///< where unquoted spaces and tabs begin
  bool has_expansion = false;          ///< the shell expands something in the words, or takes the first one for an assignment
  /// Where "*", "?" and "[" are in words that match no other file name of the working directory, so that they stay as they are.
  std::vector<std::size_t> idle_globs;
  std::string error;  ///< why the shell rejects the line, or cannot get it, so that nothing is run; otherwise empty

  /// Whether exactly one command with exactly these words is started, with standard error redirected to standard output.
  bool starts_only(const ShellWords& words) const;
};

/// True for a text that a shell passes on unchanged anywhere in a word, such as a name, a path or a URL without metacharacters.
/// False says nothing: this is only a fast check.
bool is_plain(std::string_view text);

/// A text that may contain anything as one word of a command line, in single quotes.
std::string quoted_for_shell(std::string_view text);

/// Reads a command line by the rules of a POSIX shell. Nothing is run; file names that match a glob are looked up.
ShellReading read_as_shell(std::string_view line);

/// What a command gets of a text that is one of its words: without quotes and backslashes that the shell removes. Nothing if
/// the shell makes anything else of it than one word, or expands something in it.
std::optional<std::string> word_of(const std::string& text);
/// The same, or the text itself.
std::string as_word(const std::string& text);

}  // namespace eclipse_shell

#endif
