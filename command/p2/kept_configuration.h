// A copy of what an instance starts, which is kept before directors work on it, and brought back when they leave it damaged.
#ifndef ECLIPSE_INT_P2_KEPT_CONFIGURATION_H
#define ECLIPSE_INT_P2_KEPT_CONFIGURATION_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/file_error.h"

namespace eclipse_p2 {

struct KeptConfiguration {
  std::string time;                          ///< of the newest state when it was kept
  std::vector<std::filesystem::path> files;  ///< relative to the directory of the instance
};

/// Keeps a copy of the configuration of the instance in this directory, in the place of an older copy. The instance must not be
/// damaged, and the caller must have its lock. Throws FileError when it cannot be kept; the older copy may be lost then.
void keep_configuration(const std::filesystem::path& instance, const std::string& time);

/// The copy; nothing when there is none that is complete.
std::optional<KeptConfiguration> kept_configuration(const std::filesystem::path& instance);

/// The files of the instance, with their full paths, that differ from the copy. Throws FileError.
std::vector<std::filesystem::path> differing_files(const KeptConfiguration& kept, const std::filesystem::path& instance);

/// Replaces these files, each completely or not at all, and returns them. The caller must have the lock. Throws FileError.
std::vector<std::filesystem::path> bring_back(const KeptConfiguration& kept, const std::filesystem::path& instance);

}  // namespace eclipse_p2

#endif
