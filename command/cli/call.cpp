#include <algorithm>

#include "base/printable.h"
#include "cli/subcommands.h"
#include "run/session_command.h"
#include "run/usage_error.h"

using namespace eclipse_run;

namespace eclipse_cli {

namespace {

using eclipse_host::action_names;

void check_action(const std::string& action) {
  if (std::find(action_names.begin(), action_names.end(), action) != action_names.end()) return;
  throw UsageError("ACTION: unknown action " + eclipse_base::in_quotes(action) + "; the actions are" + list_of_actions());
}

}  // namespace

std::string list_of_actions() {
  std::string list;
  for (const std::string_view name : action_names) list += "\n  " + std::string(name);
  return list;
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

}  // namespace eclipse_cli
