#include "cli/instance_safety.h"

#include <chrono>

#include "base/printable.h"
#include "cli/standard_streams.h"
#include "p2/profile.h"

using eclipse_p2::InstanceInUse;
using eclipse_p2::InstanceLock;

namespace eclipse_cli {

std::unique_ptr<InstanceLock> lock_instance(const std::string& executable, double seconds) {
  if (executable.empty()) return nullptr;
  const auto instance = eclipse_p2::instance_directory(executable);
  try {
    auto lock = std::make_unique<InstanceLock>(instance, std::chrono::duration<double>(seconds),
                                               [](const std::string& who) { print_message("waiting: " + who); });
    if (!lock->problem().empty()) {
      print_message("warning: " + eclipse_base::printable(instance.string()) + ": cannot be locked: " + lock->problem() +
                    "; make sure that no other director works on it");
    }
    return lock;
  } catch (const InstanceInUse& in_use) {
    throw InstanceInUse(std::string(in_use.what()) + "; wait until it has ended, or use --wait SECONDS");
  }
}

void print_damage(const std::optional<eclipse_p2::ProfileDamage>& damage) {
  if (damage) print_message(damage->message + "; " + damage->fix);
}

}  // namespace eclipse_cli
