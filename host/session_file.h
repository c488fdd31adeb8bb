// The session file: a session described in JSON, with comments allowed. schema/session.schema.json gives its form.
#ifndef ECLIPSE_INT_HOST_SESSION_FILE_H
#define ECLIPSE_INT_HOST_SESSION_FILE_H

#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>

#include "host/session.h"

namespace eclipse_host {

/// A fault in a file that describes a session. what() reads "FILE:LINE:COLUMN: PLACE: what is wrong; what to do", with the
/// place as a path of keys such as components[1].code.
class FileFault : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Variables as texts by their names.
using Variables = std::map<std::string, std::string>;

/// Reads a session file and fills `session`, which is as it was made, with what it says: variables (its mode as KORU_MODE),
/// components and the capability map. Relative paths in it become absolute, relative to the file. Throws FileFault.
void read_session_file(const std::filesystem::path& file, Session& session);

/// Reads a JSON object of texts, as write_variables_file() writes it. Throws FileFault.
Variables read_variables_file(const std::filesystem::path& file);

/// Writes what a host keeps from one run to the next: all variables but those that speak of one run only (KORU_MODE,
/// QN_SCRIPTS_FAILED, QN_SCRIPTS_COMPLETE_DESC). The file is replaced as a whole or not at all. Throws FileFault.
void write_variables_file(const std::filesystem::path& file, const Variables& variables);

}  // namespace eclipse_host

#endif
