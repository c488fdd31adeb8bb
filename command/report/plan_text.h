// A plan, as text.
#ifndef ECLIPSE_INT_REPORT_PLAN_TEXT_H
#define ECLIPSE_INT_REPORT_PLAN_TEXT_H

#include <optional>
#include <string>

#include "plan/plan.h"
#include "preview/preview.h"

namespace eclipse_report {

/// What a person asks first: a line for each feature, with "+" for what is installed, "=" for what is there, "~" for what is
/// there in another version, "-" for what is removed and "!" for what fails; the state of each repository; and of the rest only
/// what may come as a surprise. `preview` is there when the plan has a command.
std::string plan_text(const eclipse_plan::Plan& plan, const std::optional<eclipse_preview::Preview>& preview,
                      const std::string& session_file);

/// All of a plan.
std::string detailed_plan_text(const eclipse_plan::Plan& plan, const std::optional<eclipse_preview::Preview>& preview,
                               const std::string& session_file);

}  // namespace eclipse_report

#endif
