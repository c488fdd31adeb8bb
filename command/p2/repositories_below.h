// The p2 repositories in a directory.
#ifndef ECLIPSE_INT_P2_REPOSITORIES_BELOW_H
#define ECLIPSE_INT_P2_REPOSITORIES_BELOW_H

#include <filesystem>
#include <vector>

namespace eclipse_p2 {

/// The directories below a directory that have p2 metadata, and the .zip archives that have it or cannot be examined, in the
/// order of their paths. What is inside a repository belongs to it. The directory itself is not examined, and symlinks to
/// directories are not followed. Throws eclipse_base::FileError when a directory cannot be searched.
std::vector<std::filesystem::path> repositories_below(const std::filesystem::path& directory);

}  // namespace eclipse_p2

#endif
