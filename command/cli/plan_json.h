// A plan, as JSON.
#ifndef ECLIPSE_INT_CLI_PLAN_JSON_H
#define ECLIPSE_INT_CLI_PLAN_JSON_H

#include <nlohmann/json_fwd.hpp>
#include <optional>

#include "plan/plan.h"
#include "preview/preview.h"

namespace eclipse_cli {

/// The document for a plan:
///   removal: whether features would be removed; refusal: why the run stops, only when it does
///   actions: [{name, variables: [{name, value}]}]
///   version: {version, minimum, supported, reason, numericOrderDiffers}, only when it is checked; numericOrderDiffers: a
///     comparison of numbers would contradict the comparison of texts
///   executable: of the instance; everyComponent: all components are searched, selected or not
///   components: [{code, status, descriptors: [{path, exists, records, error}]}], with the status "searched", "not reached",
///     "no code", "not selected" or "no package"; error: why the file cannot be read completely, only when it cannot
///   records: [{file, line, repository, feature, extra, order, status, url, slot, wantedSlot}], with the status "listed",
///     "repeated", "no feature" or "no repository" (then the last three are missing)
///   features: [text], in install order; repositories: [text]
///   command: the first command, null when there is none; reasons: [text], why there is none
///   retries: [the commands that are run when it fails], all of them if requested, otherwise only those that differ for the
///   shell,
///     each with its number; retryCount: of all
///   each command as {text, hex, bytes, limit, runsAsIntended, executableError, causes: [{origin, text, remarks}],
///     shell: {commands: [[word]], redirections: [text], remarks, error}}, with remarks as [{byte, effect}]:
///     hex: the bytes of the text, only when it is not UTF-8; limit: the length of the longest command that can be started, in
///     bytes runsAsIntended: the shell starts the director with exactly the intended words executableError: why the shell
///     cannot start the executable, otherwise empty causes: the texts of the session and the descriptors that the shell changes
///     shell: the commands as the shell reads them; error: why it rejects the line, otherwise empty
///     byte: counted from 1; effect: what the shell does there
///   changes: [{unit, location, change, version, installed, repository, remark}], only with a preview: what becomes of each
///   unit,
///     with the change "add", "keep", "other version", "remove" or "fail"; profileRead: whether it is known what is installed
///   repositoryStates: [{url, usable, remark}], only with a preview
nlohmann::ordered_json plan_json(const eclipse_plan::Plan& plan, const std::optional<eclipse_preview::Preview>& preview);

}  // namespace eclipse_cli

#endif
