#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <iostream>
#include <string>

#include "base/printable.h"
#include "base/text.h"
#include "cli/interruption.h"
#include "cli/session_command.h"
#include "cli/session_variables.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "cli/verification_json.h"
#include "cli/verification_text.h"
#include "p2/profile.h"
#include "plan/make_plan.h"

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
  const std::string user = owner != nullptr ? owner->pw_name : "number " + std::to_string(status.st_uid);
  print_message("warning: " + printable(directory) + " belongs to user " + printable(user) +
                ", but root asks its director, which may leave files of root in it; run this as that user");
}

/// Throws Interrupted.
Verification verify_unless_interrupted(const Plan& plan) {
  const Interruption interruption;
  return eclipse_verify::verify(plan, Interruption::observer().command_progress);
}

int verify_instance(const SessionOptions& options) {
  const SessionCommand command(options);
  check_mode(command.session());
  const eclipse_host::Plugin plugin = command.load_plugin();
  command.warn_of_unreadable_descriptors(plugin);
  const Plan plan = eclipse_plan::make_plan(plugin, command.session(), eclipse_plan::Retries::distinct);
  if (!plan.command) return without_command(plan, options.json);
  warn_of_foreign_instance(plan.executable);
  const Verification verification = verify_unless_interrupted(plan);
  if (options.json) {
    print_verification(verification);
  } else {
    std::cout << verification_text(verification);
  }
  return verification.differences().empty() ? 0 : 1;
}

}  // namespace

int verify(const SessionOptions& options) {
  try {
    return verify_instance(options);
  } catch (const Interrupted& interrupted) {
    print_message("interrupted by " + interrupted.name() + "; the running director was stopped");
    return interrupted.exit_status();
  }
}

}  // namespace eclipse_cli
