// The variables file: what a host keeps of a session's variables from one run to the next, as a JSON object of texts.
#ifndef ECLIPSE_INT_STANDALONE_HOST_VARIABLES_FILE_H
#define ECLIPSE_INT_STANDALONE_HOST_VARIABLES_FILE_H

#include <filesystem>
#include <map>
#include <string>

#include "base/file_error.h"

namespace eclipse_host {

/// Variables as texts by their names.
using Variables = std::map<std::string, std::string>;

/// Reads what write_variables_file() wrote; comments are allowed. Throws FileError.
Variables read_variables_file(const std::filesystem::path& file);

/// Finds out whether write_variables_file() can write these variables there, and leaves nothing behind. Throws FileError.
void check_variables_file(const std::filesystem::path& file, const Variables& variables);

/// Writes all variables but those that speak of one run only (KORU_MODE, QN_SCRIPTS_FAILED, QN_SCRIPTS_COMPLETE_DESC). The file
/// is replaced as a whole or not at all; it keeps its permissions, its owner and group as far as the process may set them, and
/// where it is a link, what the link names is replaced. Throws FileError, also when a text is not UTF-8, since JSON cannot
/// carry it: then all other variables are written.
void write_variables_file(const std::filesystem::path& file, const Variables& variables);

}  // namespace eclipse_host

#endif
