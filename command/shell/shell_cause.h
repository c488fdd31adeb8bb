// Which of the texts that a command is put together from the shell does not pass on as they stand.
#ifndef ECLIPSE_INT_SHELL_SHELL_CAUSE_H
#define ECLIPSE_INT_SHELL_SHELL_CAUSE_H

#include <optional>
#include <string>
#include <vector>

#include "shell/shell_reading.h"

namespace eclipse_shell {

/// A text of the session or of a descriptor, and what stands directly beside it in the command.
struct CommandPiece {
  std::string before;  ///< quotes in it and in `after` are the plug-in's own, and meant
  std::string text;
  std::string after;
  std::string origin;  ///< where the text comes from, in words
};

/// A piece that the shell splits or interprets.
struct ShellCause {
  std::string text;
  std::string origin;
  std::vector<ShellRemark> remarks;  ///< at least one; the offsets are those in the text
};

/// Nothing when the shell passes the text on as it stands. Each piece is read for itself, so that what one of them brings about
/// is not told of those behind it.
std::optional<ShellCause> cause_in(const CommandPiece& piece);

}  // namespace eclipse_shell

#endif
