// Components in directories, where no session says which directories they are.
#ifndef ECLIPSE_INT_DRY_RUN_COMPONENT_DIRECTORIES_H
#define ECLIPSE_INT_DRY_RUN_COMPONENT_DIRECTORIES_H

#include <filesystem>
#include <string>
#include <vector>

#include "dry_run/descriptor_files.h"
#include "dry_run/plugin_functions.h"

namespace eclipse_dry_run {

struct FoundFile {
  std::string listed;  ///< from the component's directory on, as its package would list it
  std::string shown;   ///< from the directory that was searched on, as that was named
};

struct ComponentDirectory {
  std::filesystem::path path;  ///< absolute
  std::vector<FoundFile>
      files;  ///< in the order of their paths; what is no file but no directory with files either is among them
};

/// The components in a directory, in the order of their paths. A component is a directory that holds an etc/eclipse; or, if
/// none of the sites that are named there lies in it, the nearest directory around it in which one does. A directory in a
/// component's etc/eclipse gives that component, with the files of this directory alone. What belongs to no component is of the
/// searched directory itself. Throws FileError when a directory cannot be searched.
std::vector<ComponentDirectory> component_directories(const PluginFunctions& library, DescriptorFiles& files,
                                                      const std::filesystem::path& directory);

}  // namespace eclipse_dry_run

#endif
