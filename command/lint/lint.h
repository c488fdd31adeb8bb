// Lint as a whole: inputs and settings in, findings out.
#ifndef ECLIPSE_INT_LINT_LINT_H
#define ECLIPSE_INT_LINT_LINT_H

#include <filesystem>
#include <functional>
#include <map>
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
#include "lint/suppression.h"
#include "p2/installation.h"
#include "p2/profile.h"
#include "p2/repository.h"

namespace eclipse_lint {

/// What becomes of the findings of a rule: they have this severity, or with none the rule is not checked.
using Level = std::optional<Severity>;

/// Whether the configuration file of what is linted counts: of a directory the nearest one in it or above it, or this one.
struct ConfigurationChoice {
  bool is_wanted = false;
  std::optional<std::filesystem::path> file = {};
};

struct Settings {
  std::set<std::string> disabled;            ///< rules and groups that are not checked
  std::set<std::string> selected = {};       ///< when there are any, only these rules and groups are checked
  std::map<std::string, Level> levels = {};  ///< by rule or group; the entry of a rule counts more than that of its group
  std::vector<Suppression> suppressions;
  ConfigurationChoice configuration = {};                         ///< the settings here count more than those of the file
  eclipse_p2::Replaces replaces = eclipse_p2::Replaces::nothing;  ///< in the run of a session
  /// Sets more variables in each session that was read from its file, as a run does.
  std::function<void(eclipse_host::Session& session)> add_variables = [](eclipse_host::Session&) {};
};

/// Whether these settings ask for the findings of a rule.
bool is_enabled(const Rule& rule, const Settings& settings);

/// The findings in a descriptor file, the components in a directory, or a session file (which ends in .json or begins like
/// one), ordered by file and location, with the reason in those that are suppressed. Throws FileError when the input is none of
/// the three.
Findings lint(const eclipse_dry_run::PluginFunctions& library, eclipse_p2::Repositories& sites,
              eclipse_p2::ProfileStates& states, const std::filesystem::path& path, const Settings& settings = {});

/// The same for a session that a document describes. `document` is not null.
Findings lint_session(const eclipse_dry_run::PluginFunctions& library, eclipse_p2::Repositories& sites,
                      eclipse_p2::ProfileStates& states, std::shared_ptr<const eclipse_base::JsonDocument> document,
                      const Settings& settings = {});

/// Both with descriptor files that may be unsaved. An unsaved descriptor file to lint need not exist.
Findings lint(const eclipse_dry_run::PluginFunctions& library, eclipse_p2::Repositories& sites,
              eclipse_p2::ProfileStates& states, eclipse_dry_run::DescriptorFiles& files, const std::filesystem::path& path,
              const Settings& settings);
Findings lint_session(const eclipse_dry_run::PluginFunctions& library, eclipse_p2::Repositories& sites,
                      eclipse_p2::ProfileStates& states, eclipse_dry_run::DescriptorFiles& files,
                      std::shared_ptr<const eclipse_base::JsonDocument> document, const Settings& settings);

}  // namespace eclipse_lint

#endif
