// A plan, as JSON.
#ifndef ECLIPSE_INT_REPORT_PLAN_JSON_H
#define ECLIPSE_INT_REPORT_PLAN_JSON_H

#include <optional>

#include "base/json_text.h"
#include "plan/plan.h"
#include "preview/preview.h"

namespace eclipse_report {

/// The document for a plan, in the form of schema/plan-result.schema.json, without what an update, lint and the director add.
/// What a preview tells is only there with one.
eclipse_base::Json plan_json(const eclipse_plan::Plan& plan, const std::optional<eclipse_preview::Preview>& preview);

}  // namespace eclipse_report

#endif
