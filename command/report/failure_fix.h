// What a person can do about a director that fails.
#ifndef ECLIPSE_INT_REPORT_FAILURE_FIX_H
#define ECLIPSE_INT_REPORT_FAILURE_FIX_H

#include <string>
#include <vector>

#include "p2/director_failure.h"

namespace eclipse_report {

/// Of a command that installs or removes features. Empty when none is known.
std::string fix_of(const eclipse_p2::Failure& failure, bool is_removal);

/// The causes without their indentation, and without those that only repeat in other words what a named one says.
std::vector<std::string> telling_causes(const eclipse_p2::Failure& failure);

}  // namespace eclipse_report

#endif
