// What an Eclipse instance has installed, as the p2 profile in it records.
#ifndef ECLIPSE_INT_INQUIRY_PROFILE_H
#define ECLIPSE_INT_INQUIRY_PROFILE_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace eclipse_inquiry {

struct InstalledUnit {
  std::string id;
  std::string version;
  std::vector<std::string> required_by;  ///< the ids of the installed units that require it as a unit or as a bundle
};

/// The newest state of the profile of the instance in this folder; empty when there is none, or none that is certain to be its.
std::filesystem::path profile_file(const std::filesystem::path& instance);

/// Every unit that the profile of the instance in this folder has, roots and what came along with them, as its newest state
/// says. Nothing when there is none that can be read, as when the profile is kept elsewhere.
std::optional<std::vector<InstalledUnit>> profile_units(const std::filesystem::path& instance);

}  // namespace eclipse_inquiry

#endif
