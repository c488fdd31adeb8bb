#include "report/plan_json.h"

#include <nlohmann/json.hpp>

#include "report/json_parts.h"

using namespace eclipse_shell;
using namespace eclipse_dry_run;
using namespace eclipse_plan;
using namespace eclipse_preview;

namespace eclipse_report {

namespace {

template <typename Items, typename Convert>
Json list_of(const Items& items, const Convert& convert) {
  Json list = Json::array();
  for (const auto& item : items) list.push_back(convert(item));
  return list;
}

const char* name_of(ComponentStatus status) {
  switch (status) {
    case ComponentStatus::not_reached:
      return "not reached";
    case ComponentStatus::no_code:
      return "no code";
    case ComponentStatus::not_selected:
      return "not selected";
    case ComponentStatus::no_package:
      return "no package";
    case ComponentStatus::searched:
      break;
  }
  return "searched";
}

const char* name_of(RecordStatus status) {
  switch (status) {
    case RecordStatus::repeated:
      return "repeated";
    case RecordStatus::no_feature:
      return "no feature";
    case RecordStatus::no_repository:
      return "no repository";
    case RecordStatus::listed:
      break;
  }
  return "listed";
}

Json action_json(const DryRunAction& action) {
  const auto variable = [](const auto& write) { return Json{{"name", write.first}, {"value", write.second}}; };
  return {{"name", action.name}, {"variables", list_of(action.writes, variable)}};
}

Json version_json(const VersionCheck& check) {
  return {{"version", check.version},
          {"minimum", check.minimum},
          {"supported", check.supported == "yes"},
          {"reason", first_difference(check.version, check.minimum)},
          {"numericOrderDiffers", numeric_order_differs(check)}};
}

Json component_json(const PlannedComponent& component) {
  const auto descriptor = [](const PlannedDescriptor& file) {
    Json json = {{"path", file.path}, {"exists", file.exists}, {"records", file.records}};
    if (!file.error.empty()) json["error"] = file.error;
    return json;
  };
  return {{"code", component.code},
          {"status", name_of(component.status)},
          {"descriptors", list_of(component.descriptors, descriptor)}};
}

Json record_json(const PlannedRecord& record) {
  const plugin_config& config = record.config;
  Json json;
  json["file"] = record.file;
  json["line"] = record.line;
  json["repository"] = config.repository;
  json["feature"] = config.feature;
  json["extra"] = config.extra;
  json["order"] = config.order;
  json["status"] = name_of(record.status);
  if (record.status == RecordStatus::no_repository) return json;
  json["url"] = record.repository;
  json["position"] = record.slot;
  json["wantedPosition"] = record.wanted_slot;
  return json;
}

Json remark_json(const ShellRemark& remark) { return {{"byte", remark.offset + 1}, {"effect", remark.effect}}; }

Json shell_json(const ShellReading& shell) {
  return {{"commands", shell.commands},
          {"redirections", shell.redirections},
          {"remarks", list_of(shell.remarks, remark_json)},
          {"error", shell.error}};
}

Json cause_json(const ShellCause& cause) {
  return {{"origin", cause.origin}, {"text", cause.text}, {"remarks", list_of(cause.remarks, remark_json)}};
}

Json command_json(const PlannedCommand& command) {
  Json json;
  add_text(json, "text", command.text, "hex");
  json["bytes"] = command.text.size();
  json["limit"] = eclipse_shell::longest_command;
  json["runsAsIntended"] = command.runs_as_intended();
  json["executableError"] = command.executable_error;
  json["causes"] = list_of(command.causes, cause_json);
  json["shell"] = shell_json(command.shell);
  return json;
}

Json retry_json(const PlannedCommand& command) {
  Json json = {{"number", command.number}};
  json.update(command_json(command));
  return json;
}

Json change_json(const PreviewedFeature& feature) {
  return {{"unit", feature.unit},       {"location", feature.place},      {"change", name_of(feature.change)},
          {"version", feature.version}, {"installed", feature.installed}, {"repository", feature.repository},
          {"remark", feature.remark}};
}

void add_preview(Json& json, const Preview& preview) {
  json["changes"] = list_of(preview.features, change_json);
  json["profileRead"] = preview.knows_installed;
  json["repositoryStates"] = list_of(preview.repositories, [](const PreviewedRepository& repository) {
    return Json{{"url", repository.url}, {"usable", repository.is_usable}, {"remark", repository.remark}};
  });
}

}  // namespace

Json plan_json(const Plan& plan, const std::optional<Preview>& preview) {
  Json json;
  json["removal"] = plan.is_removal;
  if (!plan.refusal.empty()) json["refusal"] = plan.refusal;
  json["actions"] = list_of(plan.actions, action_json);
  if (plan.version) json["version"] = version_json(*plan.version);
  json["executable"] = plan.executable;
  json["everyComponent"] = plan.every_component;
  json["components"] = list_of(plan.components, component_json);
  json["records"] = list_of(plan.records, record_json);
  json["features"] = list_of(plan.features(), [](const PlannedRecord* record) { return record->config.feature; });
  json["repositories"] = plan.repositories;
  json["command"] = plan.command ? command_json(*plan.command) : Json();
  json["reasons"] = plan.reasons;
  json["retries"] = list_of(plan.retries, retry_json);
  json["retryCount"] = plan.retry_count;
  json["retriesLeftOut"] = plan.retries_left_out.size();
  if (preview) add_preview(json, *preview);
  return json;
}

}  // namespace eclipse_report
