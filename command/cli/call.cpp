#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "base/printable.h"
#include "cli/shared_options.h"
#include "cli/subcommands.h"
#include "run/session_command.h"
#include "run/usage_error.h"

using namespace eclipse_run;

namespace eclipse_cli {

namespace {

using eclipse_host::action_names;

/// Each on an indented line of its own that a line feed begins.
std::string list_of_actions() {
  std::string list;
  for (const std::string_view name : action_names) list += "\n  " + std::string(name);
  return list;
}

void check_action(const std::string& action) {
  if (std::find(action_names.begin(), action_names.end(), action) != action_names.end()) return;
  throw UsageError("ACTION: unknown action " + eclipse_base::in_quotes(action) + "; the actions are" + list_of_actions());
}

int call(SessionOptions options, std::vector<std::string> arguments) {
  options.session = arguments.back();
  arguments.pop_back();
  if (arguments.empty()) {
    throw UsageError("ACTION: missing before the session file; the actions are" + list_of_actions());
  }
  std::for_each(arguments.begin(), arguments.end(), check_action);
  SessionCommand command(options);
  const bool starts_directors = std::any_of(arguments.begin(), arguments.end(), eclipse_host::starts_director);
  return command.perform(
      [&](const auto& plugin, auto& session, auto& record, const auto& observers) {
        eclipse_host::call_actions(plugin, session, arguments, record, observers);
      },
      starts_directors ? Directors::started : Directors::none);
}

}  // namespace

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

}  // namespace eclipse_cli
