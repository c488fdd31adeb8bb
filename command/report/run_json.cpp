#include "report/run_json.h"

#include <nlohmann/json.hpp>

#include "report/json_parts.h"
#include "terminal/exit_status.h"

using namespace eclipse_terminal;

namespace eclipse_report {

namespace {

const char* status_of(const eclipse_host::RunRecord& record) {
  if (!record.refusal.empty()) return "refused";
  return record.failed() ? "failed" : "done";
}

Json actions_json(const std::vector<eclipse_host::ActionRecord>& records) {
  Json actions = Json::array();
  for (const auto& record : records) {
    actions.push_back({{"name", record.name}, {"result", record.result ? Json(*record.result) : Json()}});
  }
  return actions;
}

Json command_json(const eclipse_host::CommandRecord& record, const eclipse_p2::Failure* failure) {
  Json json = {{"action", record.action}};
  add_text(json, "command", record.command, "hex");
  const eclipse_shell::CommandResult& result = record.result;
  add_text(json, "output", result.output, "outputHex");
  if (result.output_left_out != 0) json["outputLeftOut"] = result.output_left_out;
  add_text(json, "errorOutput", result.error_output, "errorOutputHex");
  if (result.error_output_left_out != 0) json["errorOutputLeftOut"] = result.error_output_left_out;
  json["exitCode"] = record.has_ended ? Json(record.result.exit_code) : Json();
  json["seconds"] = record.result.seconds;
  json["failure"] = failure != nullptr ? failure_json(*failure) : Json();
  return json;
}

/// After the members that say how a run ended, what happened in it.
void add_facts(Json& json, const RunFacts& run) {
  json["actions"] = actions_json(run.record.actions);
  json["variables"] = {{"before", run.record.variables_before}, {"after", run.variables_after}};
  json["log"] = run.record.log;
  Json& commands = json["commands"] = Json::array();
  for (std::size_t i = 0; i < run.record.commands.size(); ++i) {
    commands.push_back(command_json(run.record.commands[i], run.failures.of(i)));
  }
  add_damage(json, run.damage);
}

}  // namespace

void print_run(const RunFacts& run, int exit_status, const std::function<void(Json&)>& add_to) {
  Json json;
  json["status"] = status_of(run.record);
  json["exitStatus"] = exit_status;
  if (!run.record.refusal.empty()) json["refusal"] = run.record.refusal;
  if (!run.record.contradiction.empty()) json["contradiction"] = run.record.contradiction;
  add_facts(json, run);
  add_to(json);
  print_json(json);
}

void print_interrupted_run(const RunFacts& run, const Interrupted& interrupted, const std::function<void(Json&)>& add_to) {
  Json json;
  json["status"] = "interrupted";
  json["exitStatus"] = interrupted.exit_status();
  json["signal"] = interrupted.name();
  add_facts(json, run);
  add_to(json);
  print_json(json);
}

void print_aborted_run(const RunFacts& run, const std::string& reason, const std::function<void(Json&)>& add_to) {
  Json json;
  json["status"] = "aborted";
  json["exitStatus"] = eclipse_terminal::exit_failure;
  json["reason"] = reason;
  add_facts(json, run);
  add_to(json);
  print_json(json);
}

}  // namespace eclipse_report
