#include "cli/command_line.h"

#include <iostream>
#include <memory>
#include <vector>

#include "base/file.h"
#include "base/printable.h"
#include "cli/parser.h"
#include "cli/subcommands.h"
#include "eclipse_int/version.h"
#include "run/session_source.h"
#include "run/usage_error.h"
#include "terminal/exit_status.h"

using namespace eclipse_run;
using namespace eclipse_terminal;

namespace eclipse_cli {

namespace {

constexpr const char* description = "Install the features of installed components into an Eclipse instance, or remove them.";

constexpr const char* program_examples =
    "  eclipse-int lint install.json\n"
    "  eclipse-int plan install.json\n"
    "  eclipse-int run install.json\n"
    "  eclipse-int verify install.json\n"
    "  eclipse-int undo install.json\n"
    "  eclipse-int repair /opt/eclipse/eclipse\n"
    "  eclipse-int call verify_eclipse_version session.json\n"
    "  eclipse-int run --help\n";

constexpr const char* program_exit_status =
    "Exit status:\n"
    "  0  success\n"
    "  1  the integration failed or was refused, or there is something to fix\n"
    "  2  an error in an input or the arguments, or output could not be written\n"
    "  128 + N  signal N ended the command\n";

constexpr const char* help_examples =
    "  eclipse-int help lint\n"
    "      The same as eclipse-int lint --help.\n";

constexpr const char* help_exit_status =
    "Exit status:\n"
    "  0  success\n"
    "  2  there is no such subcommand\n";

/// "help": prints the help of the program or of a subcommand.
Subcommand add_help(CommandLine& command_line) {
  const Parser parser = command_line.parser().add_subcommand("help", "Print the help of a subcommand");
  const auto name = std::make_shared<std::string>();
  parser.add_option("SUBCOMMAND", *name, "The subcommand [default: all]").option_text(" ");
  parser.set_help("eclipse-int help [SUBCOMMAND]", help_examples, help_exit_status);
  return {parser, [&command_line, name] {
            std::cout << command_line.help_of(*name);
            return exit_success;
          }};
}

/// "--version": the version of the command, and that of the plug-in which it loads.
int print_versions(const SessionOptions& options) {
  std::cout << "eclipse-int " ECLIPSE_INT_VERSION "\n" << std::flush;
  const eclipse_host::Plugin plugin = load_plugin(options);
  const std::string version = plugin.version();
  std::cout << eclipse_base::printable(plugin.library().filename().string()) << " "
            << (version.empty() ? "unknown" : eclipse_base::printable(version)) << " ("
            << eclipse_base::printable(eclipse_base::absolute_path(plugin.library()).string()) << ")\n";
  return exit_success;
}

}  // namespace

int run_command_line(int argc, const char* const* argv) {
  CommandLine command_line(description);
  const Parser program = command_line.parser();
  program.set_help("eclipse-int SUBCOMMAND ...", program_examples, program_exit_status);
  bool asks_for_version = false;
  SessionOptions options;
  program.add_flag("--version", asks_for_version, "Print the versions of this command and of the plug-in, and exit");
  program
      .add_option("--plugin", options.plugin,
                  "With --version: print the version of this plug-in\n[default: the one installed with this command]")
      .type_name("LIBRARY");
  const std::vector<Subcommand> subcommands = {add_run(program),
                                               add_call(program),
                                               add_plan(program),
                                               add_verify(program),
                                               add_repair(program),
                                               add_history(program),
                                               add_undo(program),
                                               add_lint(program),
                                               add_explain(program),
                                               add_check_host(program),
                                               add_list(program),
                                               add_new(program),
                                               add_language_server(program),
                                               add_help(command_line)};
  if (!command_line.parse(argc, argv)) return exit_success;
  if (asks_for_version) return print_versions(options);
  if (options.plugin) throw UsageError("--plugin: before a subcommand it is for --version only; write it after the subcommand");
  for (const Subcommand& subcommand : subcommands) {
    if (subcommand.parser.was_given()) return subcommand.perform();
  }
  throw UsageError("SUBCOMMAND: missing; give one, such as lint");
}

}  // namespace eclipse_cli
