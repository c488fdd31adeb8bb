// Which Eclipse instance a session chooses.
#ifndef ECLIPSE_INT_DRY_RUN_CHOSEN_EXECUTABLE_H
#define ECLIPSE_INT_DRY_RUN_CHOSEN_EXECUTABLE_H

#include <string>

#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_dry_run {

/// The executable of the Eclipse instance that a run of the session works on; empty when the session chooses none, or one that
/// does not exist. Throws PluginError.
std::string chosen_executable(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session);

}  // namespace eclipse_dry_run

#endif
