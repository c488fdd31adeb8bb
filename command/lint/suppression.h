// Entries of a suppressions file or of the configuration: a person has decided that a finding is acceptable.
#ifndef ECLIPSE_INT_LINT_SUPPRESSION_H
#define ECLIPSE_INT_LINT_SUPPRESSION_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/json_document.h"
#include "lint/finding.h"

namespace eclipse_lint {

/// Suppresses findings of one rule, for a reason.
struct Suppression {
  std::string rule;
  std::optional<std::string> file;  ///< a path or the end of one; an absolute path also of a directory above the file
  std::optional<std::size_t> line;
  std::string reason;
  std::string location = {};  ///< "FILE:LINE", where it is written
};

/// Whether a suppression is for a finding. Of several, the first one applies.
bool applies(const Suppression& entry, const Finding& finding);

/// A list of {"rule", "file" (optional), "line" (optional), "reason"}. Throws FileError.
std::vector<Suppression> suppressions_in(const eclipse_base::JsonElement& list, const eclipse_base::JsonDocument& document);

/// Reads a file that consists of such a list. Throws FileError.
std::vector<Suppression> read_suppressions(const std::filesystem::path& file);

}  // namespace eclipse_lint

#endif
