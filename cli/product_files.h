// What a run reads of the product and of the Eclipse that it changes.
#ifndef ECLIPSE_INT_CLI_PRODUCT_FILES_H
#define ECLIPSE_INT_CLI_PRODUCT_FILES_H

#include <string>
#include <vector>

#include "host/plugin.h"
#include "host/session.h"

namespace eclipse_cli {

/// The descriptor files that are there, whichever components take part, and each executable that may be chosen, with its
/// configuration. Throws PluginError.
std::vector<std::string> product_files(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session);

}  // namespace eclipse_cli

#endif
