// The command: a host of its own for the plug-in, which performs the sessions that files describe.
#include <CLI/CLI.hpp>
#include <exception>
#include <iostream>

#include "cli/session_options.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "standalone_host/installation.h"

namespace {

constexpr const char* description =
    "Puts the features of installed components into an Eclipse instance, and takes them out again.";

constexpr const char* examples =
    "  eclipse-int plan install.json\n"
    "  eclipse-int run install.json\n"
    "  eclipse-int verify install.json\n"
    "  eclipse-int call verify_eclipse_version session.json\n"
    "  eclipse-int run --help\n";

std::string usage_fault(const CLI::App*, const CLI::Error& error) {
  return "eclipse-int: " + std::string(error.what()) + "\nRun with --help for more information.\n";
}

int perform(CLI::App& program, int argc, const char* const* argv) {
  const auto subcommands = {eclipse_cli::add_run(program),  eclipse_cli::add_call(program),
                            eclipse_cli::add_lint(program), eclipse_cli::add_explain(program),
                            eclipse_cli::add_plan(program), eclipse_cli::add_verify(program)};
  program.parse(argc, argv);
  for (const auto& subcommand : subcommands) {
    if (subcommand.parser->parsed()) return subcommand.perform();
  }
  throw CLI::RequiredError::Subcommand(1);
}

int run_program(int argc, const char* const* argv) {
  CLI::App program(description, "eclipse-int");
  program.set_version_flag("--version", "eclipse-int " + std::string(eclipse_host::version));
  program.failure_message(usage_fault);
  // Not more than one. That there is one is checked later: the parser would say so of a misspelt one, too.
  program.require_subcommand(0, 1);
  eclipse_cli::set_help(program, "eclipse-int SUBCOMMAND ...", examples);
  try {
    return perform(program, argc, argv);
  } catch (const CLI::ParseError& error) {
    // Also thrown for --help and --version, which are a success.
    return program.exit(error) == 0 ? 0 : 2;
  }
}

}  // namespace

int main(int argc, char** argv) {
  eclipse_cli::prepare_standard_streams();
  int status = 2;
  try {
    status = run_program(argc, argv);
  } catch (const std::exception& error) {
    eclipse_cli::print_message(error.what());
  }
  return eclipse_cli::with_output_written(status);
}
