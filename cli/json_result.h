// The machine-readable result of a run.
#ifndef ECLIPSE_INT_CLI_JSON_RESULT_H
#define ECLIPSE_INT_CLI_JSON_RESULT_H

#include <nlohmann/json_fwd.hpp>
#include <ostream>

#include "host/session_run.h"

namespace eclipse_cli {

/// The document for a run:
///   status: "done", "failed" or "refused"; exitStatus: of this command; refusal: why, only when refused
///   actions: [{name, result}]
///   variables: {before: {NAME: text}, after: {NAME: text}}
///   log: [line]
///   commands: [{action, command, output, errorOutput, exitCode, seconds}]
nlohmann::ordered_json json_result(const eclipse_host::RunRecord& record, int exit_status);

/// Prints a document. What is not UTF-8 becomes U+FFFD.
void print_json(std::ostream& out, const nlohmann::ordered_json& document);

}  // namespace eclipse_cli

#endif
