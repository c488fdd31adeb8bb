// What a run reads of the product and of the Eclipse instance that it changes, so that nothing else may write it.
#ifndef ECLIPSE_INT_RUN_USED_FILES_H
#define ECLIPSE_INT_RUN_USED_FILES_H

#include <filesystem>
#include <optional>

#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_run {

/// The file that a run of the session uses and that is the same as the given one, which exists, by whatever path or link. These
/// files are used, whichever components take part: the descriptor files, everything in the update sites that they name, and of
/// each instance that may be chosen the executable, the configuration, the p2 data and all that is installed. Nothing when the
/// file is none of these. Throws PluginError.
std::optional<std::filesystem::path> used_file(const eclipse_host::Plugin& plugin, const eclipse_host::Session& session,
                                               const std::filesystem::path& file);

/// The same for the instance with this executable alone.
std::optional<std::filesystem::path> used_file_of_instance(const std::filesystem::path& executable,
                                                           const std::filesystem::path& file);

/// The directory in which a new file of this name would be, if every file there is read: one with descriptor files; or
/// configuration, dropins, features, p2 or plugins in an instance that may be chosen, or what is below them. Nothing when it
/// would be elsewhere. Throws PluginError.
std::optional<std::filesystem::path> directory_read_whole(const eclipse_host::Plugin& plugin,
                                                          const eclipse_host::Session& session,
                                                          const std::filesystem::path& file);

/// The same for the instance with this executable alone.
std::optional<std::filesystem::path> directory_read_whole_in_instance(const std::filesystem::path& executable,
                                                                      const std::filesystem::path& file);

}  // namespace eclipse_run

#endif
