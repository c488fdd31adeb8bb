// Checks of the files that a run is to write.
#ifndef ECLIPSE_INT_RUN_OUTPUT_CHECKS_H
#define ECLIPSE_INT_RUN_OUTPUT_CHECKS_H

#include <string>

#include "run/session_options.h"
#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_run {

/// Checks before a run that the log and the variables file can be written, and that neither overwrites a file that the run
/// uses: the inputs, this program, the plug-in, the descriptor files, and what is in the update sites and in the instances.
/// Throws FileError and UsageError.
void check_outputs(const SessionOptions& options, const eclipse_host::Plugin& plugin, const eclipse_host::Session& session);

/// The same for a command that need not have a session, and writes only variables: that these do not overwrite this program or
/// a file of the instance with this executable. Throws FileError.
void check_variables_output(const SessionOptions& options, const std::string& executable);

}  // namespace eclipse_run

#endif
