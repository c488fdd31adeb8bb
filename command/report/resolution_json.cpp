#include "report/resolution_json.h"

#include <nlohmann/json.hpp>

#include "report/json_parts.h"
#include "report/resolution_text.h"

using namespace eclipse_resolve;

namespace eclipse_report {

namespace {

Json verdict_json(const Verdict& verdict) {
  return {{"features", verdict.features},
          {"resolves", verdict.resolves()},
          {"exitCode", verdict.exit_code},
          {"failure", verdict.failure ? failure_json(*verdict.failure) : Json()}};
}

}  // namespace

Json resolution_json(const Resolution& resolution) {
  if (!resolution.was_asked()) return {{"notAsked", resolution.not_asked}};
  Json json = {{"copy", resolution.is_on_copy}, {"resolves", !resolution.fails()}};
  if (resolution.update) json["update"] = verdict_json(*resolution.update);
  if (resolution.all) json["all"] = verdict_json(*resolution.all);
  Json& each = json["each"] = Json::array();
  for (const Verdict& verdict : resolution.each) each.push_back(verdict_json(verdict));
  if (resolution.those) json["those"] = verdict_json(*resolution.those);
  const auto expected = resolution.expected();
  json["expected"] = expected ? Json(*expected) : Json();
  json["limits"] = limits_of(resolution);
  return json;
}

}  // namespace eclipse_report
