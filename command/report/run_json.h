// The machine-readable report of a run.
#ifndef ECLIPSE_INT_REPORT_RUN_JSON_H
#define ECLIPSE_INT_REPORT_RUN_JSON_H

#include <functional>
#include <optional>
#include <string>

#include "base/json_text.h"
#include "instance/damage.h"
#include "report/command_failures.h"
#include "standalone_host/session_run.h"
#include "standalone_host/variables_file.h"
#include "terminal/interruption.h"

namespace eclipse_report {

/// What is known of a run.
struct RunFacts {
  const eclipse_host::RunRecord& record;
  const CommandFailures& failures;
  const eclipse_host::Variables& variables_after;
  const std::optional<eclipse_instance::InstanceDamage>& damage;
};

/// Prints the document for a run, to which `add_to` adds members; throws std::bad_alloc before anything is printed. The form of
/// these documents is that of schema/run-result.schema.json.
void print_run(const RunFacts& run, int exit_status, const std::function<void(eclipse_base::Json& json)>& add_to);

/// Prints the document for a run that a signal ended. The action that had not returned has null for its result, the command
/// that was running for its exit code and its failure.
void print_interrupted_run(const RunFacts& run, const eclipse_terminal::Interrupted& interrupted,
                           const std::function<void(eclipse_base::Json& json)>& add_to);

/// Prints the document for a run that an exception in the host ended, such as a lack of memory.
void print_aborted_run(const RunFacts& run, const std::string& reason,
                       const std::function<void(eclipse_base::Json& json)>& add_to);

}  // namespace eclipse_report

#endif
