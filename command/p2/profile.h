// What an Eclipse instance has installed, as the p2 profile in it records.
#ifndef ECLIPSE_INT_P2_PROFILE_H
#define ECLIPSE_INT_P2_PROFILE_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "p2/unit.h"

namespace eclipse_p2 {

struct InstalledUnit {
  std::string id;
  std::string version;
  std::vector<std::string> required_by;  ///< the ids of the installed units that require it as a unit or as a bundle
  bool is_root = false;                  ///< it was installed by name; otherwise it came along with another unit
};

/// The directory of the instance whose executable this is, also when a link names it.
std::filesystem::path instance_directory(const std::string& executable);

/// Every state of the profile of the instance in this directory, newest first. p2 starts from the first one and never falls
/// back to another, even if that one is damaged. Empty when there is none, or when it is not certain which profile is the
/// instance's.
std::vector<std::filesystem::path> profile_states(const std::filesystem::path& instance);

/// Why p2 cannot read a state, to be read after its file name, such as "is damaged"; empty when it can.
std::string profile_state_error(const std::filesystem::path& state);

/// The newest state; empty when there is none.
std::filesystem::path profile_file(const std::filesystem::path& instance);

/// Every unit that the profile of the instance in this directory has, roots and what came along with them, as its newest state
/// says. Nothing when there is none that can be read, as when the profile is kept elsewhere.
std::optional<std::vector<InstalledUnit>> profile_units(const std::filesystem::path& instance);

/// The units that were installed by name.
std::vector<Unit> roots_of(const std::vector<InstalledUnit>& units);

}  // namespace eclipse_p2

#endif
