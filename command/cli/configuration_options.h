// Which configuration file of lint counts.
#ifndef ECLIPSE_INT_CLI_CONFIGURATION_OPTIONS_H
#define ECLIPSE_INT_CLI_CONFIGURATION_OPTIONS_H

#include <optional>
#include <string>

#include "cli/parser.h"

namespace eclipse_lint {
struct ConfigurationChoice;
}

namespace eclipse_cli {

struct ConfigurationOptions {
  std::optional<std::string> file;
  bool is_ignored = false;
};

/// Adds --config and --no-config.
void add_configuration_options(const Parser& command, ConfigurationOptions& options);

eclipse_lint::ConfigurationChoice configuration_choice(const ConfigurationOptions& options);

}  // namespace eclipse_cli

#endif
