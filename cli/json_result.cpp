#include "cli/json_result.h"

#include <nlohmann/json.hpp>

namespace eclipse_cli {

namespace {

using Json = nlohmann::ordered_json;

const char* status_of(const eclipse_host::RunRecord& record) {
  if (!record.refusal.empty()) return "refused";
  return record.failed() ? "failed" : "done";
}

Json actions_of(const eclipse_host::RunRecord& record) {
  Json actions = Json::array();
  for (const auto& action : record.actions) actions.push_back({{"name", action.name}, {"result", action.result}});
  return actions;
}

Json commands_of(const eclipse_host::RunRecord& record) {
  Json commands = Json::array();
  for (const auto& [action, command, result, is_retry] : record.commands) {
    commands.push_back({{"action", action},
                        {"command", command},
                        {"output", result.output},
                        {"errorOutput", result.error_output},
                        {"exitCode", result.exit_code},
                        {"seconds", result.seconds}});
  }
  return commands;
}

}  // namespace

Json json_result(const eclipse_host::RunRecord& record, int exit_status) {
  Json result;
  result["status"] = status_of(record);
  result["exitStatus"] = exit_status;
  if (!record.refusal.empty()) result["refusal"] = record.refusal;
  result["actions"] = actions_of(record);
  result["variables"] = {{"before", record.variables_before}, {"after", record.variables_after}};
  result["log"] = record.log;
  result["commands"] = commands_of(record);
  return result;
}

void print_json(std::ostream& out, const Json& document) {
  out << document.dump(2, ' ', false, Json::error_handler_t::replace) << '\n';
}

}  // namespace eclipse_cli
