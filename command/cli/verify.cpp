#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <iostream>
#include <string>

#include "base/printable.h"
#include "base/text.h"
#include "cli/instance_safety.h"
#include "cli/interruption.h"
#include "cli/session_command.h"
#include "cli/session_variables.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "cli/verification_json.h"
#include "cli/verification_text.h"
#include "p2/profile.h"
#include "plan/make_plan.h"
#include "plan/offer.h"

using namespace eclipse_base;

namespace eclipse_cli {

namespace {

using eclipse_plan::Plan;
using eclipse_verify::Verification;

/// A run without a command leaves the instance as it is. The reason may be an error.
int without_command(const Plan& plan, bool json) {
  if (!plan.refusal.empty()) throw eclipse_p2::InstanceError("the run would be refused: " + printable(plan.refusal));
  if (plan.is_instance_missing) throw eclipse_p2::InstanceError(no_instance + reasons_text(plan, "  "));
  if (json) {
    print_nothing_to_verify(plan);
  } else {
    std::cout << "Same: the session changes nothing; the log ends with: " << printable(plan.last_log_line) << "\n";
    for (const std::string& reason : plan.reasons) std::cout << "  " << printable(reason) << "\n";
  }
  return 0;
}

/// A director writes into its instance even when it is only asked.
void warn_of_foreign_instance(const std::string& executable) {
  const std::string directory = eclipse_p2::instance_directory(executable).string();
  struct stat status {};
  if (geteuid() != 0 || stat(directory.c_str(), &status) != 0 || status.st_uid == 0) return;
  const passwd* const owner = getpwuid(status.st_uid);
  const std::string user = owner != nullptr ? owner->pw_name : "ID " + std::to_string(status.st_uid);
  print_message("warning: " + printable(directory) + " belongs to user " + printable(user) +
                ", but its director is run as root and may leave files of root in it; run this command as that user");
}

/// What an instance answered, or why it did not.
struct Answer {
  std::optional<Verification> verification;
  std::string error;
  std::optional<Interrupted> interrupted;
  std::optional<eclipse_p2::InstanceDamage> damage;
};

/// A director that only answers may write the profile, too, when the instance was moved. Throws InstanceInUse.
Answer ask(const Plan& plan, bool asks_director, double seconds_to_wait) {
  const auto lock = lock_instance(plan.executable, seconds_to_wait);
  const Interruption interruption;
  Answer answer;
  try {
    eclipse_p2::Repositories repositories;
    const auto offer = eclipse_plan::offered_to(plan, repositories);
    if (!asks_director) answer.verification = eclipse_verify::verify_by_profile(plan, offer);
    if (!answer.verification) {
      warn_of_foreign_instance(plan.executable);
      answer.verification = eclipse_verify::verify_by_director(plan, offer, Interruption::observer().command_progress);
    }
    Interruption::check();
  } catch (const eclipse_p2::InstanceError& error) {
    answer.error = error.what();
  } catch (const Interrupted& interrupted) {
    answer.interrupted = interrupted;
  }
  answer.damage = eclipse_p2::instance_damage(plan.executable);
  return answer;
}

int report_error(const Plan& plan, const Answer& answer, bool json) {
  if (json && answer.damage) print_unverifiable(plan.executable, answer.error, *answer.damage);
  print_message(answer.error);
  return 2;
}

int report_verification(const Answer& answer, bool json) {
  if (json) {
    print_verification(*answer.verification, answer.damage);
  } else {
    std::cout << verification_text(*answer.verification);
  }
  return answer.verification->differences().empty() && !answer.damage ? 0 : 1;
}

int report(const Plan& plan, const Answer& answer, bool json) {
  if (answer.interrupted) {
    print_message("interrupted by " + answer.interrupted->name());
    return answer.interrupted->exit_status();
  }
  return answer.error.empty() ? report_verification(answer, json) : report_error(plan, answer, json);
}

}  // namespace

int verify(const SessionOptions& options, bool asks_director) {
  const SessionCommand command(options);
  check_mode(command.session());
  const eclipse_host::Plugin plugin = command.load_plugin();
  command.warn_of_unreadable_descriptors(plugin);
  const Plan plan = eclipse_plan::make_plan(plugin, command.session(), eclipse_plan::Retries::distinct);
  if (!plan.command) return without_command(plan, options.json);
  const Answer answer = ask(plan, asks_director, options.wait);
  const int status = report(plan, answer, options.json);
  print_damage(answer.damage);
  return status;
}

}  // namespace eclipse_cli
