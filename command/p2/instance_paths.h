// Where an Eclipse instance is, and where in it Eclipse and p2 keep their files.
#ifndef ECLIPSE_INT_P2_INSTANCE_PATHS_H
#define ECLIPSE_INT_P2_INSTANCE_PATHS_H

#include <filesystem>
#include <string>

namespace eclipse_p2 {

// Relative to the directory of the instance. What belongs to p2 alone is usually in `data_directory`, but need not be
// (p2/data_area.h).
inline constexpr const char* configuration_directory = "configuration";
inline constexpr const char* configuration_file = "configuration/config.ini";
inline constexpr const char* bundle_list_directory = "configuration/org.eclipse.equinox.simpleconfigurator";
inline constexpr const char* bundle_list = "configuration/org.eclipse.equinox.simpleconfigurator/bundles.info";
inline constexpr const char* source_list = "configuration/org.eclipse.equinox.source/source.info";  ///< bundles of source code
inline constexpr const char* update_configuration = "configuration/org.eclipse.update/platform.xml";
inline constexpr const char* artifact_list = "artifacts.xml";  ///< also of a repository
inline constexpr const char* data_directory = "p2";
inline constexpr const char* dropins_directory = "dropins";
inline constexpr const char* features_directory = "features";  ///< also of a repository
inline constexpr const char* plugins_directory = "plugins";    ///< also of a repository

// Relative to the data directory of p2.
inline constexpr const char* profile_registry = "org.eclipse.equinox.p2.engine/profileRegistry";
inline constexpr const char* engine_settings = "org.eclipse.equinox.p2.engine/.settings";
inline constexpr const char* repository_settings = "org.eclipse.equinox.p2.repository";

/// The executable that a person means who names an instance by its executable or by its directory; absolute.
std::filesystem::path executable_named(const std::filesystem::path& eclipse);

/// The full path of the executable that is named, or that is in the directory that is named. Throws FileError.
std::string existing_executable(const std::string& eclipse);

/// The directory of the instance whose executable this is, also when a link names it.
std::filesystem::path instance_directory(const std::string& executable);

}  // namespace eclipse_p2

#endif
