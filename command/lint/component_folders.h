// Components in folders, where no session says which folders they are.
#ifndef ECLIPSE_INT_LINT_COMPONENT_FOLDERS_H
#define ECLIPSE_INT_LINT_COMPONENT_FOLDERS_H

#include <filesystem>
#include <string>
#include <vector>

#include "dry_run/plugin_functions.h"

namespace eclipse_lint {

struct FoundFile {
  std::string listed;  ///< from the component's folder on, as its package would list it
  std::string shown;   ///< from the folder that was searched on, as that was named
};

struct ComponentFolder {
  std::filesystem::path path;    ///< absolute
  std::vector<FoundFile> files;  ///< in the order of their paths; what is no file but no folder with files either is among them
};

/// The components in a folder, in the order of their paths. A component is a folder that holds an etc/eclipse; or, if none of
/// the sites that are named there lies in it, the nearest folder around it in which one does. A folder in a component's
/// etc/eclipse gives that component, with the files of this folder alone. What belongs to no component is of the searched
/// folder itself. Throws FileFault when a folder cannot be searched.
std::vector<ComponentFolder> component_folders(const eclipse_dry_run::Library& library, const std::filesystem::path& folder);

}  // namespace eclipse_lint

#endif
