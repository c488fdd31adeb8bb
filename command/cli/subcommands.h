// The subcommands of eclipse-int.
#ifndef ECLIPSE_INT_CLI_SUBCOMMANDS_H
#define ECLIPSE_INT_CLI_SUBCOMMANDS_H

#include <functional>

#include "cli/parser.h"

namespace eclipse_cli {

struct Subcommand {
  Parser parser;
  /// Returns the exit status. Throws UsageError, FileError, PluginError or InstanceError for what is found before anything is
  /// changed; it has to be reported as status 2.
  std::function<int()> perform;
};

/// "run": runs a whole session.
Subcommand add_run(const Parser& program);

/// "call": calls single actions on a session.
Subcommand add_call(const Parser& program);

/// "plan": shows what a run of a session would do.
Subcommand add_plan(const Parser& program);

/// "verify": compares an instance with what a run should have left. Its profile says what is installed, or the director, which
/// is asked if the profile cannot be read, too.
Subcommand add_verify(const Parser& program);

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

}  // namespace eclipse_cli

#endif
