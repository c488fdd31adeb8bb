// An update, as JSON.
#ifndef ECLIPSE_INT_REPORT_UPDATE_JSON_H
#define ECLIPSE_INT_REPORT_UPDATE_JSON_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "update/update.h"

namespace eclipse_report {

/// The member "update" of the documents of run and plan, without a refusal. The command is empty when none is run.
nlohmann::ordered_json update_json(const std::vector<eclipse_update::Replacement>& replacements, const std::string& command);

}  // namespace eclipse_report

#endif
