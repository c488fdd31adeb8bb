#include "cli/instance_safety.h"

#include <chrono>

#include "base/file_error.h"
#include "base/printable.h"
#include "cli/standard_streams.h"
#include "p2/installed_units.h"
#include "p2/kept_configuration.h"
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

void prepare_for_directors(const std::string& executable) {
  if (executable.empty()) return;
  const auto damage = eclipse_p2::instance_damage(executable);
  if (damage && damage->is_fatal) throw eclipse_p2::InstanceError(damage->message + "; " + damage->fix);
  print_damage(damage);
  // A copy of what is damaged would take the place of a sound one.
  if (!damage) keep_configuration_of(executable);
}

void keep_configuration_of(const std::string& executable) {
  const auto instance = eclipse_p2::instance_directory(executable);
  const auto newest = eclipse_p2::profile_file(instance);
  if (newest.empty()) return;
  try {
    eclipse_p2::keep_configuration(instance, eclipse_p2::time_of_state(newest));
  } catch (const eclipse_base::FileError& error) {
    print_message(
        "warning: " + std::string(error.what()) +
        "; no copy of the configuration of the Eclipse instance is kept, so it cannot be repaired if a director is killed");
  }
}

void print_damage(const std::optional<eclipse_p2::InstanceDamage>& damage) {
  if (damage) print_message(damage->message + "; " + damage->fix);
}

}  // namespace eclipse_cli
