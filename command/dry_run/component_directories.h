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
  std::string listed;       ///< relative to the component's directory, as its package would list it
  std::string shown;        ///< the searched directory as it was given, and the path below it
  bool is_example = false;  ///< a descriptor file among documentation or examples, which a package need not list
};

struct ComponentDirectory {
  std::filesystem::path path;    ///< absolute
  std::vector<FoundFile> files;  ///< in the order of their paths, with empty directories and what else is not a directory
};

/// What is wrong with a directory without any, and the fix.
inline constexpr const char* no_descriptor_file =
    "has no descriptor file below etc/eclipse/; give the directory of a component that has one, or write one, for example "
    "with \"eclipse-int new\"";

/// The components in a directory, in the order of their paths. A component is a directory that contains an etc/eclipse; or, if
/// none of the sites named there is in it, the nearest directory above it that contains one. A directory in a component's
/// etc/eclipse gives that component, with the files of this directory alone. Files outside of all components belong to the
/// searched directory. So do descriptor files among documentation and examples, unless there are no others, or their directory
/// is a component beside others, with a repository. Throws FileError when a directory cannot be searched.
std::vector<ComponentDirectory> component_directories(const PluginFunctions& library, DescriptorFiles& files,
                                                      const std::filesystem::path& directory);

}  // namespace eclipse_dry_run

#endif
