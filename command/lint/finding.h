// What lint finds, whatever the form of the report.
#ifndef ECLIPSE_INT_LINT_FINDING_H
#define ECLIPSE_INT_LINT_FINDING_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace eclipse_lint {

struct Rule;

enum class Severity { note, warning, error };

/// "note", "warning" or "error".
std::string_view name_of(Severity severity);
/// Nothing when there is no such severity.
std::optional<Severity> severity_named(std::string_view name);

/// Part of a line.
struct Location {
  std::string file;
  std::size_t line = 0;    ///< from 1; 0 means the file as a whole
  std::size_t column = 0;  ///< in bytes, from 1; a tab is one byte
  std::size_t length = 0;  ///< in bytes
  std::string text = {};   ///< the whole line, without its line feed
};

struct Finding {
  const Rule* rule;
  Severity severity;
  Location location;
  std::string message;
  std::string fix;
  std::optional<std::string> reason;  ///< why an override suppresses it
};

/// The findings of one call of lint, ordered by file and location.
using Findings = std::vector<Finding>;

}  // namespace eclipse_lint

#endif
