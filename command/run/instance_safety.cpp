#include "run/instance_safety.h"

#include <chrono>
#include <utility>

#include "base/file_replacement.h"
#include "base/printable.h"
#include "instance/configuration_backup.h"
#include "p2/instance_error.h"
#include "p2/instance_paths.h"
#include "p2/profile.h"
#include "terminal/standard_streams.h"

using eclipse_instance::InstanceInUse;
using eclipse_instance::InstanceLock;

using namespace eclipse_terminal;

namespace eclipse_run {

namespace {

eclipse_p2::InstanceError no_space(const eclipse_base::NoSpace& error) {
  return eclipse_p2::InstanceError(std::string(error.what()) +
                                   "; nothing was run, because a director that runs out of space damages the p2 profile");
}

}  // namespace

std::unique_ptr<InstanceLock> lock_instance(const std::string& executable, std::optional<double> seconds) {
  if (executable.empty()) return nullptr;
  const auto instance = eclipse_p2::instance_directory(executable);
  try {
    auto lock = std::make_unique<InstanceLock>(instance, std::chrono::duration<double>(seconds.value_or(0)),
                                               [](const std::string& who) { print_message("waiting: " + who); });
    if (!lock->problem().empty()) {
      print_message("warning: " + eclipse_base::printable(instance.string()) + ": cannot be locked: " + lock->problem() +
                    "; make sure that no other director works on it");
    }
    return lock;
  } catch (const InstanceInUse& in_use) {
    throw InstanceInUse(std::string(in_use.what()) + "; wait until it has ended" + (seconds ? ", or use --wait SECONDS" : ""));
  }
}

void prepare_for_directors(const std::string& executable) {
  if (executable.empty()) return;
  const auto damage = eclipse_instance::instance_damage(executable);
  if (damage && damage->is_fatal) throw eclipse_p2::InstanceError(damage->message + "; " + damage->fix);
  print_damage(damage);
  // A copy of what is damaged would take the place of a sound one.
  if (damage) {
    check_space_for_director(executable);
  } else {
    back_up_configuration_of(executable);
  }
}

void check_space_for_director(const std::string& executable) {
  try {
    eclipse_instance::check_space_for_director(eclipse_p2::instance_directory(executable));
  } catch (const eclipse_base::NoSpace& error) {
    throw no_space(error);
  }
}

void back_up_configuration_of(const std::string& executable) {
  const auto instance = eclipse_p2::instance_directory(executable);
  const auto newest = eclipse_p2::profile_file(instance);
  if (newest.empty()) return;
  try {
    eclipse_instance::back_up_configuration(instance, eclipse_p2::time_of_state(newest));
  } catch (const eclipse_base::NoSpace& error) {
    throw no_space(error);
  } catch (const eclipse_base::FileError& error) {
    print_message(
        "warning: " + std::string(error.what()) +
        "; the run keeps no copy of the configuration, so the Eclipse instance cannot be repaired if a director is killed");
    check_space_for_director(executable);
  }
}

std::optional<eclipse_instance::InstanceDamage> damage_at_rest(const std::string& executable,
                                                               eclipse_p2::ProfileStates& states) {
  auto seen = eclipse_instance::damage_seen(executable, states);
  if (!seen.at_work.empty())
    print_message("warning: " + seen.at_work + ", so what is read of it may be half-written; repeat this when it has ended");
  return std::move(seen.damage);
}

void print_damage(const std::optional<eclipse_instance::InstanceDamage>& damage) {
  if (damage) print_message(damage->message + "; " + damage->fix);
}

}  // namespace eclipse_run
