// A plan for a program.
#ifndef ECLIPSE_INT_CLI_PLAN_JSON_H
#define ECLIPSE_INT_CLI_PLAN_JSON_H

#include <nlohmann/json_fwd.hpp>

#include "plan/plan.h"

namespace eclipse_cli {

/// The document for a plan:
///   removal: whether features would be removed; refusal: why the run stops, only when it does
///   actions: [{name, variables: [{name, value}]}]
///   version: {version, minimum, supported, reason, numbersSayOtherwise}, only when it is checked
///   executable: of the instance; everyComponent: whether they are all searched, selected or not
///   components: [{code, status, descriptors: [{path, exists, records}]}], with the status "taken", "not reached", "no code",
///     "not selected" or "no package"
///   records: [{file, line, repository, feature, extra, order, status, url, slot, wantedSlot}], with the status "listed",
///     "repeated", "no feature" or "no repository" (then the last three are missing)
///   features: [text], in install order; repositories: [text]
///   command: what is run first, null when nothing is; reasons: [text], why nothing is
///   retries: [those that are run when it fails], as far as they were asked for or do not read like another one that is there,
///     each with its number; retryCount: of all
///   each command as {text, hex, bytes, limit, sound, obstacle, causes: [{origin, text, remarks}], shell: {commands: [[word]],
///     redirections: [text], remarks, fault}}, with remarks as [{byte, effect}], where bytes count from 1; hex: the bytes of
///     the text, only when they are not UTF-8; obstacle: why the executable cannot be started; causes: the texts that the shell
///     does not pass on as they stand
nlohmann::ordered_json plan_json(const eclipse_plan::Plan& plan);

}  // namespace eclipse_cli

#endif
