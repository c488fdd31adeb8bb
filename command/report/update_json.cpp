#include "report/update_json.h"

#include <nlohmann/json.hpp>

#include "report/json_parts.h"

using eclipse_update::Replacement;

namespace eclipse_report {

Json update_json(const std::vector<Replacement>& replacements, const std::string& command) {
  Json list = Json::array();
  for (const Replacement& each : replacements) {
    list.push_back({{"unit", each.installed.id},
                    {"installed", each.installed.version},
                    {"version", each.offered.version},
                    {"downgrade", each.is_downgrade},
                    {"location", each.place}});
  }
  return {{"replacements", list}, {"command", text_or_null(command)}};
}

}  // namespace eclipse_report
