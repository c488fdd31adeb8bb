#include "cli/configuration_options.h"

#include "lint/lint.h"

namespace eclipse_cli {

void add_configuration_options(const Parser& command, ConfigurationOptions& options) {
  command
      .add_option("--config", options.file,
                  "Take the configuration of lint from FILE [default: the nearest .eclipse-int.json\n"
                  "in the directory of what is linted or above it]")
      .type_name("FILE");
  command.add_flag("--no-config", options.is_ignored, "Ignore configuration files; not with --config").excludes("--config");
}

eclipse_lint::ConfigurationChoice configuration_choice(const ConfigurationOptions& options) {
  return {.is_wanted = !options.is_ignored, .file = options.file};
}

}  // namespace eclipse_cli
