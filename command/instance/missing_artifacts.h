// The files that an Eclipse instance needs again when it goes back to an older state.
#ifndef ECLIPSE_INT_INSTANCE_MISSING_ARTIFACTS_H
#define ECLIPSE_INT_INSTANCE_MISSING_ARTIFACTS_H

#include <filesystem>
#include <string>
#include <vector>

#include "p2/profile.h"

namespace eclipse_instance {

/// What the director would not find, so that it fails.
struct MissingArtifacts {
  std::vector<std::string> artifacts;   ///< "feature ID VERSION", "bundle ID VERSION"; none when all can be had
  std::vector<std::string> unexamined;  ///< the URLs of repositories that cannot be examined here

  bool is_certain() const { return !artifacts.empty() && unexamined.empty(); }
};

/// Of the way from the newest state of the instance in this directory to another one, with these repositories. Both states can
/// be read. Nothing is missing when it is not known where the instance keeps its bundles.
MissingArtifacts missing_artifacts(const std::filesystem::path& instance, const eclipse_p2::ProfileState& newest,
                                   const eclipse_p2::ProfileState& target, const std::vector<std::string>& urls);

}  // namespace eclipse_instance

#endif
