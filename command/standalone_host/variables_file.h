// The variables file: the session variables that a host keeps from one run to the next, as a JSON object of strings.
#ifndef ECLIPSE_INT_STANDALONE_HOST_VARIABLES_FILE_H
#define ECLIPSE_INT_STANDALONE_HOST_VARIABLES_FILE_H

#include <filesystem>
#include <map>
#include <string>

#include "base/json_document.h"

namespace eclipse_host {

/// Variables as texts by their names.
using Variables = std::map<std::string, std::string>;

/// Reads one member of an object of variables, as session files have them, too. Throws FileError.
void read_variable(const eclipse_base::JsonElement& variable, Variables& variables);

/// Reads what write_variables_file() wrote; comments are allowed. Throws FileError.
Variables read_variables_file(const std::filesystem::path& file);

/// Checks whether write_variables_file() can write these variables there, and changes nothing. Throws FileError.
void check_variables_file(const std::filesystem::path& file, const Variables& variables);

/// Writes all variables except for those of a single run (KORU_MODE, QN_SCRIPTS_FAILED, QN_SCRIPTS_COMPLETE_DESC). The file is
/// replaced completely or not at all; it keeps its permissions, and its owner and group as far as the process may set them. If
/// it is a link, its target is replaced. Throws FileError, also when a text is not UTF-8, which JSON cannot represent: then all
/// other variables are written.
void write_variables_file(const std::filesystem::path& file, const Variables& variables);

}  // namespace eclipse_host

#endif
