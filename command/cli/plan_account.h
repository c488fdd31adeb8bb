// A plan for a person who reads it.
#ifndef ECLIPSE_INT_CLI_PLAN_ACCOUNT_H
#define ECLIPSE_INT_CLI_PLAN_ACCOUNT_H

#include <string>

#include "plan/plan.h"

namespace eclipse_cli {

/// The plan of a session file in readable tables.
std::string account_of(const eclipse_plan::Plan& plan, const std::string& session_file);

}  // namespace eclipse_cli

#endif
