// The lines of the plug-in's log that tools look for.
#ifndef ECLIPSE_INT_DRY_RUN_LOG_LINES_H
#define ECLIPSE_INT_DRY_RUN_LOG_LINES_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace eclipse_dry_run::log_lines {

/// No package of an IDE component has the executable.
inline constexpr std::string_view executable_not_found = "eclipse_int: eclipse not found";
/// The chosen executable does not exist.
inline constexpr std::string_view instance_missing =
    "eclipse_int: eclipse is not installed and there is not need to perform any integration action";
/// There is nothing to install.
inline constexpr std::string_view nothing_to_install = "eclipse_int: feature or repo list is empty, skip integration";
/// There is nothing to remove.
inline constexpr std::string_view nothing_to_remove = "eclipse_int: feature list is empty";

/// The path in a line that reports the executable of an IDE component; nothing for another line.
std::optional<std::string> found_executable(std::string_view line);

/// The name in a line that reports a listed descriptor file; nothing for another line.
std::optional<std::string> found_descriptor(std::string_view line);

/// The path in a line that reports a descriptor file that does not exist; nothing for another line.
std::optional<std::string> missing_descriptor(std::string_view line);

struct TakenRecord {
  std::string url;  ///< of its repository, as the director gets it
  std::string feature;
};
/// What a line says that reports a record when the lists are built; nothing for another line. A feature that contains "
/// Feature: " cannot be distinguished from the URL before it.
std::optional<TakenRecord> taken_record(std::string_view line);

struct PlacedFeature {
  std::int64_t slot;
  std::string feature;
};
/// What a line says that reports the place of a feature in the install order; nothing for another line.
std::optional<PlacedFeature> placed_feature(std::string_view line);

}  // namespace eclipse_dry_run::log_lines

#endif
