#include "lint/finding.h"

#include <algorithm>

#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_lint {

std::string_view name_of(Severity severity) {
  switch (severity) {
    case Severity::note:
      return "note";
    case Severity::warning:
      return "warning";
    case Severity::error:
      return "error";
  }
  return "";
}

std::optional<Severity> severity_named(std::string_view name) {
  for (const Severity severity : {Severity::note, Severity::warning, Severity::error}) {
    if (name == name_of(severity)) return severity;
  }
  return std::nullopt;
}

std::size_t Location::column_in_characters() const {
  if (line == 0 || text.empty()) return line == 0 ? 0 : column;
  return 1 + characters_in(std::string_view(text).substr(0, column - 1));
}

std::size_t Location::length_in_characters() const {
  return line == 0 ? 0 : characters_in(std::string_view(text).substr(std::min(column - 1, text.size()), length));
}

}  // namespace eclipse_lint
