// Which of the texts in a command the shell changes.
#ifndef ECLIPSE_INT_SHELL_SHELL_CAUSE_H
#define ECLIPSE_INT_SHELL_SHELL_CAUSE_H

#include <optional>
#include <string>
#include <vector>

#include "shell/shell_reading.h"

namespace eclipse_shell {

/// A text of the session or of a descriptor, and what is directly before and after it in the command: the rest of its word, and
/// the word beside that, which a redirection in the text could take for a file.
struct CommandPiece {
  std::string before;
  std::string text;
  std::string after;   ///< never empty: no text ends the command
  std::string origin;  ///< where the text comes from, for a person
};

/// A text that the shell changes, and what it does to it.
struct ShellCause {
  std::string text;
  std::string origin;
  std::vector<ShellRemark> remarks;  ///< at least one; the offsets are those in the text
};

/// What the shell changes in the text of a piece; nothing when it passes the text on unchanged. Each piece is read by itself,
/// so that an open quote in one of them is not reported of those that follow.
std::optional<ShellCause> cause_in(const CommandPiece& piece);

/// The offsets in the text of a piece of "*", "?" and "[" that match no other file name of the working directory, so that the
/// shell passes them on here.
std::vector<std::size_t> idle_globs_in(const CommandPiece& piece);

}  // namespace eclipse_shell

#endif
