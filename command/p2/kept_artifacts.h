// The artifacts that an instance keeps.
#ifndef ECLIPSE_INT_P2_KEPT_ARTIFACTS_H
#define ECLIPSE_INT_P2_KEPT_ARTIFACTS_H

#include <filesystem>
#include <set>
#include <string>

#include "p2/unit.h"

namespace eclipse_p2 {

/// Whether nothing is there, or a dangling symlink. False for what may not be looked at.
bool is_missing(const std::filesystem::path& path);

/// The artifacts that the list of an instance names; none when it cannot be read.
std::set<std::string> listed_artifacts(const std::filesystem::path& instance);

/// Whether an instance has the directory plugins, but in it neither the jar nor the directory of a bundle. A director deletes
/// the line of such a bundle from bundles.info.
bool lacks_plugin(const std::filesystem::path& instance, const Unit& bundle);

}  // namespace eclipse_p2

#endif
