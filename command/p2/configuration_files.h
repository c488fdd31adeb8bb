// What an instance starts, in the files that a director writes after the state of the profile, each without a moment in which
// the old content or the new one is complete: a director that is killed, or has no room, leaves them empty, cut or as they
// were.
#ifndef ECLIPSE_INT_P2_CONFIGURATION_FILES_H
#define ECLIPSE_INT_P2_CONFIGURATION_FILES_H

#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "p2/profile.h"
#include "p2/unit.h"

namespace eclipse_p2 {

/// The settings of the configuration file with this key; nothing when it has none or cannot be read. Its escapes stay.
std::optional<std::string> configured_value(const std::filesystem::path& instance, const std::string& key);

/// A value without the backslashes of its escapes. Those of a character's number (\u00E4) stay.
std::string unescaped(std::string_view value);

/// The bundles that the instance in this directory starts with.
std::set<Unit> listed_bundles(const std::filesystem::path& instance);

/// Those of these bundles that the instance in this directory lists neither there nor among the bundles of source code,
/// although a director has added them. None when the list of those that it starts with cannot be read.
std::vector<Unit> unlisted_bundles(const std::filesystem::path& instance, const std::set<Unit>& bundles);

/// What comes of damage to an instance.
namespace consequence {
inline constexpr const char* director_fails = "so every director fails";
inline constexpr const char* bundles_stay = "so Eclipse keeps starting bundles that no director can remove";
}  // namespace consequence

struct ConfigurationDamage {
  std::filesystem::path file;
  std::string error;               ///< to be read after its name, such as "is missing"
  std::string consequence;         ///< to be read after the error, such as "so every director fails"
  bool is_startable = true;        ///< a director can be started nevertheless, and does no more harm
  std::string time_before;         ///< of the newest state that goes with the file as it is; empty when there is none
  bool is_replaced = false;        ///< the next director makes a new file without what was in it
  std::vector<Unit> surplus = {};  ///< bundles that are listed, and that only renamed states have
};

/// What is wrong with these files of the instance in this directory, given a state of its profile. A file that is not there is
/// damage if the state shows that the instance starts from it, or if it is one of those that are known, relative to the
/// directory, to have been there: otherwise the instance is one of another kind.
std::optional<ConfigurationDamage> configuration_damage(const std::filesystem::path& instance, const ProfileState& state,
                                                        const std::vector<std::filesystem::path>& known = {});

/// The same of a copy of these files, which have their names in another directory.
std::optional<ConfigurationDamage> damage_of_copy(const std::filesystem::path& copy, const std::filesystem::path& instance,
                                                  const ProfileState& state);

/// The bundles that the instance lists and that this state, its newest one, lacks, but a renamed state has.
std::optional<ConfigurationDamage> surplus_bundles(const std::filesystem::path& instance, const ProfileState& newest);

/// The bundles that the instance lists, and that only the first of two states has.
std::vector<Unit> orphaned_bundles(const std::filesystem::path& instance, const ProfileState& first,
                                   const ProfileState& second);

}  // namespace eclipse_p2

#endif
