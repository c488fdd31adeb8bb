#include "run/instance_answer.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include "base/printable.h"
#include "p2/instance_error.h"
#include "p2/instance_paths.h"
#include "p2/repository.h"
#include "plan/offer.h"
#include "run/instance_safety.h"
#include "terminal/standard_streams.h"

using namespace eclipse_base;
using namespace eclipse_terminal;
using eclipse_plan::Plan;

namespace eclipse_run {

namespace {

/// A director writes into its instance even when it is only asked.
void warn_of_foreign_instance(const std::string& executable) {
  const std::string directory = eclipse_p2::instance_directory(executable).string();
  struct stat status {};
  if (geteuid() != 0 || stat(directory.c_str(), &status) != 0 || status.st_uid == 0) return;
  const passwd* const owner = getpwuid(status.st_uid);
  const std::string user = owner != nullptr ? owner->pw_name : "ID " + std::to_string(status.st_uid);
  print_message("warning: " + printable(directory) + " belongs to user " + printable(user) +
                ", but this command runs its director as root, which may leave files of root there; run it as that user");
}

}  // namespace

InstanceAnswer instance_answer(const Plan& plan, bool asks_director, double seconds_to_wait) {
  const auto lock = lock_instance(plan.executable, seconds_to_wait);
  const Interruption interruption;
  InstanceAnswer answer;
  eclipse_p2::ProfileStates states;
  try {
    eclipse_p2::Repositories repositories;
    const auto offer = eclipse_plan::offered_to(plan, repositories);
    if (!asks_director) answer.verification = eclipse_verify::verify_by_profile(plan, offer, states);
    if (!answer.verification) {
      warn_of_foreign_instance(plan.executable);
      check_space_for_director(plan.executable);
      answer.verification = eclipse_verify::verify_by_director(plan, offer, Interruption::observer().command_progress);
    }
    Interruption::check();
  } catch (const eclipse_p2::InstanceError& error) {
    answer.error = error.what();
  } catch (const Interrupted& interrupted) {
    answer.interrupted = interrupted;
  }
  answer.damage = eclipse_instance::instance_damage(plan.executable, states);
  return answer;
}

}  // namespace eclipse_run
