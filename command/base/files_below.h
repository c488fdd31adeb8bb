// What a directory and those in it hold.
#ifndef ECLIPSE_INT_BASE_FILES_BELOW_H
#define ECLIPSE_INT_BASE_FILES_BELOW_H

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace eclipse_base {

/// All that is no directory below a directory, pipes and dangling symlinks among it, and directories with nothing in them;
/// relative to the directory and in the order of the names. After an error, as far as it was found; with skip_permission_denied
/// a directory that is closed is no error.
std::vector<std::string> files_below(const std::filesystem::path& directory, std::filesystem::directory_options options,
                                     std::error_code& error);

}  // namespace eclipse_base

#endif
