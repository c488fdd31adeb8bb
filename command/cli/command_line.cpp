#include "cli/command_line.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <utility>
#include <vector>

#include "base/file.h"
#include "base/printable.h"
#include "cli/session_source.h"
#include "cli/subcommands.h"
#include "cli/unexpected_arguments.h"
#include "cli/usage_error.h"
#include "eclipse_int/version.h"

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

/// The parser's own usage line does not show the order of the arguments.
class HelpText : public CLI::Formatter {
 public:
  explicit HelpText(std::string usage) : usage_(std::move(usage)) { column_width(32); }

  std::string make_usage(const CLI::App*, std::string) const override { return "Usage: " + usage_ + "\n"; }

 private:
  std::string usage_;
};

std::string usage_message(const CLI::App*, const CLI::Error& error) {
  return "eclipse-int: " + eclipse_base::printable(error.what(), {.longest = eclipse_base::no_limit}) +
         "\nRun with --help for more information.\n";
}

constexpr const char* help_examples =
    "  eclipse-int help lint\n"
    "      The same as eclipse-int lint --help.\n";

constexpr const char* help_exit_status =
    "Exit status:\n"
    "  0  done\n"
    "  2  there is no such subcommand\n";

/// "help": prints the help of the program or of a subcommand.
Subcommand add_help(CLI::App& program) {
  CLI::App* const parser = program.add_subcommand("help", "Print the help of a subcommand");
  const auto name = std::make_shared<std::string>();
  parser->add_option("SUBCOMMAND", *name, "The subcommand [all]")->option_text(" ");
  set_help(*parser, "eclipse-int help [SUBCOMMAND]", help_examples, help_exit_status);
  return {parser, [&program, name] {
            const auto is_meant = [&](const CLI::App* subcommand) { return subcommand->get_name() == *name; };
            const auto meant = std::as_const(program).get_subcommands(is_meant);
            if (meant.empty() && !name->empty()) throw UsageError(about_unknown_subcommand(program, *name));
            program.clear();  // or the parser prints the help of "help", which was given
            std::cout << (meant.empty() ? program : *meant.front()).help();
            return 0;
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
  return 0;
}

int perform(CLI::App& program, int argc, const char* const* argv) {
  SessionOptions options;
  CLI::Option* const version =
      program.add_flag("--version")->description("Print the versions of this command and of the plug-in, and exit");
  program
      .add_option("--plugin", options.plugin, "With --version: of this plug-in\n[default: the one installed with this command]")
      ->type_name("LIBRARY");
  std::vector<Subcommand> subcommands = add_session_subcommands(program);
  subcommands.push_back(add_repair(program));
  subcommands.push_back(add_history(program));
  subcommands.push_back(add_undo(program));
  subcommands.push_back(add_lint(program));
  subcommands.push_back(add_explain(program));
  subcommands.push_back(add_check_host(program));
  subcommands.push_back(add_list(program));
  subcommands.push_back(add_new(program));
  subcommands.push_back(add_language_server(program));
  subcommands.push_back(add_help(program));
  program.parse(argc, argv);
  if (version->count() > 0) return print_versions(options);
  if (options.plugin) throw UsageError("--plugin: before a subcommand it is for --version only; write it after the subcommand");
  for (const Subcommand& subcommand : subcommands) {
    if (subcommand.parser->parsed()) return subcommand.perform();
  }
  throw CLI::RequiredError::Subcommand(1);
}

}  // namespace

void set_help(CLI::App& command, const std::string& usage, const std::string& examples, const std::string& exit_status) {
  command.formatter(std::make_shared<HelpText>(usage));
  command.footer("Examples:\n" + examples + "\n" + exit_status);
}

int run_command_line(int argc, const char* const* argv) {
  CLI::App program(description, "eclipse-int");
  program.failure_message(usage_message);
  // Not more than one. That there is one is checked later: the parser would say so of a misspelt one, too.
  program.require_subcommand(0, 1);
  set_help(program, "eclipse-int SUBCOMMAND ...", program_examples, program_exit_status);
  try {
    return perform(program, argc, argv);
  } catch (const CLI::ExtrasError&) {
    throw UsageError(about_unexpected_argument(program));
  } catch (const CLI::ParseError& error) {
    // Also thrown for --help, which is a success.
    return program.exit(error) == 0 ? 0 : 2;
  }
}

}  // namespace eclipse_cli
