// Arguments and options that several subcommands have.
#ifndef ECLIPSE_INT_CLI_SHARED_OPTIONS_H
#define ECLIPSE_INT_CLI_SHARED_OPTIONS_H

#include <string>

#include "cli/parser.h"
#include "run/session_options.h"
#include "update/update_options.h"

namespace eclipse_cli {

/// Adds the argument ECLIPSE.
void add_eclipse_argument(const Parser& command, std::string& eclipse);

/// Adds the argument SESSION, with --eclipse and --remove.
void add_session_file(const Parser& command, eclipse_run::SessionOptions& options);

/// Adds --eclipse and --remove, for a directory in place of a session file.
void add_directory_options(const Parser& command, eclipse_run::SessionOptions& options);

/// Adds --set, --variables, of whose file more may be said, and --plugin.
void add_input_options(const Parser& command, eclipse_run::SessionOptions& options, const std::string& about_file = "");

/// Adds --plugin.
void add_plugin_option(const Parser& command, eclipse_run::SessionOptions& options);

/// Adds --json, for a document with this content.
void add_json_option(const Parser& command, bool& json, const std::string& content);

/// Adds --wait.
void add_wait_option(const Parser& command, double& seconds);

/// Adds the options of a subcommand that only reads a session.
void add_reading_options(const Parser& command, eclipse_run::SessionOptions& options, const std::string& json_content);

/// Adds the options of a subcommand that runs a session.
void add_running_options(const Parser& command, eclipse_run::SessionOptions& options);

/// What a subcommand that runs a session returns.
inline constexpr const char* exit_status_of_runs =
    "Exit status:\n"
    "  0  success\n"
    "  1  the integration failed or was refused\n"
    "  2  nothing was run, because of an error in the session or the arguments, or because another director is\n"
    "     at work on the Eclipse instance; or the run succeeded, but a file or standard output could not be\n"
    "     written (a message says which)\n"
    "  128 + N  signal N ended the run; the running director completed its command, unless the signal came twice\n";

/// Adds --update, which is returned, and --allow-downgrade.
Option add_update_options(const Parser& command, eclipse_update::UpdateOptions& update_options);

}  // namespace eclipse_cli

#endif
