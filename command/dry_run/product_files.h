// What a run reads of the product and of the Eclipse that it changes.
#ifndef ECLIPSE_INT_DRY_RUN_PRODUCT_FILES_H
#define ECLIPSE_INT_DRY_RUN_PRODUCT_FILES_H

#include <string>
#include <vector>

#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_dry_run {

/// The descriptor files that are there, whichever components take part, and each executable that may be chosen, with its
/// configuration. Throws PluginError.
std::vector<std::string> product_files(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session);

}  // namespace eclipse_dry_run

#endif
