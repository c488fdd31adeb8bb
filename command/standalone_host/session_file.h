// The session file: a session described in JSON, with comments allowed. schema/session.schema.json gives its form.
#ifndef ECLIPSE_INT_STANDALONE_HOST_SESSION_FILE_H
#define ECLIPSE_INT_STANDALONE_HOST_SESSION_FILE_H

#include <filesystem>
#include <string_view>

#include "base/file_error.h"
#include "base/json_document.h"
#include "standalone_host/session.h"

namespace eclipse_host {

/// Reads a session file and fills `session`, which is as it was made, with what it says: variables (its mode as KORU_MODE),
/// components and the capability map. Relative paths in it become absolute, relative to the file. Throws FileError.
void read_session_file(const std::filesystem::path& file, Session& session);

/// The same for a file that was read already.
void read_session(const eclipse_base::JsonDocument& document, Session& session);

/// Whether a text begins like a session file: with a brace, after comments. No descriptor does.
bool begins_like_session(std::string_view text);

/// Whether a file is read as a session and not as a descriptor, by its name or by how it begins.
bool is_session(const std::filesystem::path& file, std::string_view beginning);

}  // namespace eclipse_host

#endif
