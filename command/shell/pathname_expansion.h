// The file names that a shell puts in the place of a word with a glob.
#ifndef ECLIPSE_INT_SHELL_PATHNAME_EXPANSION_H
#define ECLIPSE_INT_SHELL_PATHNAME_EXPANSION_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace eclipse_shell {

/// So many directory entries are looked at.
inline constexpr std::size_t most_examined_entries = 100'000;

/// The paths that match a pattern in the working directory, in the order in which a shell lists them; none when nothing
/// matches, so that the shell leaves the word as it is. Nothing when there are more entries to look at than `most`. In the
/// pattern a backslash makes the next character an ordinary one.
std::optional<std::vector<std::string>> expanded_pathnames(const std::string& pattern,
                                                           std::size_t most = most_examined_entries);

}  // namespace eclipse_shell

#endif
