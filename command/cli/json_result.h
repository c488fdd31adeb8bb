// The machine-readable result of a run.
#ifndef ECLIPSE_INT_CLI_JSON_RESULT_H
#define ECLIPSE_INT_CLI_JSON_RESULT_H

#include <nlohmann/json_fwd.hpp>
#include <ostream>
#include <string>

#include "cli/interruption.h"
#include "cli/run_so_far.h"
#include "standalone_host/session_run.h"
#include "standalone_host/variables_file.h"

namespace eclipse_cli {

/// Adds a text as a member of an object, and behind it its bytes in hexadecimal when they are not UTF-8.
void add_text(nlohmann::ordered_json& json, const char* name, const std::string& text, const char* hex_name);

/// The document for a run:
///   status: "done", "failed" or "refused"; exitStatus: of this command; refusal: why, only when refused
///   actions: [{name, result}]
///   variables: {before: {NAME: text}, after: {NAME: text}}
///   log: [line]
///   commands: [{action, command, hex, output, outputHex, errorOutput, errorOutputHex, exitCode, seconds}]; hex, outputHex and
///     errorOutputHex: the bytes of the text before, each only when they are not UTF-8
nlohmann::ordered_json json_result(const eclipse_host::RunRecord& record, int exit_status);

/// The document for a run that a signal ended:
///   status: "interrupted"; exitStatus: 128 and the number of the signal; signal: its name
///   actions: [{name, result: null}], those that were begun, the last of which is not done
///   variables, log: as above
///   commands: [as above], and last the one that was running, with null for the exit code
nlohmann::ordered_json interrupted_json(const RunSoFar& so_far, const Interrupted& interrupted,
                                        const eclipse_host::Variables& variables_after);

/// The document for a run that broke off because the host itself failed:
///   status: "broken off"; exitStatus: 1; reason: what failed
///   actions, variables, log, commands: as for a run that a signal ended
nlohmann::ordered_json broken_off_json(const RunSoFar& so_far, const std::string& reason,
                                       const eclipse_host::Variables& variables_after);

/// Prints a document, to the end. What is not UTF-8 becomes U+FFFD.
void print_json(std::ostream& out, const nlohmann::ordered_json& document);

}  // namespace eclipse_cli

#endif
