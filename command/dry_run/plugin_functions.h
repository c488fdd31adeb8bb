// The plug-in's own functions, so that whatever is said about a descriptor is what the plug-in makes of it.
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
  std::string path;       ///< of the two together: what is looked at
  bool exists;            ///< as a regular file
};

/// What became of a record when the lists were built.
struct Placement {
  std::string url;    ///< of its repository, as the director gets it
  std::int64_t slot;  ///< its place in the install order
};

/// What a run of a session came to, with commands that were recorded instead of run.
struct Rehearsal {
  std::vector<std::string> log;
  std::vector<std::string> commands;
  std::vector<std::string> files;  ///< the paths that were asked for as files, in order
  std::string refusal;             ///< why the run stopped before the instance was changed; empty when it did not

  bool logged(std::string_view line) const;
};

class Library {
 public:
  /// Finds the functions in the library that was loaded as `plugin`. Throws PluginError.
  explicit Library(const eclipse_host::Plugin& plugin);

  /// The columns of a line.
  std::vector<std::string> columns(const std::string& line) const;

  /// The records of a descriptor file, in the order of its lines.
  std::vector<plugin_config> records(const std::string& directory, const std::string& file) const;

  /// The descriptor file that a component has when its package lists `listed`; nothing when that is none. Whether the component
  /// takes part in a run is not asked.
  std::optional<DescriptorFile> descriptor(const eclipse_host::CatalogueComponent& component, const std::string& listed) const;

  /// What becomes of each record of a whole list; nothing for a record that is passed over.
  std::vector<std::optional<Placement>> placements(const std::vector<plugin_config>& records) const;

  /// The number that is read from an order column.
  std::int64_t order(const std::string& text) const;

  /// True when capabilities of these names make integration necessary.
  bool asks_for_integration(const std::vector<std::string>& capabilities) const;
  /// True when a capability of this name marks an IDE.
  bool marks_ide(const std::string& capability) const;

  /// Whether an instance of this version is supported when this is the minimum.
  bool supports_version(const std::string& version, const std::string& minimum) const;

  /// The executables that are found among the IDE components, of which the last one counts.
  std::vector<std::string> executables(eclipse_host::Session& session) const;

  /// Performs the whole session, but for its commands. Changes its variables as a run does.
  Rehearsal rehearse(eclipse_host::Session& session) const;

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
