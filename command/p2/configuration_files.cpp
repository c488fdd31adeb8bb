// Seen with the director of Eclipse 4.26: it writes the state of the profile, then bundles.info (and source.info, with the
// bundles of source code), then config.ini. It truncates each of them and writes it; what it writes is never missing a bundle
// of the state.
#include "p2/configuration_files.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <system_error>

#include "base/file.h"
#include "base/text.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

const fs::path configuration_file = "configuration/config.ini";
const fs::path bundle_list = "configuration/org.eclipse.equinox.simpleconfigurator/bundles.info";

namespace {

const fs::path source_list = "configuration/org.eclipse.equinox.source/source.info";

/// Each line is "NAME,VERSION,LOCATION,LEVEL,STARTED".
void add_bundles(const fs::path& list, std::set<Unit>& bundles) {
  for (const std::string& line : lines_of(read_file(list, largest::configuration).bytes)) {
    const auto columns = split(line, ',');
    if (!line.starts_with('#') && columns.size() > 1) bundles.insert({columns[0], columns[1]});
  }
}

bool is_setting(const std::string& line) { return !line.starts_with('#') && line.find('=') != std::string::npos; }

bool is_regular(const fs::path& file) {
  std::error_code error;
  return fs::is_regular_file(file, error);
}

bool is_without_settings(const fs::path& instance) {
  if (!is_regular(instance / configuration_file)) return false;
  const FileContent content = read_file(instance / configuration_file, largest::configuration);
  const auto lines = lines_of(content.bytes);
  return content.error.empty() && std::none_of(lines.begin(), lines.end(), is_setting);
}

std::set<Unit> bundles_in(const ProfileState& state) {
  std::set<Unit> bundles;
  if (!state.units) return bundles;
  for (const InstalledUnit& unit : *state.units) {
    if (unit.is_bundle) bundles.insert({unit.id, unit.version});
  }
  return bundles;
}

std::vector<Unit> without(const std::set<Unit>& all, const std::set<Unit>& others) {
  std::vector<Unit> rest;
  std::set_difference(all.begin(), all.end(), others.begin(), others.end(), std::back_inserter(rest));
  return rest;
}

/// The newest readable state with none of these bundles.
std::optional<std::string> time_without(const std::vector<Unit>& bundles, const std::vector<fs::path>& states) {
  for (const fs::path& file : states) {
    const ProfileState state = read_profile_state(file);
    if (!state.error.empty()) continue;
    const std::set<Unit> its_bundles = bundles_in(state);
    if (std::none_of(bundles.begin(), bundles.end(), [&](const Unit& bundle) { return its_bundles.contains(bundle); })) {
      return state.time;
    }
  }
  return std::nullopt;
}

std::string names_of(const std::vector<Unit>& bundles) {
  constexpr std::size_t most_named = 3;
  std::vector<std::string> names;
  names.reserve(bundles.size());
  for (const Unit& bundle : bundles) names.push_back(text_of(bundle));
  return first_few(names, most_named);
}

/// A bundle that even the oldest state has may have been without a line from the beginning, so it says nothing.
std::optional<ConfigurationDamage> unlisted_bundles(const fs::path& instance, std::vector<Unit> missing) {
  const std::vector<fs::path> states = profile_states(instance);
  if (states.empty()) return std::nullopt;
  const std::set<Unit> oldest = bundles_in(read_profile_state(states.back()));
  std::erase_if(missing, [&](const Unit& bundle) { return oldest.contains(bundle); });
  if (missing.empty()) return std::nullopt;
  return ConfigurationDamage{instance / bundle_list,
                             "does not list " + names_of(missing) + ", although the p2 profile has it as installed", true,
                             time_without(missing, states).value_or("")};
}

std::optional<ConfigurationDamage> bundle_list_damage(const fs::path& instance, const ProfileState& state) {
  // A director that installs into another directory keeps the list there.
  if (!was_written_in(state, instance) || !is_regular(instance / bundle_list)) return std::nullopt;
  const std::set<Unit> wanted = bundles_in(state);
  std::set<Unit> listed = listed_bundles(instance);
  add_bundles(instance / source_list, listed);
  const std::vector<Unit> missing = without(wanted, listed);
  if (missing.size() * 2 <= wanted.size()) return unlisted_bundles(instance, missing);
  return ConfigurationDamage{instance / bundle_list,
                             "lists " + std::to_string(wanted.size() - missing.size()) + " of the " +
                                 counted(wanted.size(), "bundle") + " that the p2 profile has as installed",
                             false, ""};
}

}  // namespace

std::optional<std::string> configured_value(const fs::path& instance, const std::string& key) {
  const FileContent configuration = read_file(instance / configuration_file, largest::configuration);
  for (const std::string& line : lines_of(configuration.bytes)) {
    if (line.starts_with(key + "=")) return std::string(trimmed(std::string_view(line).substr(key.size() + 1), "\r"));
  }
  return std::nullopt;
}

std::set<Unit> listed_bundles(const fs::path& instance) {
  std::set<Unit> bundles;
  add_bundles(instance / bundle_list, bundles);
  return bundles;
}

std::optional<ConfigurationDamage> configuration_damage(const fs::path& instance, const ProfileState& state) {
  if (is_without_settings(instance)) return ConfigurationDamage{instance / configuration_file, "has no settings", false, ""};
  return bundle_list_damage(instance, state);
}

std::vector<Unit> bundles_left(const fs::path& instance, const ProfileState& first, const ProfileState& second) {
  std::vector<Unit> left = without(bundles_in(first), bundles_in(second));
  const std::set<Unit> listed = listed_bundles(instance);
  std::erase_if(left, [&](const Unit& bundle) { return !listed.contains(bundle); });
  return left;
}

}  // namespace eclipse_p2
