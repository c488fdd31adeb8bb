// The options that all subcommands on a session share.
#ifndef ECLIPSE_INT_CLI_SESSION_OPTIONS_H
#define ECLIPSE_INT_CLI_SESSION_OPTIONS_H

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

namespace eclipse_cli {

struct SessionOptions {
  std::string session;
  std::vector<std::string> settings;  ///< each "NAME=VALUE", with a name that is not empty
  std::optional<std::string> variables;
  std::optional<std::string> write_variables;
  std::optional<std::string> log;
  std::optional<std::string> plugin;
  bool json = false;
};

/// Adds the options of a subcommand that runs a session, but not the session file, which each places among its own arguments.
void add_session_options(CLI::App& command, SessionOptions& options);

/// Adds the options of a subcommand that only reads a session, with "--json" for a document with `json_content`.
void add_reading_options(CLI::App& command, SessionOptions& options, const std::string& json_content);

/// The exit statuses of the program and of the subcommands that run a session.
extern const char* const exit_status_of_runs;

/// Gives a subcommand its usage line, and examples and exit statuses below its help.
void set_help(CLI::App& command, const std::string& usage, const std::string& examples,
              const std::string& exit_status = exit_status_of_runs);

}  // namespace eclipse_cli

#endif
