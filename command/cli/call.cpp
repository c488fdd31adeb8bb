#include <algorithm>
#include <memory>

#include "cli/session_command.h"
#include "cli/subcommands.h"

namespace eclipse_cli {

namespace {

using eclipse_host::action_names;

constexpr const char* examples =
    "  eclipse-int call verify_eclipse_version session.json\n"
    "      Check the Eclipse that USER_DEFINED_ECLIPSE_PATH names.\n"
    "  eclipse-int call define_eclipse_path perform_integration session.json\n"
    "      Install without the checks that \"run\" makes.\n"
    "  eclipse-int call find_eclipse_ide session.json --set KORU_MODE=repair\n"
    "      Try a mode that \"run\" does not know.\n";

std::string list_of_actions() {
  std::string list;
  for (const std::string_view name : action_names) list += "\n  " + std::string(name);
  return list;
}

void check_action(const std::string& action) {
  if (std::find(action_names.begin(), action_names.end(), action) != action_names.end()) return;
  throw CLI::ValidationError("ACTION", "there is no action \"" + action + "\"; the actions are" + list_of_actions());
}

/// The last argument is the session file. The parser cannot tell it from the actions before it.
int perform(SessionOptions options, std::vector<std::string> actions) {
  options.session = actions.back();
  actions.pop_back();
  if (actions.empty())
    throw CLI::ValidationError("ACTION", "none is given before the session file; the actions are" + list_of_actions());
  std::for_each(actions.begin(), actions.end(), check_action);
  SessionCommand command(options);
  return command.perform([&](const auto& plugin, auto& session, const auto& observer) {
    return eclipse_host::call_actions(plugin, session, actions, observer);
  });
}

}  // namespace

Subcommand add_call(CLI::App& program) {
  CLI::App* const parser = program.add_subcommand("call", "Call just these actions on a session, in this order");
  const auto options = std::make_shared<SessionOptions>();
  const auto arguments = std::make_shared<std::vector<std::string>>();
  parser->add_option("ACTION", *arguments, "The actions, which may repeat, and behind them the session file")
      ->required()
      ->option_text("... SESSION.json");
  add_session_options(*parser, *options);
  set_help(*parser, "eclipse-int call ACTION... SESSION.json [OPTIONS]",
           std::string(examples) + "\nActions:" + list_of_actions() + "\n");
  return {parser, [options, arguments] { return perform(*options, *arguments); }};
}

}  // namespace eclipse_cli
