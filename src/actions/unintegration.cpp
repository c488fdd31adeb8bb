#include <utility>

#include "actions/director.h"
#include "eclipse_int/eclipse_int.h"

using namespace eclipse_int;

int perform_unintegration(session_t* session) {
  print_log("eclipse_int: perform_unintegration entered");
  auto executable = chosen_executable(session);
  if (!executable) {
    print_log("eclipse_int: nothing to unintegrate");
    return 0;
  }
  if (executable->empty()) return 0;
  return unintegrate_from_instance(session, *std::move(executable));
}

int unintegrate_from_instance(session_t* session, std::string eclipse_executable) {
  print_log("eclipse_int: unintegrate_from_instance entered");
  const auto executable = enter_instance(session, eclipse_executable);
  if (!executable) return 0;

  std::set<std::string> repositories;
  std::set<std::string> extras;
  std::vector<std::string> features;
  populate_lists(populate_plugin_list(Unintegrate, session->tsd.components(), true), repositories, extras, features);
  if (features.empty()) {
    print_log("eclipse_int: feature list is empty");
    return 0;
  }

  const std::string remove_all =
      *executable + " -nosplash -application org.eclipse.equinox.p2.director -u " + join(features, ",") + " 2>&1";
  int exit_code = 0;
  run_director(remove_all, exit_code);
  if (exit_code == 0) return 0;

  print_log("eclipse_int: failed to unintegrate all plug-ins at once, unintegrating individually");
  for (const std::string& feature : features) {
    // The whole failed command followed by the feature, on purpose, although shells reject nearly every such text.
    run_director(remove_all + feature + " 2>&1", exit_code);
  }
  return exit_code;
}
