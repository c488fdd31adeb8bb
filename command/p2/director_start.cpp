#include "p2/director_start.h"

#include <langinfo.h>
#include <locale.h>

#include <algorithm>

#include "base/file.h"
#include "base/printable.h"
#include "base/text.h"

using namespace eclipse_base;
using eclipse_shell::ExecutableError;

namespace eclipse_p2 {

namespace {

/// Eclipse makes URLs of its own paths without escaping them, and Java takes a colon for the end of a path.
constexpr std::string_view characters_of_syntax = "#%:";

bool has_utf_8_locale() {
  // If one category cannot be set, Java has the locale C.
  const locale_t locale = newlocale(LC_ALL_MASK, "", nullptr);
  if (locale == nullptr) return false;
  const bool is_utf_8 = std::string_view(nl_langinfo_l(CODESET, locale)) == "UTF-8";
  freelocale(locale);
  return is_utf_8;
}

/// Of an absolute path.
std::optional<ExecutableError> path_error(const std::string& path) {
  const std::string quoted = in_quotes(path);
  if (!is_utf8(path))
    return ExecutableError{quoted + " is not valid UTF-8, and Java cannot open it", "move Eclipse to another path"};
  if (!is_readable_in_locale(path)) {
    return ExecutableError{quoted + " has " + unreadable_in_locale,
                           std::string(locale_fix) + ", or move Eclipse to another path"};
  }
  const std::size_t at = path.find_first_of(characters_of_syntax);
  if (at == path.npos) return std::nullopt;
  const std::string character = "\"" + path.substr(at, 1) + "\"";
  return ExecutableError{quoted + " contains " + character + ", and Eclipse does not work in such a directory",
                         "move Eclipse to a path without " + character};
}

}  // namespace

bool is_readable_in_locale(std::string_view path) {
  const auto is_ascii = [](char byte) { return static_cast<unsigned char>(byte) < 0x80; };
  return std::all_of(path.begin(), path.end(), is_ascii) || has_utf_8_locale();
}

std::optional<ExecutableError> start_error(const std::string& executable) {
  auto error = eclipse_shell::executable_error(executable);
  return error ? error : path_error(absolute_path(executable).string());
}

}  // namespace eclipse_p2
