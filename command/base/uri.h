// URIs of files.
#ifndef ECLIPSE_INT_BASE_URI_H
#define ECLIPSE_INT_BASE_URI_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace eclipse_base {

/// Whether a text begins with the scheme of a URI and a colon. A single letter is not one, but a drive of Windows.
bool has_scheme(std::string_view text);

/// A byte as an escape of a URI: "%20".
std::string percent_encoded(char byte);

/// The text with its escapes resolved, such as "%20"; nothing when one of them is wrong or is a NUL byte.
std::optional<std::string> without_escapes(std::string_view text);

/// A path as a URI: absolute with its scheme, or else a relative reference.
std::string uri_of(const std::string& file);

/// The absolute path in a "file:" URI of this machine; nothing for any other text.
std::optional<std::filesystem::path> file_of_uri(std::string_view uri);

}  // namespace eclipse_base

#endif
