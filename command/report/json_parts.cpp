#include "report/json_parts.h"

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "base/text.h"
#include "terminal/standard_streams.h"

namespace eclipse_report {

void add_named_units(Json& json, const eclipse_p2::UnitChange& change) {
  json["installed"] = texts_of(change.installed);
  json["removed"] = texts_of(change.removed);
  json["nowByName"] = texts_of(change.now_by_name);
  json["noLongerByName"] = texts_of(change.no_longer_by_name);
}

Json failure_json(const eclipse_p2::Failure& failure) {
  return {{"layer", name_of(failure.layer)},
          {"meaning", failure.meaning},
          {"causes", failure.causes},
          {"log", failure.log ? Json(failure.log->string()) : Json()}};
}

void add_text(Json& json, const char* name, const std::string& text, const char* hex_name) {
  json[name] = text;
  if (!eclipse_base::is_utf8(text)) json[hex_name] = eclipse_base::hexadecimal_of(text);
}

Json text_or_null(const std::string& text) { return text.empty() ? Json() : Json(text); }

Json paths_json(const std::vector<std::filesystem::path>& files) {
  Json paths = Json::array();
  for (const auto& file : files) paths.push_back(file.string());
  return paths;
}

void add_damage(Json& json, const std::optional<eclipse_instance::InstanceDamage>& damage) {
  if (!damage) return;
  json["damage"] = {{"file", damage->file.string()}, {"message", damage->message}, {"fix", damage->fix}};
}

void print_json(const Json& document) { eclipse_terminal::write_to_output(eclipse_base::json_text(document)); }

}  // namespace eclipse_report
