#include <algorithm>
#include <utility>

#include "actions/director.h"
#include "eclipse_int/eclipse_int.h"

using namespace eclipse_int;

namespace {

/// Whether no earlier run integrated into this instance. If so, it also lacks the features of earlier runs.
bool is_new_instance(session_t* session) {
  const std::string mode = env_get_string(session, "KORU_MODE");
  const std::string choice = env_get_string(session, "ECLIPSE_INTEGRATION_CHOICE");
  if (mode == "uninstall") return false;
  if (choice == "internal") {
    const std::vector<Component*> ides = get_ide_components(session);
    return std::any_of(ides.begin(), ides.end(), [](Component* ide) { return ide->installCondition(); });
  }
  if (choice == "user") {
    const std::string recorded = env_get_string(session, "CASHED_ECLIPSE_PATH");
    const std::string named = env_get_string(session, "USER_DEFINED_ECLIPSE_PATH");
    return !named.empty() && named != recorded;
  }
  return false;
}

/// Runs the director once for each feature and reports the failures in the host's end-of-run summary. Writes the heading even
/// if no feature fails on its own: the command for all of them failed.
void integrate_individually(session_t* session, const std::string& install, const std::vector<std::string>& features,
                            const std::string& separator, int& exit_code) {
  print_log("eclipse_int: failed to integrate all plug-ins at once, integrating individually");
  std::string summary = env_get_string(session, "QN_SCRIPTS_COMPLETE_DESC") + separator;
  summary += env_get_string(session, "eclipse_integration_failed_title") + separator;
  for (const std::string& feature : features) {
    const std::string output = run_director(install + feature + " 2>&1", exit_code);
    if (exit_code != 0) summary += separator + replaceAllSubstrings(output, "\n", separator);
  }
  env_set_string(session, "QN_SCRIPTS_COMPLETE_DESC", summary.c_str());
  env_set_string(session, "QN_SCRIPTS_FAILED", "yes");
}

}  // namespace

int perform_integration(session_t* session) {
  print_log("eclipse_int: perform_integration entered");
  auto executable = chosen_executable(session);
  if (!executable) {
    print_log("eclipse_int: nothing to integrate");
    return 0;
  }
  if (executable->empty()) return 0;
  return integrate_into_instance(session, *std::move(executable));
}

int integrate_into_instance(session_t* session, std::string eclipse_executable) {
  const std::string separator = is_gui_mode(session) ? "<p>" : "\n";
  print_log("eclipse_int: integrate_into_instance entered");
  const auto executable = enter_instance(session, eclipse_executable);
  if (!executable) return 0;

  std::vector<Component*> components = session->tsd.components();
  const bool filter_by_condition = !is_new_instance(session);
  std::set<std::string> repositories;
  std::set<std::string> extras;
  std::vector<std::string> features;
  populate_lists(populate_plugin_list(Integrate, std::move(components), filter_by_condition), repositories, extras, features);
  if (repositories.empty() || features.empty()) {
    print_log("eclipse_int: feature or repo list is empty, skip integration");
    return 0;
  }

  const std::string install =
      *executable + " -nosplash -application org.eclipse.equinox.p2.director -repository " + join(repositories, ",") + " -i ";
  int exit_code = 0;
  run_director(install + join(features, ",") + " 2>&1", exit_code);
  // From here on the exit code is that of the last feature, so the result may be 0 although another one failed.
  if (exit_code != 0) integrate_individually(session, install, features, separator, exit_code);
  return exit_code;
}
