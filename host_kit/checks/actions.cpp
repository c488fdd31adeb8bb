// The plug-in's own actions on the host's session, with a script in place of the director.
#include <sys/stat.h>

#include <filesystem>

#include "host_kit/checks/groups.h"
#include "host_kit/observed.h"

namespace host_kit {

namespace {

constexpr std::string_view whole_interface =
    "Everything that the plug-in needs from a host is declared here, and the host defines all of it.";
constexpr std::string_view no_integration = "The integration does not work in this host.";
constexpr std::string_view try_operations_alone =
    "See which operation gives what the plug-in does not expect; the other checks try each alone.";
constexpr std::string_view observed_fix = "See the fix of the checks of this operation.";

/// An Eclipse instance whose director prints its arguments and ends with this code.
std::string instance_in(const Probe& probe, int exit_code) {
  std::string executable = probe.scratch + "/eclipse";
  std::filesystem::create_directories(probe.scratch + "/configuration");
  write_file(probe.scratch + "/configuration/config.ini", "eclipse.buildId=4.9.0\n");
  write_file(executable, "#!/bin/sh\necho \"director says: $*\"\nexit " + std::to_string(exit_code) + "\n");
  chmod(executable.c_str(), 0755);
  return executable;
}

void set(const Probe& probe, const char* name, const std::string& value) { env_set_string(probe.session, name, value.c_str()); }
std::string get(const Probe& probe, const char* name) { return env_get_string(probe.session, name); }

void choose_instance(const Probe& probe, const char* mode, int exit_code) {
  set(probe, "KORU_MODE", mode);
  set(probe, "ECLIPSE_INTEGRATION_CHOICE", "user");
  set(probe, "ECLIPSE_BIN", "eclipse");
  set(probe, "USER_DEFINED_ECLIPSE_PATH", instance_in(probe, exit_code));
  set(probe, "CASHED_ECLIPSE_PATH", "");
  set(probe, "ECLIPSE_MIN_SUPPORTED_VERSION", "4.7");
  for (const char* const result : {"QN_SCRIPTS_FAILED", "QN_SCRIPTS_COMPLETE_DESC", "ECLIPSE_PATH", "ECLIPSE_VERSION"})
    set(probe, result, "");
}

/// Throws what was wrong with an answer to the plug-in.
void expect_no_breach() {
  for (const Observation& observation : observations()) {
    if (observation.breach) throw *observation.breach;
  }
}

int perform(const Probe& probe, Action action) {
  const int result = action(probe.session);
  expect_no_breach();
  return result;
}

constexpr Check users_eclipse_is_accepted{
    .name = "run/users-eclipse",
    .level = Level::must,
    .title = "The actions accept a user's Eclipse and its version.",
    .promise = whole_interface,
    .harm = no_integration,
    .fix = try_operations_alone,
    .perform =
        [](const Probe& probe) {
          choose_instance(probe, "install", 0);
          perform(probe, plugin_eclipse_integration_required);
          perform(probe, plugin_find_eclipse_ide);
          perform(probe, plugin_verify_eclipse_version);
          perform(probe, plugin_define_eclipse_path);
          expect_text("USER_DEFINED_ECLIPSE_PATH_CORRECT for an Eclipse that is there", "yes",
                      get(probe, "USER_DEFINED_ECLIPSE_PATH_CORRECT"));
          expect_text("ECLIPSE_VERSION of version 4.9.0", "4.9.0", get(probe, "ECLIPSE_VERSION"));
          expect_text("ECLIPSE_VERSION_IS_SUPPORTED with the minimum 4.7", "yes", get(probe, "ECLIPSE_VERSION_IS_SUPPORTED"));
          expect_text("ECLIPSE_PATH", probe.scratch, get(probe, "ECLIPSE_PATH"));
        },
    .after = "*",
};

/// The result of an action that runs a director; skipped if it ran none.
int perform_with_director(const Probe& probe, Action action) {
  const std::size_t before = commands_run();
  const int result = perform(probe, action);
  if (commands_run() == before)
    throw Skipped{"give the session a component that is selected, with an installed descriptor file"};
  return result;
}

constexpr Check features_are_installed{
    .name = "run/installation",
    .level = Level::must,
    .title = "perform_integration() runs a director that succeeds, and reports no failure.",
    .promise = whole_interface,
    .harm = no_integration,
    .fix = try_operations_alone,
    .perform =
        [](const Probe& probe) {
          choose_instance(probe, "install", 0);
          expect_equal("perform_integration() with a director that succeeds", 0,
                       perform_with_director(probe, plugin_perform_integration));
          expect_text("QN_SCRIPTS_FAILED", "", get(probe, "QN_SCRIPTS_FAILED"));
        },
    .after = "run/users-eclipse",
};

constexpr Check failed_director_is_reported{
    .name = "run/failed-director",
    .level = Level::must,
    .title = "perform_integration() reports a director that fails in the summary.",
    .promise = whole_interface,
    .harm = "A failed installation is not reported.",
    .fix = try_operations_alone,
    .perform =
        [](const Probe& probe) {
          choose_instance(probe, "install", 13);
          set(probe, "eclipse_integration_failed_title", "FAILED:");
          expect_equal("perform_integration() with a director that ends with 13", 13,
                       perform_with_director(probe, plugin_perform_integration));
          expect_text("QN_SCRIPTS_FAILED", "yes", get(probe, "QN_SCRIPTS_FAILED"));
          const std::string summary = get(probe, "QN_SCRIPTS_COMPLETE_DESC");
          expect(summary.find("director says: ") != std::string::npos, "the summary has what the director printed",
                 shown(summary));
        },
    .after = "run/installation",
};

constexpr Check features_are_removed{
    .name = "run/removal",
    .level = Level::must,
    .title = "perform_unintegration() runs a director that succeeds.",
    .promise = whole_interface,
    .harm = no_integration,
    .fix = try_operations_alone,
    .perform =
        [](const Probe& probe) {
          choose_instance(probe, "uninstall", 0);
          expect_equal("perform_unintegration() with a director that succeeds", 0,
                       perform_with_director(probe, plugin_perform_unintegration));
        },
    .after = "run/installation",
};

constexpr Check exception_is_caught{
    .name = exception_drill,
    .level = Level::should,
    .title = "The host catches an exception of an action.",
    .promise =
        "If one throws anyway, the exception passes through the plug-in, which releases what it holds on the way, and "
        "leaves the action unchanged.",
    .harm = "When memory runs out, the installer ends in the middle of an installation, without telling its user.",
    .fix = "Catch std::exception around each call of an action, and take it for a failure of the integration.",
};

}  // namespace

std::vector<Check> action_checks() {
  std::vector<Check> checks = {users_eclipse_is_accepted, features_are_installed, failed_director_is_reported,
                               features_are_removed, exception_is_caught};
  for (const ObservedOperation& operation : observed_operations()) {
    checks.push_back({.name = operation.check,
                      .level = Level::must,
                      .title = operation.title,
                      .promise = operation.promise,
                      .harm = no_integration,
                      .fix = observed_fix});
  }
  return checks;
}

}  // namespace host_kit
