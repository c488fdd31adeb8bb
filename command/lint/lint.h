// Lint as a whole: inputs and settings in, findings out.
#ifndef ECLIPSE_INT_LINT_LINT_H
#define ECLIPSE_INT_LINT_LINT_H

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "base/json_document.h"
#include "dry_run/descriptor_files.h"
#include "dry_run/plugin_functions.h"
#include "lint/finding.h"
#include "p2/repository.h"

namespace eclipse_lint {

/// Suppresses findings of one rule, for a reason.
struct Override {
  std::string rule;
  std::optional<std::string> file;  ///< a path or the end of one
  std::optional<std::size_t> line;
  std::string reason;
  std::string location = {};  ///< "FILE:LINE", where it is written
};

/// Whether an override is for a finding. Of several, the first one applies.
bool applies(const Override& entry, const Finding& finding);

/// Reads a file of overrides: a JSON list of {"rule", "file" (optional), "line" (optional), "reason"}. Throws FileError.
std::vector<Override> read_overrides(const std::filesystem::path& file);

struct Settings {
  std::set<std::string> disabled;       ///< rules and groups that are not checked
  std::set<std::string> selected = {};  ///< when there are any, only these rules and groups are checked
  std::vector<Override> overrides;
  /// Sets more variables in each session that was read from its file, as a run does.
  std::function<void(eclipse_host::Session& session)> add_variables = [](eclipse_host::Session&) {};
};

/// Whether these settings ask for the findings of a rule.
bool is_enabled(const Rule& rule, const Settings& settings);

/// Whether a text begins like a session file: with a brace, after comments. No descriptor does.
bool begins_like_session(std::string_view text);

/// The findings in a descriptor file, the components in a directory, or a session file (which ends in .json or begins like
/// one), ordered by file and location, with the reason in those that are suppressed. Throws FileError when the input is none of
/// the three.
Findings lint(const eclipse_dry_run::PluginFunctions& library, eclipse_p2::Repositories& sites,
              const std::filesystem::path& path, const Settings& settings = {});

/// The same for a session that a document describes. `document` is not null.
Findings lint_session(const eclipse_dry_run::PluginFunctions& library, eclipse_p2::Repositories& sites,
                      std::shared_ptr<const eclipse_base::JsonDocument> document, const Settings& settings = {});

/// Both with descriptor files that may be unsaved. An unsaved descriptor file to lint need not exist.
Findings lint(const eclipse_dry_run::PluginFunctions& library, eclipse_p2::Repositories& sites,
              eclipse_dry_run::DescriptorFiles& files, const std::filesystem::path& path, const Settings& settings);
Findings lint_session(const eclipse_dry_run::PluginFunctions& library, eclipse_p2::Repositories& sites,
                      eclipse_dry_run::DescriptorFiles& files, std::shared_ptr<const eclipse_base::JsonDocument> document,
                      const Settings& settings);

}  // namespace eclipse_lint

#endif
