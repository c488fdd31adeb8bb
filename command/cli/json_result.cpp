#include "cli/json_result.h"

#include <nlohmann/json.hpp>
#include <string_view>

#include "base/json_document.h"

namespace eclipse_cli {

namespace {

using Json = nlohmann::ordered_json;

std::string in_hexadecimal(std::string_view text) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string hexadecimal;
  hexadecimal.reserve(2 * text.size());
  for (const char each : text) {
    const auto byte = static_cast<unsigned char>(each);
    hexadecimal += digits[byte >> 4U];
    hexadecimal += digits[byte & 15U];
  }
  return hexadecimal;
}

const char* status_of(const eclipse_host::RunRecord& record) {
  if (!record.refusal.empty()) return "refused";
  return record.failed() ? "failed" : "done";
}

Json actions_of(const eclipse_host::RunRecord& record) {
  Json actions = Json::array();
  for (const auto& action : record.actions) actions.push_back({{"name", action.name}, {"result", action.result}});
  return actions;
}

Json command_json(const eclipse_host::CommandRecord& record) {
  const auto& [action, command, result, is_retry] = record;
  Json json = {{"action", action}};
  add_text(json, "command", command, "hex");
  add_text(json, "output", result.output, "outputHex");
  add_text(json, "errorOutput", result.error_output, "errorOutputHex");
  json["exitCode"] = result.exit_code;
  json["seconds"] = result.seconds;
  return json;
}

Json commands_json(const std::vector<eclipse_host::CommandRecord>& records) {
  Json commands = Json::array();
  for (const auto& record : records) commands.push_back(command_json(record));
  return commands;
}

/// Behind the members that say how a run ended before its end, all that is known of it.
void add_so_far(Json& result, const RunSoFar& so_far, const eclipse_host::Variables& variables_after) {
  result["actions"] = Json::array();
  for (const std::string& action : so_far.actions) result["actions"].push_back({{"name", action}, {"result", nullptr}});
  result["variables"] = {{"before", so_far.variables_before}, {"after", variables_after}};
  result["log"] = so_far.log;
  result["commands"] = commands_json(so_far.commands);
  if (!so_far.running) return;
  Json running = command_json(*so_far.running);
  running["exitCode"] = nullptr;
  result["commands"].push_back(running);
}

}  // namespace

void add_text(Json& json, const char* name, const std::string& text, const char* hex_name) {
  json[name] = text;
  if (!eclipse_base::is_utf8(text)) json[hex_name] = in_hexadecimal(text);
}

Json json_result(const eclipse_host::RunRecord& record, int exit_status) {
  Json result;
  result["status"] = status_of(record);
  result["exitStatus"] = exit_status;
  if (!record.refusal.empty()) result["refusal"] = record.refusal;
  result["actions"] = actions_of(record);
  result["variables"] = {{"before", record.variables_before}, {"after", record.variables_after}};
  result["log"] = record.log;
  result["commands"] = commands_json(record.commands);
  return result;
}

Json interrupted_json(const RunSoFar& so_far, const Interrupted& interrupted, const eclipse_host::Variables& variables_after) {
  Json result;
  result["status"] = "interrupted";
  result["exitStatus"] = interrupted.exit_status();
  result["signal"] = interrupted.name();
  add_so_far(result, so_far, variables_after);
  return result;
}

Json broken_off_json(const RunSoFar& so_far, const std::string& reason, const eclipse_host::Variables& variables_after) {
  Json result;
  result["status"] = "broken off";
  result["exitStatus"] = 1;
  result["reason"] = reason;
  add_so_far(result, so_far, variables_after);
  return result;
}

void print_json(std::ostream& out, const Json& document) {
  out << document.dump(2, ' ', false, Json::error_handler_t::replace) << '\n' << std::flush;
}

}  // namespace eclipse_cli
