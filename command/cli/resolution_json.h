// What the director says of a command without doing it, as JSON.
#ifndef ECLIPSE_INT_CLI_RESOLUTION_JSON_H
#define ECLIPSE_INT_CLI_RESOLUTION_JSON_H

#include <nlohmann/json_fwd.hpp>

#include "resolve/resolution.h"

namespace eclipse_cli {

/// notAsked: why the director was not asked, only when it was not; otherwise
///   copy: whether it was asked on a copy of the instance; resolves; all: VERDICT; each: [VERDICT]; those: VERDICT, only when
///   it was asked for; expected: [feature] that the run would install or remove, or null when that cannot be foreseen; limits:
///   [text], what it does not foresee
/// VERDICT: {features: [text], resolves, exitCode, failure: as a run has it, or null}
nlohmann::ordered_json resolution_json(const eclipse_resolve::Resolution& resolution);

}  // namespace eclipse_cli

#endif
