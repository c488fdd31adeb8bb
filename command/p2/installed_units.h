// What an Eclipse instance has installed, as its director and its profile report.
#ifndef ECLIPSE_INT_P2_INSTALLED_UNITS_H
#define ECLIPSE_INT_P2_INSTALLED_UNITS_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "p2/instance_error.h"
#include "p2/profile.h"
#include "p2/unit.h"
#include "shell/command_runner.h"

namespace eclipse_p2 {

/// That the instance with this executable has no profile that is known, and why.
InstanceError no_profile(const std::string& executable);

struct InstalledUnits {
  std::vector<Unit> roots;  ///< what was installed by name, in the order of their texts
  /// The roots and all that was installed as their requirement; nothing when the instance's profile cannot be read.
  std::optional<std::vector<eclipse_p2::InstalledUnit>> all;
  std::string profile_error = {};  ///< why that is, as profile_units_error() says it
};

/// Asks the director of an instance for the roots, and its profile for all units. Throws InstanceError.
InstalledUnits installed_units(const std::string& executable, const eclipse_shell::CommandProgress& progress = {});

/// The same without a director, as the profile of the instance in this directory records it. Nothing when it cannot be read.
std::optional<InstalledUnits> recorded_units(const std::filesystem::path& instance, ProfileStates& states);
/// The same, read anew.
std::optional<InstalledUnits> recorded_units(const std::filesystem::path& instance);

/// A list of all units as what is installed.
InstalledUnits installed_of(std::vector<InstalledUnit> all);

/// The units in what the director prints when it is asked for them.
std::vector<Unit> units_in(std::string_view output);

}  // namespace eclipse_p2

#endif
