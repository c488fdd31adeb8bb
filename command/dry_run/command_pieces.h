// The pieces of a director command that come from descriptors and the session, each with what the plug-in writes beside it.
#ifndef ECLIPSE_INT_DRY_RUN_COMMAND_PIECES_H
#define ECLIPSE_INT_DRY_RUN_COMMAND_PIECES_H

#include <string>
#include <string_view>

#include "shell/shell_cause.h"

namespace eclipse_dry_run {

/// True for the URL of an archive, which the plug-in quotes for the shell.
bool is_archive_url(std::string_view url);

/// The path in the URL of a repository.
std::string_view path_in(std::string_view url);

/// The same as the director gets it: without quotes and backslashes that the shell removes. As it is written if the shell makes
/// something else of the URL than one word.
std::string path_for_director(const std::string& url);

/// The path of the executable, which begins the command.
eclipse_shell::CommandPiece executable_piece(std::string executable, std::string origin);

/// The directory of a component in the URL of one of its repositories.
eclipse_shell::CommandPiece directory_piece(std::string directory, bool is_archive, std::string origin);

/// Where a text is in its list, which is one word. A feature that is tried alone is the whole list.
struct InList {
  bool is_first = true;
  bool is_last = true;
};

/// Column 1 in the URL of a repository, of a component in this directory. Where the list begins makes no difference.
eclipse_shell::CommandPiece repository_piece(const std::string& directory, std::string repository, bool is_archive,
                                             InList place, std::string origin);

/// Column 2 in the list of features.
eclipse_shell::CommandPiece feature_piece(std::string feature, InList place, std::string origin);

}  // namespace eclipse_dry_run

#endif
