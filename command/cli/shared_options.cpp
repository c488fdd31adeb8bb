#include "cli/shared_options.h"

#include <cstdlib>

#include "base/printable.h"

using namespace eclipse_run;

namespace eclipse_cli {

namespace {

std::string error_in_setting(const std::string& setting) {
  const std::size_t equals = setting.find('=');
  if (equals != std::string::npos && equals != 0) return "";
  return "\"" + setting + "\" is not NAME=VALUE; write the variable's name, an equals sign and its value";
}

std::string error_in_seconds(const std::string& seconds) {
  char* end = nullptr;
  const double value = std::strtod(seconds.c_str(), &end);
  constexpr double longest_wait = 1e9;  // a clock of nanoseconds does not go much further
  if (!seconds.empty() && *end == '\0' && value >= 0 && value <= longest_wait) return "";
  return eclipse_base::in_quotes(seconds) + " is not a time to wait; give a number of seconds, such as 60";
}

}  // namespace

void add_eclipse_argument(const Parser& command, std::string& eclipse) {
  command.add_option("ECLIPSE", eclipse, "The Eclipse executable, or its directory").required().option_text(" ");
}

void add_session_file(const Parser& command, SessionOptions& options) {
  command.add_option("SESSION", options.session, "The session file, or a directory of components, which needs --eclipse")
      .required()
      .option_text(" ");
  add_directory_options(command, options);
}

void add_directory_options(const Parser& command, SessionOptions& options) {
  command
      .add_option("--eclipse", options.eclipse,
                  "Use the Eclipse instance with this executable or in this directory; only for a\n"
                  "directory of components, all of which are then selected")
      .type_name("PATH");
  command.add_flag("--remove", options.removes, "Treat the session as a removal; only for a directory of\ncomponents");
}

void add_input_options(const Parser& command, SessionOptions& options, const std::string& about_file) {
  command
      .add_option("--set", options.settings,
                  "Set a session variable; overrides the session file and --variables.\n"
                  "May be repeated; the last value of a variable counts")
      .type_name("NAME=VALUE")
      .one_value_each()
      .checked_by(error_in_setting);
  command
      .add_option("--variables", options.variables,
                  "Read session variables from FILE; the session file overrides them" + about_file)
      .type_name("FILE");
  add_plugin_option(command, options);
}

void add_plugin_option(const Parser& command, SessionOptions& options) {
  command.add_option("--plugin", options.plugin, "Load this plug-in [default: the one installed with this command]")
      .type_name("LIBRARY");
}

void add_json_option(const Parser& command, bool& json, const std::string& content) {
  command.add_flag("--json", json,
                   "Print one JSON document with " + content + ", and nothing else;\nbytes that are not UTF-8 become U+FFFD");
}

void add_wait_option(const Parser& command, double& seconds) {
  command
      .add_option("--wait", seconds,
                  "Wait at most this long while another director works on the same Eclipse instance\n[default: 0]")
      .type_name("SECONDS")
      .checked_by(error_in_seconds);
}

void add_reading_options(const Parser& command, SessionOptions& options, const std::string& json_content) {
  add_input_options(command, options);
  add_json_option(command, options.json, json_content);
}

void add_running_options(const Parser& command, SessionOptions& options) {
  add_input_options(command, options, ".\nFILE need not exist if --write-variables names it, too");
  command
      .add_option("--write-variables", options.write_variables,
                  "Write the session variables to FILE after the run, for the next run,\neven if the run failed")
      .type_name("FILE");
  command
      .add_option("--log", options.log,
                  "Write the log to FILE, line by line as it is produced; overwrites FILE.\nWith --json, FILE must not be "
                  "standard output")
      .type_name("FILE");
  add_wait_option(command, options.wait);
  add_json_option(command, options.json, "everything that happened");
}

Option add_update_options(const Parser& command, eclipse_update::UpdateOptions& update_options) {
  const Option update =
      command.add_flag("--update", update_options.update,
                       "Replace features that the instance has in another version, in one command before the others\n[default: "
                       "refuse the run if a version is older]");
  command.add_flag("--allow-downgrade", update_options.downgrade, "With --update: also replace a newer version by an older one")
      .needs("--update");
  return update;
}

}  // namespace eclipse_cli
