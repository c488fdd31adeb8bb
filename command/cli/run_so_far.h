// What is known of a run that does not come to its end.
#ifndef ECLIPSE_INT_CLI_RUN_SO_FAR_H
#define ECLIPSE_INT_CLI_RUN_SO_FAR_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "standalone_host/session_run.h"
#include "standalone_host/variables_file.h"

namespace eclipse_cli {

struct RunSoFar {
  explicit RunSoFar(eclipse_host::Variables variables) : variables_before(std::move(variables)) {}

  eclipse_host::Variables variables_before;
  std::vector<std::string> actions;  ///< that were begun; the last one is not done
  std::vector<eclipse_host::CommandRecord> commands;
  std::optional<eclipse_host::CommandRecord> running;  ///< the command that was not done, with what it had printed
  std::vector<std::string> log;

  /// The observer, which keeps here what it is told. It refers to this object.
  eclipse_host::RunObserver keeping(const eclipse_host::RunObserver& observer);

  /// Gives back the memory of what the running command has printed, which may be what there is too little of.
  void forget_running_output();
};

}  // namespace eclipse_cli

#endif
