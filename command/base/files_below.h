// The files in a directory and in all directories below it.
#ifndef ECLIPSE_INT_BASE_FILES_BELOW_H
#define ECLIPSE_INT_BASE_FILES_BELOW_H

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace eclipse_base {

/// Everything below a directory except for directories that are not empty, so also pipes and dangling symlinks; relative to the
/// directory and in the order of the names. After an error, what was found before it. With skip_permission_denied an unreadable
/// directory is not an error.
std::vector<std::string> files_below(const std::filesystem::path& directory, std::filesystem::directory_options options,
                                     std::error_code& error);

/// Throws the FileError of a directory that cannot be searched for this reason.
[[noreturn]] void fail_search(const std::filesystem::path& directory, const std::error_code& error);

}  // namespace eclipse_base

#endif
