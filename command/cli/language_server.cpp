#include <unistd.h>

#include <chrono>
#include <memory>

#include "cli/configuration_options.h"
#include "cli/shared_options.h"
#include "cli/subcommands.h"
#include "dry_run/plugin_functions.h"
#include "eclipse_int/version.h"
#include "language_server/serve.h"
#include "run/session_source.h"
#include "run/session_variables.h"
#include "terminal/exit_status.h"
#include "terminal/standard_streams.h"

using namespace eclipse_run;
using namespace eclipse_terminal;

namespace eclipse_cli {

namespace {

constexpr const char* language_server_examples =
    "  eclipse-int language-server\n"
    "      What an editor starts; docs/editors.md shows how to configure it.\n"
    "  eclipse-int language-server --set USER_DEFINED_ECLIPSE_PATH=/opt/ide/eclipse\n"
    "      Check session files as they would be run with these variables.\n";

constexpr const char* language_server_exit_status =
    "Exit status:\n"
    "  0  the editor ended the server as the protocol requires\n"
    "  1  the editor closed the connection without ending the server first\n"
    "  2  the input is not framed as the protocol requires, or an error in the arguments\n";

constexpr double longest_time_limit = 3600;

struct LanguageServerOptions {
  ConfigurationOptions configuration;
  SessionOptions session;
  double time_limit = 20;
  bool uses_standard_streams = false;
};

int language_server_command(const LanguageServerOptions& options) {
  const eclipse_host::Plugin plugin = load_plugin(options.session);
  const eclipse_dry_run::PluginFunctions library(plugin);
  eclipse_language_server::Linter linter{library, {}};
  const SessionVariables variables(options.session.settings, options.session.variables);
  variables.check_mode();
  linter.settings.configuration = configuration_choice(options.configuration);
  linter.settings.add_variables = [variables](eclipse_host::Session& session) { variables.add_to(session); };
  const auto limit = std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::duration<double>(options.time_limit));
  eclipse_language_server::Server server(linter, ECLIPSE_INT_VERSION, limit);
  try {
    eclipse_language_server::serve(server, STDIN_FILENO, STDOUT_FILENO);
  } catch (const eclipse_language_server::FramingError& error) {
    print_message(std::string("standard input: ") + error.what() + "; let an editor start this command");
    return exit_trouble;
  }
  return server.was_shut_down() ? exit_success : exit_failure;
}

}  // namespace

Subcommand add_language_server(const Parser& program) {
  const Parser parser =
      program.add_subcommand("language-server", "Run a language server (LSP), which shows findings of lint in an editor");
  const auto options = std::make_shared<LanguageServerOptions>();
  parser.add_flag("--stdio", options->uses_standard_streams,
                  "Talk to the editor by standard input and output, as always; some\neditors add this option");
  parser.add_option("--time-limit", options->time_limit, "Stop a check that takes longer than this [default: 20]")
      .type_name("SECONDS")
      .between(0.0, longest_time_limit);
  add_configuration_options(parser, options->configuration);
  add_input_options(parser, options->session);
  parser.set_help("eclipse-int language-server [OPTIONS]", language_server_examples, language_server_exit_status);
  return {parser, [options] { return language_server_command(*options); }};
}

}  // namespace eclipse_cli
