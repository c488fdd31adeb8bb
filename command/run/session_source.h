// Where a session comes from: a session file, or a directory of components for which one is drafted.
#ifndef ECLIPSE_INT_RUN_SESSION_SOURCE_H
#define ECLIPSE_INT_RUN_SESSION_SOURCE_H

#include <memory>
#include <string>

#include "base/json_document.h"
#include "run/session_options.h"
#include "standalone_host/plugin.h"

namespace eclipse_run {

/// Loads the plug-in that the options ask for. Throws PluginError.
eclipse_host::Plugin load_plugin(const SessionOptions& options);

/// True for a directory of components, which needs --eclipse.
bool is_component_directory(const std::string& path);

/// The text of a session for all components in a directory that have descriptor files. Throws FileError, PluginError and
/// UsageError.
std::string drafted_session(const std::string& directory, const SessionOptions& options);

/// The session file at a path, or the draft for the directory there. Throws FileError, PluginError and UsageError.
std::shared_ptr<const eclipse_base::JsonDocument> session_document(const std::string& path, const SessionOptions& options);

}  // namespace eclipse_run

#endif
