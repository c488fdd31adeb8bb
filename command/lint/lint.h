// Lint as a whole: inputs and settings in, findings out.
#ifndef ECLIPSE_INT_LINT_LINT_H
#define ECLIPSE_INT_LINT_LINT_H

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "dry_run/plugin_functions.h"
#include "lint/finding.h"
#include "p2/repository.h"

namespace eclipse_lint {

/// Sets findings of one rule aside, for a reason.
struct Override {
  std::string rule;
  std::optional<std::string> file;  ///< a path or the end of one
  std::optional<std::size_t> line;
  std::string reason;
  std::string location = {};  ///< "FILE:LINE", where it is written
};

/// Whether an override is for a finding. Of several, the first one counts.
bool applies(const Override& entry, const Finding& finding);

/// Reads a file of overrides: a JSON list of {"rule", "file" (optional), "line" (optional), "reason"}. Throws FileError.
std::vector<Override> read_overrides(const std::filesystem::path& file);

struct Settings {
  std::set<std::string> disabled;  ///< rules that are not to be checked
  std::vector<Override> overrides;
};

/// The findings in a descriptor file, the components in a directory, or a session file (.json), in the order of files and
/// places, with the reason in those that are set aside. Throws FileError when the input is none of the three.
Findings lint(const eclipse_dry_run::Library& library, eclipse_p2::Sites& sites, const std::filesystem::path& path,
              const Settings& settings = {});

}  // namespace eclipse_lint

#endif
