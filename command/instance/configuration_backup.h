// A copy of what an instance starts, which is kept before directors work on it, and brought back when they leave it damaged.
#ifndef ECLIPSE_INT_INSTANCE_CONFIGURATION_BACKUP_H
#define ECLIPSE_INT_INSTANCE_CONFIGURATION_BACKUP_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/file_error.h"

namespace eclipse_instance {

struct ConfigurationBackup {
  std::string time;                          ///< of the newest state when it was kept
  std::vector<std::filesystem::path> files;  ///< relative to the directory of the instance
  std::filesystem::path directory;           ///< in which they have these names
};

/// Keeps a copy of the configuration of the instance in this directory, in the place of an older copy. The instance must not be
/// damaged, and the caller must have its lock. Throws FileError when it cannot be kept; the older copy may be lost then. It is
/// NoSpace when there is no space for the copy, and for the director that writes these files anew.
void back_up_configuration(const std::filesystem::path& instance, const std::string& time);

/// Throws NoSpace when a director that writes the files of the configuration and a state of the profile anew would not find
/// space for them.
void check_space_for_director(const std::filesystem::path& instance);

/// The copy; nothing when there is none that is complete.
std::optional<ConfigurationBackup> configuration_backup(const std::filesystem::path& instance);

/// The files of the instance, with their full paths, that differ from the copy. Throws FileError.
std::vector<std::filesystem::path> differing_files(const ConfigurationBackup& kept, const std::filesystem::path& instance);

/// Replaces these files once the new ones are written, and returns them. What is in the place of one and is not a file gets
/// another name. The caller must have the lock. Throws FileError; nothing is replaced then, unless the replacing itself failed.
std::vector<std::filesystem::path> restore(const ConfigurationBackup& kept, const std::filesystem::path& instance);

}  // namespace eclipse_instance

#endif
