// Files that were deleted from an Eclipse instance by something other than its director, which does not notice it.
#ifndef ECLIPSE_INT_P2_MISSING_FILES_H
#define ECLIPSE_INT_P2_MISSING_FILES_H

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "p2/profile.h"
#include "p2/unit.h"

namespace eclipse_p2 {

/// The jar or the directory of a unit.
struct UnitFile {
  Unit unit;
  std::filesystem::path path;
};

inline constexpr const char* fix_of_missing_file =
    "remove all features that contain the unit, and install them again; or restore the file";

/// Of these units, which the instance in this directory has installed, those files that do not exist although bundles.info
/// names them or has named them, or although they are among the artifacts that the instance lists.
std::vector<UnitFile> missing_files(const std::filesystem::path& instance, const std::set<std::string>& listed,
                                    const std::vector<InstalledUnit>& units);

}  // namespace eclipse_p2

#endif
