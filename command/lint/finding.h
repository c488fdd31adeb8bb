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
  std::string text = {};   ///< the whole line, without its line feed; empty for a very long one of a session

  // What reports say, as editors count: in characters. A byte that is not UTF-8 is one, too.
  std::size_t column_in_characters() const;
  std::size_t length_in_characters() const;
};

/// Between two characters of a file.
struct TextPlace {
  std::size_t line = 0;    ///< from 1; 0 means that the file has no lines, since it is not text
  std::size_t column = 0;  ///< in characters, from 1
};

/// Replaces bytes of a file.
struct Edit {
  std::size_t offset = 0;        ///< of the first byte in the file
  std::size_t length = 0;        ///< in bytes; 0 for an insertion
  std::string replacement = {};  ///< UTF-8
  TextPlace begin = {};          ///< where the replaced bytes begin and end
  TextPlace end = {};
};

/// What a program can do about a finding.
struct Correction {
  std::string title;        ///< what it does, as "remove the spaces"
  bool is_safe = true;      ///< the only possible fix; otherwise a person should check the result
  std::vector<Edit> edits;  ///< of the finding's file, in its order; they do not overlap, and all belong together
};

struct Finding {
  const Rule* rule;
  Severity severity;
  Location location;
  std::string message;                        ///< one printable line
  std::string fix;                            ///< one printable line
  std::optional<std::string> reason = {};     ///< why an entry or a comment suppresses it
  std::optional<Correction> correction = {};  ///< nothing when only a person can fix it
  bool is_suppressed_in_file = false;         ///< by a comment
  std::vector<std::string> failing = {};      ///< where lines name features that the director does not install because of it
};

/// The findings of one call of lint, ordered by file and location.
using Findings = std::vector<Finding>;

}  // namespace eclipse_lint

#endif
