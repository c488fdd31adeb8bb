// What the director makes of the URL of a repository, into which the plug-in writes the path as it is.
#ifndef ECLIPSE_INT_P2_REPOSITORY_URL_H
#define ECLIPSE_INT_P2_REPOSITORY_URL_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "p2/repository.h"

namespace eclipse_p2 {

/// What the URL of an archive begins and ends with.
inline constexpr std::string_view archive_scheme = "jar:";
inline constexpr std::string_view archive_end = "!/";

/// The first piece of a path that is URL syntax: "#", or an escape such as "%20"; outside of an archive also "?" and brackets;
/// in an archive also "!/", which ends its path. Empty for none.
std::string_view url_syntax_in(std::string_view path, bool is_archive);

/// A directory whose URL is that of an archive, or a file whose URL is that of a directory.
bool is_of_other_kind(const Repository& repository, bool is_archive);

struct UrlError {
  std::string message;       ///< what follows "the repository ..."
  bool hinders_all = false;  ///< the director fails before it loads any repository
};

/// Why no director can load a repository whose path contains this text; nothing when the text is not the reason.
std::optional<UrlError> path_error(std::string_view path, bool is_archive);

/// Why the director cannot load the repository at this path, whatever is in it; nothing when it can as far as the URL goes.
std::optional<UrlError> url_error(std::string_view path, bool is_archive, const Repository& repository);

/// The URL with escapes of a directory, or of an archive, at this absolute path.
std::string escaped_url(const std::filesystem::path& repository, bool is_archive);

/// The path of the directory or the archive with such a URL; nothing when it is not on this disk.
std::optional<std::filesystem::path> path_in_escaped_url(std::string_view url);

}  // namespace eclipse_p2

#endif
