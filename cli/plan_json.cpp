#include "cli/plan_json.h"

#include <nlohmann/json.hpp>

using namespace eclipse_plan;

namespace eclipse_cli {

namespace {

using Json = nlohmann::ordered_json;

template <typename Items, typename Convert>
Json list_of(const Items& items, const Convert& convert) {
  Json list = Json::array();
  for (const auto& item : items) list.push_back(convert(item));
  return list;
}

const char* name_of(ComponentFate fate) {
  switch (fate) {
    case ComponentFate::not_reached:
      return "not reached";
    case ComponentFate::no_code:
      return "no code";
    case ComponentFate::not_selected:
      return "not selected";
    case ComponentFate::no_package:
      return "no package";
    case ComponentFate::taken:
      break;
  }
  return "taken";
}

const char* name_of(RecordFate fate) {
  switch (fate) {
    case RecordFate::repeated:
      return "repeated";
    case RecordFate::no_feature:
      return "no feature";
    case RecordFate::no_repository:
      return "no repository";
    case RecordFate::listed:
      break;
  }
  return "listed";
}

Json action_json(const RecordedAction& action) {
  const auto variable = [](const auto& write) { return Json{{"name", write.first}, {"value", write.second}}; };
  return {{"name", action.name}, {"variables", list_of(action.writes, variable)}};
}

Json version_json(const VersionCheck& check) {
  return {{"version", check.version},
          {"minimum", check.minimum},
          {"supported", check.supported == "yes"},
          {"reason", where_they_part(check.version, check.minimum)},
          {"numbersSayOtherwise", numbers_say_otherwise(check)}};
}

Json component_json(const PlannedComponent& component) {
  const auto descriptor = [](const PlannedDescriptor& file) {
    return Json{{"path", file.path}, {"exists", file.exists}, {"records", file.records}};
  };
  return {
      {"code", component.code}, {"fate", name_of(component.fate)}, {"descriptors", list_of(component.descriptors, descriptor)}};
}

Json record_json(const PlannedRecord& record) {
  const plugin_config& config = record.config;
  Json json = {{"file", record.file},   {"line", record.line},   {"repository", config.repository}, {"feature", config.feature},
               {"extra", config.extra}, {"order", config.order}, {"fate", name_of(record.fate)}};
  if (record.fate == RecordFate::no_repository) return json;
  json["url"] = record.repository;
  json["slot"] = record.slot;
  json["wantedSlot"] = record.wanted_slot;
  return json;
}

Json shell_json(const ShellReading& shell) {
  const auto remark = [](const ShellRemark& one) { return Json{{"byte", one.offset + 1}, {"effect", one.effect}}; };
  return {{"commands", shell.commands},
          {"redirections", shell.redirections},
          {"remarks", list_of(shell.remarks, remark)},
          {"fault", shell.fault}};
}

Json command_json(const PlannedCommand& command) {
  return {{"text", command.text},
          {"bytes", command.text.size()},
          {"limit", longest_argument},
          {"sound", command.is_sound()},
          {"shell", shell_json(command.shell)}};
}

}  // namespace

Json plan_json(const Plan& plan) {
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
  json["retries"] = list_of(plan.retries, command_json);
  json["retryCount"] = plan.retry_count;
  return json;
}

}  // namespace eclipse_cli
