// What a run uses of the product and of the Eclipse instance that it changes.
#ifndef ECLIPSE_INT_DRY_RUN_PRODUCT_FILES_H
#define ECLIPSE_INT_DRY_RUN_PRODUCT_FILES_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_dry_run {

/// The file that a run of the session uses and that is the same as the given one, which exists, by whatever path or link. These
/// files are used, whichever components take part: the descriptor files, everything in the update sites that they name, and of
/// each instance that may be chosen the executable, the configuration, the p2 data and all that is installed. Nothing when the
/// file is none of these. Throws PluginError.
std::optional<std::filesystem::path> used_file(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session,
                                               const std::filesystem::path& file);

/// The same for the instance with this executable alone.
std::optional<std::filesystem::path> used_file_of_instance(const std::filesystem::path& executable,
                                                           const std::filesystem::path& file);

/// The executable of the Eclipse instance that a run of the session works on; empty when the session chooses none, or one that
/// does not exist. Throws PluginError.
std::string chosen_executable(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session);

/// Throws FileError for a descriptor file of any component that is too large to be read, and PluginError.
void check_descriptor_sizes(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session);

/// A descriptor file that cannot be read completely, which the plug-in ignores.
struct UnreadableDescriptor {
  std::string path;
  std::string error;
};

/// Those among the descriptor files that exist, of all components. Throws PluginError.
std::vector<UnreadableDescriptor> unreadable_descriptors(const eclipse_host::Plugin& plugin,
                                                         const eclipse_host::Session& session);

}  // namespace eclipse_dry_run

#endif
