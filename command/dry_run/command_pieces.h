// The pieces of a director command that come from descriptors and the session, each with what the plug-in writes beside it.
#ifndef ECLIPSE_INT_DRY_RUN_COMMAND_PIECES_H
#define ECLIPSE_INT_DRY_RUN_COMMAND_PIECES_H

#include <string>
#include <string_view>

#include "shell/shell_cause.h"

namespace eclipse_dry_run {

/// True for the URL of an archive, which the plug-in quotes for the shell.
bool is_archive_url(std::string_view url);

/// The path in the URL of a repository, as the director gets it.
std::string_view path_in(std::string_view url);

/// The path of the executable, which begins the command.
eclipse_shell::CommandPiece executable_piece(std::string executable, std::string origin);

/// The directory of a component in the URL of one of its repositories.
eclipse_shell::CommandPiece directory_piece(std::string directory, bool is_archive, std::string origin);

/// Column 1 in the URL of a repository.
eclipse_shell::CommandPiece repository_piece(std::string repository, bool is_archive, std::string origin);

/// Column 2 in the list of features. The first one, and one that is tried alone, begins a word.
eclipse_shell::CommandPiece feature_piece(std::string feature, bool is_first, std::string origin);

}  // namespace eclipse_dry_run

#endif
