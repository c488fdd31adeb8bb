// What eclipse-int can be asked to do.
#ifndef ECLIPSE_INT_CLI_SUBCOMMANDS_H
#define ECLIPSE_INT_CLI_SUBCOMMANDS_H

#include <CLI/CLI.hpp>
#include <functional>

namespace eclipse_cli {

struct Subcommand {
  CLI::App* parser;              ///< knows whether the subcommand was given; owned by the program's parser
  std::function<int()> perform;  ///< returns the exit status; throws what has to be reported as status 2
};

/// "run": performs a whole session.
Subcommand add_run(CLI::App& program);

/// "call": calls single actions.
Subcommand add_call(CLI::App& program);

/// "lint": finds mistakes in descriptor files, components and sessions.
Subcommand add_lint(CLI::App& program);

/// "explain": tells the story of a rule of lint.
Subcommand add_explain(CLI::App& program);

/// "plan": shows what a run would do.
Subcommand add_plan(CLI::App& program);

/// "verify": compares an Eclipse with what a run should have left.
Subcommand add_verify(CLI::App& program);

}  // namespace eclipse_cli

#endif
