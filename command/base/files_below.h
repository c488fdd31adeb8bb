// What a folder and those in it hold.
#ifndef ECLIPSE_INT_BASE_FILES_BELOW_H
#define ECLIPSE_INT_BASE_FILES_BELOW_H

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace eclipse_base {

/// All that is no folder below a folder, pipes and links to nothing among it, and folders with nothing in them; relative to the
/// folder and in the order of the names. After an error, as far as it was found; with skip_permission_denied a folder that is
/// closed is no error.
std::vector<std::string> files_below(const std::filesystem::path& folder, std::filesystem::directory_options options,
                                     std::error_code& error);

}  // namespace eclipse_base

#endif
