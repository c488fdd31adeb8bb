// The subcommands of eclipse-int.
#ifndef ECLIPSE_INT_CLI_SUBCOMMANDS_H
#define ECLIPSE_INT_CLI_SUBCOMMANDS_H

#include <functional>
#include <string>
#include <vector>

#include "cli/configuration_options.h"
#include "cli/parser.h"
#include "run/session_options.h"
#include "update/wishes.h"

namespace eclipse_cli {

struct Subcommand {
  Parser parser;
  std::function<int()> perform;  ///< returns the exit status; throws what has to be reported as status 2
};

/// "run", "call", "plan" and "verify": the subcommands on a session.
std::vector<Subcommand> add_session_subcommands(const Parser& program);

/// "lint": finds mistakes in descriptor files, components and sessions.
Subcommand add_lint(const Parser& program);

/// "explain": explains lint rules.
Subcommand add_explain(const Parser& program);

/// "repair": makes an instance usable again whose p2 profile was damaged.
Subcommand add_repair(const Parser& program);

/// "history": lists the states of the p2 profile of an instance.
Subcommand add_history(const Parser& program);

/// "undo": brings an instance back to an older state of its profile.
Subcommand add_undo(const Parser& program);

/// "list": lists what p2 repositories provide.
Subcommand add_list(const Parser& program);

/// "new": writes a descriptor file for a component.
Subcommand add_new(const Parser& program);

/// "language-server": serves an editor.
Subcommand add_language_server(const Parser& program);

/// "check-host": checks an installer host.
Subcommand add_check_host(const Parser& program);

/// Adds --set, --variables and --plugin.
void add_input_options(const Parser& command, eclipse_run::SessionOptions& options, const std::string& about_variables);

/// Adds --plugin.
void add_plugin_option(const Parser& command, eclipse_run::SessionOptions& options);

/// Adds --eclipse and --remove, for a directory in place of a session file.
void add_directory_options(const Parser& command, eclipse_run::SessionOptions& options);

/// Adds --wait.
void add_wait_option(const Parser& command, double& seconds);

/// The option --json, for a document with this content.
void add_json_option(const Parser& command, bool& json, const std::string& content);

struct RunOptions {
  bool resolves = false;  ///< asks the director first, and runs only what it would do
  bool verifies = false;  ///< asks the instance before and after
  eclipse_update::Wishes update;
  bool all_or_nothing = false;  ///< goes back unless everything was done
};

/// Runs a whole session. Like all below, returns the exit status and throws
/// UsageError, FileError, PluginError or InstanceError for what is found before anything is run.
int run(const eclipse_run::SessionOptions& options, const RunOptions& run);

/// Calls single actions. The last of the arguments is the session file.
int call(eclipse_run::SessionOptions options, std::vector<std::string> arguments);

/// The names of the actions, each on an indented line of its own that a line feed begins.
std::string list_of_actions();

struct PlanOptions {
  bool is_verbose = false;   ///< shows all of the plan
  bool all_retries = false;  ///< shows all that are similar
  bool resolves = false;     ///< asks the director
  eclipse_update::Wishes update;
  ConfigurationOptions configuration;
};

/// Prints what a run would do.
int plan(const eclipse_run::SessionOptions& options, const PlanOptions& plan);

/// Compares an instance with what a run should have left. Its profile says what is installed, or the director, which is asked
/// if the profile cannot be read, too.
int verify(const eclipse_run::SessionOptions& options, bool asks_director);

}  // namespace eclipse_cli

#endif
