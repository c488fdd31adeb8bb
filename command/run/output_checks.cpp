#include "run/output_checks.h"

#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "base/file.h"
#include "base/printable.h"
#include "run/usage_error.h"
#include "run/used_files.h"
#include "shell/own_command.h"
#include "standalone_host/variables_file.h"
#include "terminal/standard_streams.h"

using eclipse_host::Plugin;
using eclipse_host::Session;

using namespace eclipse_terminal;

namespace eclipse_run {

namespace {

[[noreturn]] void refuse(const std::string& option, const std::string& output, const std::string& used) {
  throw eclipse_base::FileError(output,
                                option + " would overwrite " + used + ", which is used in this run; give it another file");
}

[[noreturn]] void refuse_new(const std::string& option, const std::string& output, const std::filesystem::path& directory) {
  throw eclipse_base::FileError(output, option + " would add a file to " + directory.string() +
                                            ", where the plug-in or Eclipse reads every file; choose a file elsewhere");
}

bool is_new(const std::string& output) {
  std::error_code error;
  return std::filesystem::status(output, error).type() == std::filesystem::file_type::not_found;
}

/// A library that has the actions and nothing else can be run, but not be asked what is read.
void check_new_output(const Plugin& plugin, const Session& session, const std::string& option, const std::string& output) try {
  const auto directory = directory_read_whole(plugin, session, output);
  if (directory) refuse_new(option, output, *directory);
} catch (const eclipse_host::PluginError&) {
}

/// The inputs that this command itself reads.
std::vector<std::string> inputs_of(const SessionOptions& options, const Plugin& plugin) {
  std::vector<std::string> inputs = {options.session, plugin.library().string(), eclipse_shell::own_program};
  if (options.plugin) inputs.push_back(*options.plugin);
  return inputs;
}

/// The log is emptied before the product is read, and the instance must survive.
void check_output(const SessionOptions& options, const Plugin& plugin, const Session& session, const std::string& option,
                  const std::string& output) {
  for (const std::string& input : inputs_of(options, plugin)) {
    if (eclipse_base::is_same_file(output, input))
      refuse(option, output, input == eclipse_shell::own_program ? "this program" : input);
  }
  if (is_new(output)) return check_new_output(plugin, session, option, output);
  std::error_code error;
  if (!std::filesystem::is_regular_file(output, error)) return;
  const auto used = used_file(plugin, session, output);
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
  if (is_new(output)) {
    const auto directory = directory_read_whole_in_instance(executable, output);
    if (directory) refuse_new("--write-variables", output, *directory);
  }
  std::error_code error;
  if (!std::filesystem::is_regular_file(output, error)) return;
  if (eclipse_base::is_same_file(output, eclipse_shell::own_program)) refuse("--write-variables", output, "this program");
  const auto used = used_file_of_instance(executable, output);
  if (used) refuse("--write-variables", output, used->string());
}

}  // namespace eclipse_run
