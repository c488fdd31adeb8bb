// Asking an instance what it has installed of what a session describes.
#ifndef ECLIPSE_INT_RUN_INSTANCE_ANSWER_H
#define ECLIPSE_INT_RUN_INSTANCE_ANSWER_H

#include <optional>
#include <string>

#include "instance/damage.h"
#include "plan/plan.h"
#include "terminal/interruption.h"
#include "verify/verification.h"

namespace eclipse_run {

/// What an instance answered, or why it did not.
struct InstanceAnswer {
  std::optional<eclipse_verify::Verification> verification;
  std::string error;
  std::optional<eclipse_terminal::Interrupted> interrupted;
  std::optional<eclipse_instance::InstanceDamage> damage;
};

/// Asks its profile, or, if that is wanted or the profile cannot be read, its director. The instance is locked meanwhile, since
/// a director that only answers may write the profile, too, when the instance was moved. Throws InstanceInUse.
InstanceAnswer instance_answer(const eclipse_plan::Plan& plan, bool asks_director, double seconds_to_wait);

}  // namespace eclipse_run

#endif
