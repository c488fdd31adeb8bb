// What an instance starts, in the files that a director writes after the state of the profile, each without a moment in which
// the old content or the new one is complete: a director that is killed, or has no room, leaves them empty, cut or as they
// were.
#ifndef ECLIPSE_INT_P2_CONFIGURATION_FILES_H
#define ECLIPSE_INT_P2_CONFIGURATION_FILES_H

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "p2/profile.h"
#include "p2/unit.h"

namespace eclipse_p2 {

/// Relative to the directory of the instance: its start configuration, and the bundles that it starts with.
extern const std::filesystem::path configuration_file;
extern const std::filesystem::path bundle_list;

/// The settings of the configuration file with this key; nothing when it has none or cannot be read. Its escapes stay.
std::optional<std::string> configured_value(const std::filesystem::path& instance, const std::string& key);

/// The bundles that the instance in this directory starts with.
std::set<Unit> listed_bundles(const std::filesystem::path& instance);

struct ConfigurationDamage {
  std::filesystem::path file;
  std::string error;         ///< to be read after its name, such as "is empty"
  bool is_startable = true;  ///< a director can be started nevertheless
  std::string time_before;   ///< of the newest state that goes with the file as it is; empty when there is none
};

/// What is wrong with these files of the instance in this directory, given a state of its profile. Nothing when a file does not
/// exist: then the instance is one of another kind.
std::optional<ConfigurationDamage> configuration_damage(const std::filesystem::path& instance, const ProfileState& state);

/// The bundles that the instance lists, and that only the first of two states has.
std::vector<Unit> bundles_left(const std::filesystem::path& instance, const ProfileState& first, const ProfileState& second);

}  // namespace eclipse_p2

#endif
