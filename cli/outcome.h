// What a run came to, in sentences for the person whose Eclipse it was about.
#ifndef ECLIPSE_INT_CLI_OUTCOME_H
#define ECLIPSE_INT_CLI_OUTCOME_H

#include <string>

#include "host/session_run.h"

namespace eclipse_cli {

/// Which features went in or out and which did not, why nothing was done, which variables the run changed, and the failure
/// summary that the installer would show, which has HTML marks when it is `graphical`.
std::string outcome_of(const eclipse_host::RunRecord& record, bool graphical);

}  // namespace eclipse_cli

#endif
