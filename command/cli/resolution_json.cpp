#include "cli/resolution_json.h"

#include <nlohmann/json.hpp>

#include "cli/resolution_text.h"
#include "cli/run_json.h"

using namespace eclipse_resolve;

namespace eclipse_cli {

namespace {

using Json = nlohmann::ordered_json;

Json verdict_json(const Verdict& verdict) {
  return {{"features", verdict.features},
          {"resolves", verdict.resolves()},
          {"exitCode", verdict.exit_code},
          {"failure", verdict.failure ? failure_json(*verdict.failure) : Json()}};
}

}  // namespace

Json resolution_json(const Resolution& resolution) {
  if (!resolution.all) return {{"notAsked", resolution.not_asked}};
  Json json = {{"copy", resolution.is_on_copy}, {"resolves", !resolution.fails()}, {"all", verdict_json(*resolution.all)}};
  Json& each = json["each"] = Json::array();
  for (const Verdict& verdict : resolution.each) each.push_back(verdict_json(verdict));
  if (resolution.those) json["those"] = verdict_json(*resolution.those);
  const auto expected = resolution.expected();
  json["expected"] = expected ? Json(*expected) : Json();
  json["limits"] = limits_of(resolution);
  return json;
}

}  // namespace eclipse_cli
