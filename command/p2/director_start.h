// What keeps a director from starting, although the shell starts its executable.
#ifndef ECLIPSE_INT_P2_DIRECTOR_START_H
#define ECLIPSE_INT_P2_DIRECTOR_START_H

#include <optional>
#include <string>
#include <string_view>

#include "shell/executable.h"

namespace eclipse_p2 {

/// What is said of a text that is not readable in the locale, and the fix.
inline constexpr const char* unreadable_in_locale =
    "non-ASCII characters, which the director cannot read in the current locale";
inline constexpr const char* locale_fix = "set a locale with UTF-8 for the installer, such as LC_ALL=C.UTF-8";

/// Whether Java can open the file at a path, which is valid UTF-8, in the locale that is set: without UTF-8 only one that is
/// ASCII.
bool is_readable_in_locale(std::string_view path);

/// Why the shell cannot start an executable, or why Eclipse does not work below its path; nothing when neither is known.
std::optional<eclipse_shell::ExecutableError> start_error(const std::string& executable);

}  // namespace eclipse_p2

#endif
