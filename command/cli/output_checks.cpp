#include "cli/output_checks.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "base/file.h"
#include "base/printable.h"
#include "cli/standard_streams.h"
#include "cli/usage_error.h"
#include "dry_run/product_files.h"
#include "standalone_host/variables_file.h"

using eclipse_host::Plugin;
using eclipse_host::Session;

namespace eclipse_cli {

namespace {

[[noreturn]] void refuse(const std::string& option, const std::string& output, const std::string& used) {
  throw eclipse_base::FileError(output,
                                option + " would overwrite " + used + ", which is used in this run; give it another file");
}

/// The inputs that this command itself reads.
std::vector<std::string> inputs_of(const SessionOptions& options, const Plugin& plugin) {
  std::vector<std::string> inputs = {options.session, plugin.library().string(), "/proc/self/exe"};
  if (options.plugin) inputs.push_back(*options.plugin);
  return inputs;
}

/// The log is emptied before the product is read, and the instance must survive.
void check_output(const SessionOptions& options, const Plugin& plugin, const Session& session, const std::string& option,
                  const std::string& output) {
  for (const std::string& input : inputs_of(options, plugin)) {
    if (eclipse_base::is_same_file(output, input)) refuse(option, output, input == "/proc/self/exe" ? "this program" : input);
  }
  std::error_code error;
  if (!std::filesystem::is_regular_file(output, error)) return;
  const auto used = eclipse_dry_run::used_file(plugin, session, output);
  if (used) refuse(option, output, used->string());
}

/// Lines of the log would make the document unreadable.
void check_log_beside_json(const SessionOptions& options) {
  if (!options.json || !options.log || stream_of(*options.log) != STDOUT_FILENO) return;
  throw UsageError("--log: " + eclipse_base::printable(*options.log) +
                   " is standard output, which --json needs for its document; give the log a file of its own");
}

}  // namespace

void check_outputs(const SessionOptions& options, const Plugin& plugin, const Session& session) {
  check_log_beside_json(options);
  if (options.write_variables) {
    check_output(options, plugin, session, "--write-variables", *options.write_variables);
    eclipse_host::check_variables_file(*options.write_variables, session.variables);
  }
  if (!options.log) return;
  for (const auto& other : {options.variables, options.write_variables}) {
    if (other && eclipse_base::is_same_file(*options.log, *other)) refuse("--log", *options.log, *other);
  }
  check_output(options, plugin, session, "--log", *options.log);
}

void check_variables_output(const SessionOptions& options, const std::string& executable) {
  if (!options.write_variables) return;
  const std::string& output = *options.write_variables;
  std::error_code error;
  if (!std::filesystem::is_regular_file(output, error)) return;
  if (eclipse_base::is_same_file(output, "/proc/self/exe")) refuse("--write-variables", output, "this program");
  const auto used = eclipse_dry_run::used_file_of_instance(executable, output);
  if (used) refuse("--write-variables", output, used->string());
}

}  // namespace eclipse_cli
