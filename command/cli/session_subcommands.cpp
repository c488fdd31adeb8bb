// The command lines of run, call, plan and verify, and their help texts.
#include <cstdlib>
#include <memory>

#include "base/printable.h"
#include "cli/subcommands.h"

using namespace eclipse_run;

namespace eclipse_cli {

namespace {

constexpr const char* exit_status_of_runs =
    "Exit status:\n"
    "  0  success\n"
    "  1  the integration failed or was refused\n"
    "  2  nothing was run, because of an error in the session or the arguments, or because another director is\n"
    "     at work on the Eclipse instance; or the run succeeded, but a file or standard output could not be\n"
    "     written (a message says which)\n"
    "  128 + N  signal N ended the run; the running director completed its command, unless the signal came twice\n";

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
  return eclipse_base::in_quotes(seconds) + " is not a number of seconds; give a number from 0 to 1e9";
}

void add_session_file(const Parser& command, SessionOptions& options) {
  command.add_option("SESSION", options.session, "The session file, or a directory of components, which needs --eclipse")
      .required()
      .option_text(" ");
  add_directory_options(command, options);
}

}  // namespace

void add_directory_options(const Parser& command, SessionOptions& options) {
  command
      .add_option("--eclipse", options.eclipse,
                  "Use the Eclipse instance with this executable or in this directory; only for a\n"
                  "directory of components, all of which are then selected")
      .type_name("PATH");
  command.add_flag("--remove", options.removes,
                   "Remove the features instead of installing them; only for a directory of\ncomponents");
}

void add_input_options(const Parser& command, SessionOptions& options, const std::string& about_variables) {
  command
      .add_option("--set", options.settings,
                  "Set a session variable; overrides the session file and --variables.\n"
                  "May be repeated; the last value of a variable counts")
      .type_name("NAME=VALUE")
      .one_value_each()
      .checked_by(error_in_setting);
  command.add_option("--variables", options.variables, about_variables).type_name("FILE");
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

namespace {

/// The options of a subcommand that only reads a session.
void add_reading_options(const Parser& command, SessionOptions& options, const std::string& json_content) {
  add_input_options(command, options, "Read session variables from FILE; the session file overrides them");
  add_json_option(command, options.json, json_content);
}

/// The options of a subcommand that runs a session.
void add_running_options(const Parser& command, SessionOptions& options) {
  add_input_options(command, options,
                    "Read session variables from FILE; the session file overrides them.\nFILE need not exist if "
                    "--write-variables names it, too");
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

Option add_update_options(const Parser& command, eclipse_update::Wishes& wishes) {
  const Option update =
      command.add_flag("--update", wishes.update,
                       "Replace features that the instance has in another version, in one command before the others\n[default: "
                       "refuse the run if a version is older]");
  command.add_flag("--allow-downgrade", wishes.downgrade, "With --update: also replace a newer version by an older one")
      .needs("--update");
  return update;
}

Subcommand add_run(const Parser& program) {
  const Parser parser =
      program.add_subcommand("run",
                             "Run a whole session as an installer does: determine whether integration is needed,\n"
                             "check the Eclipse instance, then install or remove the features");
  const auto options = std::make_shared<SessionOptions>();
  const auto how = std::make_shared<RunOptions>();
  add_session_file(parser, *options);
  parser.add_flag("--resolve", how->resolves,
                  "Ask the director first whether it would install or remove all features, as\n"
                  "\"plan --resolve\" does, and run nothing if it would not");
  // The command of the update changes nothing unless all of it resolves.
  add_update_options(parser, how->update).excludes("--resolve");
  parser.add_flag(
      "--all-or-nothing", how->all_or_nothing,
      "If the run does not install (or remove) all features, bring the instance back to the state\nbefore the run; also after "
      "a signal, or when the director dies");
  parser.add_flag("--verify", how->verifies,
                  "Ask the Eclipse instance before and after the run which units are installed,\nand report differences from "
                  "the state that the session describes");
  add_running_options(parser, *options);
  parser.set_help(
      "eclipse-int run SESSION [OPTIONS]",
      "  eclipse-int run install.json\n"
      "      Install the features of the components that install.json selects.\n"
      "  eclipse-int run tools --eclipse /opt/ide\n"
      "      Install the features of the component in the directory tools into an Eclipse instance.\n"
      "  eclipse-int run install.json --set ECLIPSE_INTEGRATION_CHOICE=user \\\n"
      "      --set USER_DEFINED_ECLIPSE_PATH=/opt/eclipse/eclipse\n"
      "      Install them into your own Eclipse instance.\n"
      "  eclipse-int run modify.json --variables state.json --write-variables state.json\n"
      "      Pass the variables from one run to the next, as an installer does.\n"
      "  eclipse-int run uninstall.json --verify\n"
      "      Also check that the features are gone from the instance.\n"
      "  eclipse-int run modify.json --update\n"
      "      Replace the features that the instance has in an older version.\n"
      "  eclipse-int run install.json --all-or-nothing\n"
      "      Install all features, or leave the instance as it was.\n"
      "  eclipse-int run uninstall.json --json --log uninstall.log > result.json\n"
      "      Write the result for another program, and the log to a file.\n",
      std::string(exit_status_of_runs) +
          "With --resolve also:\n"
          "  1  the director would not install or remove all features, so nothing was run\n"
          "With --all-or-nothing also:\n"
          "  1  not all features were installed or removed, and the instance is back in the state before the run, or a\n"
          "     message says why not\n"
          "With --verify also:\n"
          "  1  the run succeeded, but the instance is not in the state that the session describes\n"
          "  2  the run succeeded, but the instance cannot be queried, or does not exist, so the run did nothing\n");
  return {parser, [options, how] { return run(*options, *how); }};
}

Subcommand add_call(const Parser& program) {
  const Parser parser = program.add_subcommand("call", "Call only the given actions on a session, in the given order");
  const auto options = std::make_shared<SessionOptions>();
  const auto arguments = std::make_shared<std::vector<std::string>>();
  parser
      .add_option(
          "ACTION", *arguments,
          "The actions, which may repeat, followed by the session file or a\ndirectory of components, which needs --eclipse")
      .required()
      .option_text("... SESSION");
  add_directory_options(parser, *options);
  add_running_options(parser, *options);
  parser.set_help("eclipse-int call ACTION... SESSION [OPTIONS]",
                  "  eclipse-int call verify_eclipse_version session.json\n"
                  "      Check the Eclipse instance that USER_DEFINED_ECLIPSE_PATH names.\n"
                  "  eclipse-int call define_eclipse_path perform_integration session.json\n"
                  "      Install without the checks of \"run\".\n"
                  "  eclipse-int call find_eclipse_ide session.json --set KORU_MODE=repair\n"
                  "      Try a mode that \"run\" does not accept.\n"
                  "\nActions:" +
                      list_of_actions() + "\n",
                  exit_status_of_runs);
  return {parser, [options, arguments] { return call(*options, *arguments); }};
}

Subcommand add_plan(const Parser& program) {
  const Parser parser = program.add_subcommand(
      "plan",
      "Show what a run of a session would do, feature by feature, without changing or running anything:\n"
      "+ to be installed, = already there, ~ there in another version, - to be removed, ! will fail");
  const auto options = std::make_shared<SessionOptions>();
  const auto how = std::make_shared<PlanOptions>();
  add_session_file(parser, *options);
  parser.add_flag("--resolve", how->resolves,
                  "Ask the director of the Eclipse instance whether it would install or remove all features,\n"
                  "and if not, which ones fail and why. It works on a copy of the profile, changes nothing,\n"
                  "and takes some seconds for each question");
  add_update_options(parser, how->update);
  parser.add_flag("--retries", how->all_retries,
                  "Show the command of every retry, one for each feature; implies --verbose\n"
                  "[default: similar retries are only counted]");
  parser.add_flag("--verbose", how->is_verbose,
                  "Show the whole plan: actions, components, install order, commands and retries\n"
                  "[default: a line for each feature and repository, and anything unusual]");
  add_configuration_options(parser, how->configuration);
  add_reading_options(parser, *options, "the whole plan");
  parser.set_help(
      "eclipse-int plan SESSION [OPTIONS]",
      "  eclipse-int plan install.json\n"
      "      Show what \"eclipse-int run install.json\" would do.\n"
      "  eclipse-int plan modify.json --variables state.json\n"
      "      Do the same with the variables that an earlier run wrote.\n"
      "  eclipse-int plan modify.json --update\n"
      "      Show which features an update replaces, and the command; with --resolve also whether the director\n"
      "      would do it.\n"
      "  eclipse-int plan install.json --resolve\n"
      "      Also ask the director whether all requirements can be met.\n"
      "  eclipse-int plan uninstall.json --json --retries > plan.json\n"
      "      Write the plan for another program, with all retries.\n",
      "Exit status:\n"
      "  0  the run would do what the plan shows, or has nothing to do\n"
      "  1  the run would be refused, a feature will fail, lint reports an error, or the Eclipse instance is damaged;\n"
      "     with --resolve also: the director would not install or remove all features\n"
      "  2  an error in the session or the arguments; with --resolve also: the director cannot be asked,\n"
      "     for example because another director is at work on the Eclipse instance\n"
      "  128 + N  signal N interrupted the director\n");
  return {parser, [options, how] { return plan(*options, *how); }};
}

Subcommand add_verify(const Parser& program) {
  const Parser parser =
      program.add_subcommand("verify",
                             "Check whether the Eclipse instance has what a session installs, or no longer has what it\n"
                             "removes");
  const auto options = std::make_shared<SessionOptions>();
  const auto asks_director = std::make_shared<bool>(false);
  add_session_file(parser, *options);
  add_wait_option(parser, options->wait);
  parser.add_flag("--director", *asks_director,
                  "Ask the director what is installed [default: read the p2 profile, and ask only if it cannot\nbe read]");
  add_reading_options(parser, *options, "the findings");
  parser.set_help("eclipse-int verify SESSION [OPTIONS]",
                  "  eclipse-int verify install.json\n"
                  "      Check whether everything that \"eclipse-int run install.json\" installs is installed.\n"
                  "  eclipse-int verify uninstall.json --json\n"
                  "      Check whether everything that \"eclipse-int run uninstall.json\" removes is gone, and print JSON.\n"
                  "\n"
                  "Use the session and the variables as they were before the run: the variables that a run writes\n"
                  "may mark the instance as known, and then only the selected components count.\n",
                  "Exit status:\n"
                  "  0  the instance is in the state that the session describes\n"
                  "  1  the instance is in another state, as the output shows, or it is damaged\n"
                  "  2  an error in the session or the arguments, or the instance cannot be queried, for example because\n"
                  "     another director is at work on it\n"
                  "  128 + N  signal N interrupted the query\n");
  return {parser, [options, asks_director] { return verify(*options, *asks_director); }};
}

}  // namespace

std::vector<Subcommand> add_session_subcommands(const Parser& program) {
  return {add_run(program), add_call(program), add_plan(program), add_verify(program)};
}

}  // namespace eclipse_cli
