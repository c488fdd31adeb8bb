// What keeps a director from starting, although the shell starts its executable.
#ifndef ECLIPSE_INT_P2_DIRECTOR_START_H
#define ECLIPSE_INT_P2_DIRECTOR_START_H

#include <optional>
#include <string>
#include <string_view>

#include "shell/executable.h"

namespace eclipse_p2 {

/// Whether Java can open the file at a path, which is valid UTF-8, in the locale that is set: without UTF-8 only one that is
/// ASCII.
bool is_readable_in_locale(std::string_view path);

/// Why the shell cannot start an executable, or why Eclipse does not work below its path; nothing when neither is known.
std::optional<eclipse_shell::ExecutableError> start_error(const std::string& executable);

}  // namespace eclipse_p2

#endif
