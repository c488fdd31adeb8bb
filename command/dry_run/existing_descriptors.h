// The descriptor files of all components of a session, whichever take part in a run.
#ifndef ECLIPSE_INT_DRY_RUN_EXISTING_DESCRIPTORS_H
#define ECLIPSE_INT_DRY_RUN_EXISTING_DESCRIPTORS_H

#include <string>
#include <vector>

#include "dry_run/plugin_functions.h"
#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_dry_run {

/// Those that exist. Throws PluginError.
std::vector<DescriptorFile> existing_descriptors(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session);

/// Throws FileError for one that is too large to be read, and PluginError.
void check_descriptor_sizes(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session);

/// A descriptor file that cannot be read completely, which the plug-in ignores.
struct UnreadableDescriptor {
  std::string path;
  std::string error;
};

/// Throws PluginError.
std::vector<UnreadableDescriptor> unreadable_descriptors(const eclipse_host::Plugin& plugin,
                                                         const eclipse_host::Session& session);

}  // namespace eclipse_dry_run

#endif
