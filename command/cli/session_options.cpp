#include "cli/session_options.h"

#include <memory>

namespace eclipse_cli {

namespace {

/// The library's own usage line does not say in which order arguments come.
class HelpText : public CLI::Formatter {
 public:
  explicit HelpText(std::string usage) : usage_(std::move(usage)) { column_width(32); }

  std::string make_usage(const CLI::App*, std::string) const override { return "Usage: " + usage_ + "\n"; }

 private:
  std::string usage_;
};

std::string fault_of_setting(const std::string& setting) {
  const std::size_t equals = setting.find('=');
  if (equals != std::string::npos && equals != 0) return "";
  return "\"" + setting + "\" is not NAME=VALUE; write the variable's name, an equals sign and its value";
}

void add_input_options(CLI::App& command, SessionOptions& options, const std::string& about_variables) {
  command
      .add_option("--set", options.settings,
                  "Set a session variable, over the session file;\nmay be given many times, the last one of a name counts")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false)
      ->check(CLI::Validator(fault_of_setting, "", ""));
  command.add_option("--variables", options.variables, about_variables)->type_name("FILE");
  command.add_option("--plugin", options.plugin, "Load this plug-in; otherwise the one that came with this command")
      ->type_name("LIBRARY");
}

void add_json_option(CLI::App& command, SessionOptions& options, const std::string& content) {
  command.add_flag("--json", options.json,
                   "Print one JSON document with " + content + ", and nothing else;\nbytes that are not UTF-8 become U+FFFD");
}

}  // namespace

const char* const exit_status_of_runs =
    "Exit status:\n"
    "  0  done\n"
    "  1  the integration failed or was refused\n"
    "  2  the session or the arguments are at fault, and nothing was run; or it was run and all is done,\n"
    "     but a file or standard output could not be written (the message says so)\n"
    "  128 and the number of a signal: the signal ended the run, and the director that was running\n";

void add_session_options(CLI::App& command, SessionOptions& options) {
  add_input_options(command, options,
                    "Read session variables, under those of the session file;\nthe file need not be there yet "
                    "when --write-variables names the same one");
  command
      .add_option("--write-variables", options.write_variables,
                  "Write the session variables after the run, for the next one,\nalso when it failed")
      ->type_name("FILE");
  command
      .add_option(
          "--log", options.log,
          "Write the log, line by line as it comes; what the file held is lost;\nwith --json it may not be standard output")
      ->type_name("FILE");
  add_json_option(command, options, "all that happened");
}

void add_reading_options(CLI::App& command, SessionOptions& options, const std::string& json_content) {
  add_input_options(command, options, "Read session variables, under those of the session file");
  add_json_option(command, options, json_content);
}

void set_help(CLI::App& command, const std::string& usage, const std::string& examples, const std::string& exit_status) {
  command.formatter(std::make_shared<HelpText>(usage));
  command.footer("Examples:\n" + examples + "\n" + exit_status);
}

}  // namespace eclipse_cli
