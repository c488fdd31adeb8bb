// What keeps a feature from the director, although the plan has a command for it.
#ifndef ECLIPSE_INT_PREVIEW_OBSTACLE_H
#define ECLIPSE_INT_PREVIEW_OBSTACLE_H

#include <cstddef>
#include <string>

#include "plan/plan.h"

namespace eclipse_preview {

/// Why no command of the plan gives the director this feature, with its repository and its component's directory, as they are
/// written; empty when one does. `number` is that of the feature in install order, from 1. The plan has a command.
std::string obstacle_for(const eclipse_plan::Plan& plan, const eclipse_plan::PlannedRecord& feature, std::size_t number);

}  // namespace eclipse_preview

#endif
