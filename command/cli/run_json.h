// The machine-readable report of a run.
#ifndef ECLIPSE_INT_CLI_RUN_JSON_H
#define ECLIPSE_INT_CLI_RUN_JSON_H

#include <functional>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>

#include "cli/command_failures.h"
#include "cli/interruption.h"
#include "p2/profile_repair.h"
#include "standalone_host/session_run.h"
#include "standalone_host/variables_file.h"

namespace eclipse_cli {

/// Adds a text as a member of an object, followed by its bytes in hexadecimal when they are not UTF-8.
void add_text(nlohmann::ordered_json& json, const char* name, const std::string& text, const char* hex_name);

/// Files as a list of their paths.
nlohmann::ordered_json paths_json(const std::vector<std::filesystem::path>& files);

/// Adds what is wrong with the instance, if anything is: damage: {file, message, fix}
void add_damage(nlohmann::ordered_json& json, const std::optional<eclipse_p2::InstanceDamage>& damage);

/// {layer, meaning, causes: [text], log}, with null for the log when there is none
nlohmann::ordered_json failure_json(const eclipse_p2::Failure& failure);

/// What is known of a run.
struct RunFacts {
  const eclipse_host::RunRecord& record;
  const CommandFailures& failures;
  const eclipse_host::Variables& variables_after;
  const std::optional<eclipse_p2::InstanceDamage>& damage;
};

/// Prints the document for a run, to which `add_to` adds members; throws std::bad_alloc before anything is printed:
///   status: "done", "failed" or "refused"; exitStatus: of this command; refusal: why, only when refused
///   actions: [{name, result}]
///   variables: {before: {NAME: text}, after: {NAME: text}}
///   log: [line]
///   commands: [{action, command, hex, output, outputHex, outputLeftOut, errorOutput, errorOutputHex, errorOutputLeftOut,
///     exitCode, seconds, failure}]; hex, outputHex and errorOutputHex: the bytes of the text before, each only when they are
///     not UTF-8; outputLeftOut and errorOutputLeftOut: how many bytes are left out, only when some are; failure: null when the
///     command succeeded, otherwise {layer, meaning, causes: [text], log}, with null for the log when there is none
///   damage: as add_damage() adds it
void print_run(const RunFacts& run, int exit_status, const std::function<void(nlohmann::ordered_json& json)>& add_to);

/// Prints the document for a run that a signal ended:
///   status: "interrupted"; exitStatus: 128 and the number of the signal; signal: its name
///   actions, variables, log, damage: as above, with null for the result of the action that had not returned
///   commands: as above, with null for the exit code and the failure of the one that was running
void print_interrupted_run(const RunFacts& run, const Interrupted& interrupted,
                           const std::function<void(nlohmann::ordered_json& json)>& add_to);

/// Prints the document for a run that an exception in the host ended, such as a lack of memory:
///   status: "aborted"; exitStatus: 1; reason: what failed
///   actions, variables, log, commands, damage: as for a run that a signal ended
void print_aborted_run(const RunFacts& run, const std::string& reason,
                       const std::function<void(nlohmann::ordered_json& json)>& add_to);

/// Prints a document on standard output, in ASCII: other characters are escaped, since some of them steer a terminal. What is
/// not UTF-8 becomes U+FFFD.
void print_json(const nlohmann::ordered_json& document);

}  // namespace eclipse_cli

#endif
