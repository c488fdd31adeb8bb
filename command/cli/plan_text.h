// A plan, as text.
#ifndef ECLIPSE_INT_CLI_PLAN_TEXT_H
#define ECLIPSE_INT_CLI_PLAN_TEXT_H

#include <string>

#include "plan/plan.h"

namespace eclipse_cli {

/// The plan of a session file in tables.
std::string plan_text(const eclipse_plan::Plan& plan, const std::string& session_file);

}  // namespace eclipse_cli

#endif
