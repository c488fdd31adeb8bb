// Applies the corrections that findings have.
#ifndef ECLIPSE_INT_LINT_FIX_H
#define ECLIPSE_INT_LINT_FIX_H

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "dry_run/descriptor_files.h"
#include "lint/finding.h"

namespace eclipse_lint {

/// A file to which corrections were applied. Nothing is written.
struct FixedFile {
  std::filesystem::path file;  ///< as the findings name it
  std::string before;
  std::string after;
  std::size_t corrections = 0;  ///< how many were applied
};

struct FixResult {
  std::vector<FixedFile> files;  ///< those that change, in the order of their paths
  Findings remaining;            ///< what is found in the files as they are then
};

/// Lints with these files.
using LintFiles = std::function<Findings(eclipse_dry_run::DescriptorFiles& files)>;

/// A text with edits that are in its order and do not overlap.
std::string edited(std::string_view text, const std::vector<Edit>& edits);

/// Applies all corrections of findings that no entry and no comment suppresses; of unsafe ones only `with_unsafe`. Of
/// corrections that meet in one place, the first is applied, and then the files are linted again, until there is nothing left
/// to correct. `unsaved` are texts that count in place of the files'. Throws FileError when a file cannot be read.
FixResult fix(const LintFiles& lint, bool with_unsafe, const eclipse_dry_run::DescriptorFiles& unsaved = {});

}  // namespace eclipse_lint

#endif
