// Loading the plug-in as an installer host does.
#ifndef ECLIPSE_INT_STANDALONE_HOST_PLUGIN_H
#define ECLIPSE_INT_STANDALONE_HOST_PLUGIN_H

#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "base/file_error.h"
#include "eclipse_int/host.h"

namespace eclipse_host {

/// The names of the plug-in's actions.
inline constexpr std::array<std::string_view, 8> action_names = {
    "eclipse_integration_required", "find_eclipse_ide",       "define_eclipse_path", "verify_user_defined_eclipse_path",
    "user_eclipse_version",         "verify_eclipse_version", "perform_integration", "perform_unintegration"};

/// Whether an action may start the director.
constexpr bool starts_director(std::string_view action) { return action.starts_with("perform_"); }

/// The library cannot be loaded, or is not the plug-in.
class PluginError : public eclipse_base::FileError {
 public:
  using FileError::FileError;
  /// About a library that does not export what the plug-in does: an "action" or a "function".
  static PluginError lacks(const std::filesystem::path& library, const std::string& kind, std::string_view name);
};

/// A library that belongs to this program, by its path below the directory of the program, as in a build, or below the one
/// where an installation puts libraries. Throws PluginError with this fix if it is in neither.
std::filesystem::path own_library(const std::filesystem::path& name, const std::string& fix);

/// The plug-in, loaded with every symbol resolved. It stays loaded until the program ends.
class Plugin {
 public:
  /// Loads `library` and finds all its actions. Throws PluginError, and FileError for a path that depends on a missing working
  /// directory.
  explicit Plugin(const std::filesystem::path& library);

  /// Loads the library in the directory of this program, or where an installation puts it. Throws PluginError.
  static Plugin beside_this_program();

  /// The file that was loaded.
  const std::filesystem::path& library() const { return library_; }

  /// The version that the library says it has; empty if it does not say.
  std::string version() const;

  /// Calls an action for the active session and returns its result. `name` is one of action_names; otherwise
  /// std::out_of_range is thrown.
  int call(std::string_view name, session_t& session) const;

 private:
  std::filesystem::path library_;
  std::map<std::string, int (*)(session_t*), std::less<>> actions_;
};

}  // namespace eclipse_host

#endif
