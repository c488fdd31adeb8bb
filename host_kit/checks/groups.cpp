#include "host_kit/checks/groups.h"

namespace host_kit {

std::span<const Check> all_checks() {
  static const std::vector<Check> checks = [] {
    std::vector<Check> all;
    for (const auto group : {loading_checks, session_checks, catalogue_checks, log_checks, path_checks, file_checks,
                             text_checks, command_checks, thread_checks, action_checks}) {
      for (const Check& check : group()) all.push_back(check);
    }
    return all;
  }();
  return checks;
}

}  // namespace host_kit
