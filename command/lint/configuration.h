// The configuration file of a product: severities of rules, and suppressed findings. schema/configuration.schema.json gives its
// form.
#ifndef ECLIPSE_INT_LINT_CONFIGURATION_H
#define ECLIPSE_INT_LINT_CONFIGURATION_H

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "base/json_document.h"
#include "lint/lint.h"
#include "lint/suppression.h"

namespace eclipse_lint {

inline constexpr const char* configuration_name = ".eclipse-int.json";

/// What a configuration file says.
struct Configuration {
  std::map<std::string, Level> levels;    ///< by rule or group
  std::vector<Suppression> suppressions;  ///< with absolute paths
};

/// The nearest configuration file: in a directory, in that of a file, or above it, but not above a directory that contains
/// .git. Throws FileError.
std::optional<std::filesystem::path> find_configuration(const std::filesystem::path& linted);

/// Paths in it become absolute, relative to the file. Throws FileError.
Configuration read_configuration(const eclipse_base::JsonDocument& document);

/// The settings with those of the configuration file that they ask for. Throws FileError.
Settings with_configuration(Settings settings, const std::filesystem::path& linted);

}  // namespace eclipse_lint

#endif
