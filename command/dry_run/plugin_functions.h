// The plug-in's own functions: whatever a tool says about a descriptor, it asks the plug-in.
#ifndef ECLIPSE_INT_DRY_RUN_PLUGIN_FUNCTIONS_H
#define ECLIPSE_INT_DRY_RUN_PLUGIN_FUNCTIONS_H

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "eclipse_int/eclipse_int.h"
#include "standalone_host/plugin.h"
#include "standalone_host/session.h"

namespace eclipse_dry_run {

/// A descriptor file of a component.
struct DescriptorFile {
  std::string directory;  ///< the component's
  std::string name;       ///< below the directory
  std::string path;       ///< of the file itself, the two joined
  bool exists;            ///< as a regular file
};

/// What a record adds when the lists are built.
struct Placement {
  std::string url;    ///< of its repository, as the director gets it
  std::int64_t slot;  ///< its place in the install order
};

/// Throws FileError for a descriptor file that is larger than any real one: the plug-in reads every file as a whole.
void check_descriptor_size(const std::filesystem::path& file);

class PluginFunctions {
 public:
  /// Finds the functions in the library that was loaded as `plugin`. Throws PluginError.
  explicit PluginFunctions(const eclipse_host::Plugin& plugin);

  const eclipse_host::Plugin& plugin() const { return plugin_; }

  /// The columns of a line.
  std::vector<std::string> columns(const std::string& line) const;

  /// The records in a descriptor file with this content, of a component in `directory`, in the order of its lines.
  std::vector<plugin_config> records(const std::string& directory, std::string_view content) const;

  /// The descriptor file that a component has when its package lists `listed`; nothing when that is not one. Whether the
  /// component is selected for a run does not matter.
  std::optional<DescriptorFile> descriptor(const eclipse_host::CatalogueComponent& component, const std::string& listed) const;

  /// What each record of a whole list adds; nothing for a record that the plug-in ignores.
  std::vector<std::optional<Placement>> placements(const std::vector<plugin_config>& records) const;

  /// The number that is read from an order column.
  std::int64_t order(const std::string& text) const;

  /// True when capabilities of these names make integration necessary.
  bool asks_for_integration(const std::vector<std::string>& capabilities) const;
  /// True when a capability of this name marks an IDE.
  bool marks_ide(const std::string& capability) const;

  /// Whether an instance of this version is supported when this is the minimum.
  bool supports_version(const std::string& version, const std::string& minimum) const;

  /// The executables in the packages of the IDE components. The plug-in uses the last one.
  std::vector<std::string> executables(eclipse_host::Session& session) const;

 private:
  const eclipse_host::Plugin& plugin_;
  decltype(&::split_by_tabs) split_by_tabs_;
  decltype(&::process_file) process_file_;
  decltype(&::get_integration_files) get_integration_files_;
  decltype(&::populate_lists) populate_lists_;
  decltype(&::get_ide_components) get_ide_components_;
  decltype(&::find_eclipse_executable) find_eclipse_executable_;
};

}  // namespace eclipse_dry_run

#endif
