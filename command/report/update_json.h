// An update, as JSON.
#ifndef ECLIPSE_INT_REPORT_UPDATE_JSON_H
#define ECLIPSE_INT_REPORT_UPDATE_JSON_H

#include <string>
#include <vector>

#include "base/json_text.h"
#include "update/update.h"

namespace eclipse_report {

/// The member "update" of the documents of run and plan, without a refusal. The command is empty when none is run.
eclipse_base::Json update_json(const std::vector<eclipse_update::Replacement>& replacements, const std::string& command);

}  // namespace eclipse_report

#endif
