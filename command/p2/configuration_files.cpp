// Seen with the director of Eclipse 4.26: it writes the state of the profile, then bundles.info (and source.info, with the
// bundles of source code), then config.ini. It truncates each of them and writes it; what it writes is never missing a bundle
// of the state.
#include "p2/configuration_files.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/file.h"
#include "base/limits.h"
#include "base/text.h"
#include "p2/data_area.h"
#include "p2/instance_paths.h"
#include "p2/kept_artifacts.h"
#include "p2/xml.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

/// Each line is "NAME,VERSION,LOCATION,LEVEL,STARTED". Returns why the file cannot be read; empty when it can.
std::string add_bundles(const fs::path& list, std::set<Unit>& bundles) {
  const FileContent content = read_file(list, largest::configuration);
  for (const std::string& line : lines_of(content.bytes)) {
    const auto columns = split(line, ',');
    if (!line.starts_with('#') && columns.size() > 1) bundles.insert({columns[0], columns[1]});
  }
  return content.error;
}

bool is_setting(const std::string& line) { return !line.starts_with('#') && line.find('=') != std::string::npos; }

/// What is wrong with a file that is not there, to be read after its name. Empty for a regular file, and when it is unknown.
std::string why_no_file(const fs::path& file) {
  std::error_code error;
  const auto type = fs::status(file, error).type();
  const bool is_loop = error == std::errc::too_many_symbolic_link_levels;
  if (type == fs::file_type::regular || (type == fs::file_type::none && !is_loop)) return "";
  if (type != fs::file_type::not_found && !is_loop) return "is not a regular file";
  return fs::is_symlink(fs::symlink_status(file, error)) ? "is a dangling symlink" : "is missing";
}

std::set<Unit> bundles_in(const ProfileState& state) {
  std::set<Unit> bundles;
  if (!state.units) return bundles;
  for (const InstalledUnit& unit : *state.units) {
    if (unit.is_bundle) bundles.insert(unit.unit());
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
  std::vector<std::string> names;
  names.reserve(bundles.size());
  for (const Unit& bundle : bundles) names.push_back(text_of(bundle));
  return first_few(names);
}

bool has_bundle(const ProfileState& state, std::string_view id) {
  return state.units && std::any_of(state.units->begin(), state.units->end(),
                                    [&](const InstalledUnit& unit) { return unit.is_bundle && unit.id == id; });
}

/// The bundles that an instance, or a copy of these files, starts with, and those of source code. Nothing when the list of the
/// former cannot be read.
std::optional<std::set<Unit>> bundles_of_lists(const fs::path& place) {
  std::set<Unit> bundles;
  if (!add_bundles(place / bundle_list, bundles).empty()) return std::nullopt;
  add_bundles(place / source_list, bundles);
  return bundles;
}

/// A bundle that even the oldest state has may have been without a line from the beginning.
std::vector<Unit> added_later(std::vector<Unit> bundles, const fs::path& instance) {
  if (bundles.empty()) return {};
  const std::vector<fs::path> states = profile_states(instance);
  if (states.empty()) return {};
  const std::set<Unit> oldest = bundles_in(read_profile_state(states.back()));
  std::erase_if(bundles, [&](const Unit& bundle) { return oldest.contains(bundle); });
  return bundles;
}

/// The files of an instance, or of a copy of them.
class Files {
 public:
  Files(fs::path place, const fs::path& instance, const ProfileState& state, const std::vector<fs::path>& known)
      : place_(std::move(place)), instance_(instance), state_(state), known_(known) {}

  std::optional<ConfigurationDamage> damage() const {
    // Whoever removes the whole product removes these files, too.
    if (!state_.units || state_.units->empty()) return std::nullopt;
    if (auto damage = settings_damage()) return damage;
    auto of_list = bundle_list_damage();
    if (of_list && !of_list->is_startable) return of_list;
    auto of_artifacts = artifact_list_damage();
    return of_artifacts ? of_artifacts : of_list;
  }

 private:
  /// The state shows that the instance starts from its own configuration: a director that installs into another directory
  /// keeps it there.
  bool starts_from_configuration() const {
    return !state_.install_folder.empty() && is_about(state_, instance_) &&
           has_bundle(state_, "org.eclipse.equinox.simpleconfigurator") && data_area_of(instance_).is_inside;
  }

  bool starts_from_bundle_list() const {
    const auto url = configured_value(place_, "org.eclipse.equinox.simpleconfigurator.configUrl");
    return starts_from_configuration() &&
           (!url || unescaped(*url) == "file:org.eclipse.equinox.simpleconfigurator/bundles.info");
  }

  bool is_known(const char* file) const { return std::find(known_.begin(), known_.end(), file) != known_.end(); }

  std::optional<ConfigurationDamage> settings_damage() const {
    const fs::path file = place_ / configuration_file;
    const std::string none = why_no_file(file);
    if (!none.empty()) {
      if (!is_known(configuration_file) && !starts_from_configuration()) return std::nullopt;
      return ConfigurationDamage{file, none, consequence::director_fails, false, ""};
    }
    const FileContent content = read_file(file, largest::configuration);
    const auto lines = lines_of(content.bytes);
    if (!content.error.empty() || std::any_of(lines.begin(), lines.end(), is_setting)) return std::nullopt;
    return ConfigurationDamage{file, "has no settings", consequence::director_fails, false, ""};
  }

  std::optional<ConfigurationDamage> bundle_list_damage() const {
    const fs::path file = place_ / bundle_list;
    const std::string none = why_no_file(file);
    if (!none.empty()) {
      if (!is_known(bundle_list) && !starts_from_bundle_list()) return std::nullopt;
      return ConfigurationDamage{file, none, "so Eclipse no longer starts once a director has run", false, ""};
    }
    if (!is_about(state_, instance_)) return std::nullopt;
    const std::set<Unit> wanted = bundles_in(state_);
    const auto listed = bundles_of_lists(place_);
    if (!listed) return std::nullopt;
    const std::vector<Unit> missing = without(wanted, *listed);
    if (missing.size() * 2 <= wanted.size()) return damage_of_unlisted(missing);
    return ConfigurationDamage{file,
                               "lists " + std::to_string(wanted.size() - missing.size()) + " of the " +
                                   counted(wanted.size(), "bundle") + " that the p2 profile lists as installed",
                               consequence::director_fails, false, ""};
  }

  /// p2 takes a list that it cannot read for none, and says nothing.
  std::optional<ConfigurationDamage> artifact_list_damage() const {
    const fs::path file = place_ / artifact_list;
    std::string error = why_no_file(file);
    if (!error.empty() && !is_known(artifact_list)) return std::nullopt;
    if (error.empty()) {
      const FileContent content = read_file(file, largest::profile);
      const Xml xml = content.error.empty() ? read_xml(content.bytes, "repository") : Xml();
      if (!xml.exceeds_limit) error = xml.error;
    }
    if (error.empty()) return std::nullopt;
    return ConfigurationDamage{file, error, "so the next director starts a new list of artifacts", true, "", true};
  }

  std::optional<ConfigurationDamage> damage_of_unlisted(std::vector<Unit> missing) const {
    std::erase_if(missing, [&](const Unit& bundle) { return lacks_plugin(instance_, bundle); });
    missing = added_later(std::move(missing), instance_);
    if (missing.empty()) return std::nullopt;
    return ConfigurationDamage{
        place_ / bundle_list, "does not list " + names_of(missing) + ", although the p2 profile lists it as installed",
        "so Eclipse does not start it", true, time_without(missing, profile_states(instance_)).value_or("")};
  }

  fs::path place_;
  const fs::path& instance_;
  const ProfileState& state_;
  const std::vector<fs::path>& known_;
};

}  // namespace

std::optional<std::string> configured_value(const fs::path& instance, const std::string& key) {
  const FileContent configuration = read_file(instance / configuration_file, largest::configuration);
  for (const std::string& line : lines_of(configuration.bytes)) {
    if (line.starts_with(key + "=")) return std::string(trimmed(std::string_view(line).substr(key.size() + 1), "\r"));
  }
  return std::nullopt;
}

std::string unescaped(std::string_view value) {
  std::string text;
  for (std::size_t at = 0; at < value.size(); ++at) {
    const bool is_escape = value[at] == '\\' && at + 1 < value.size() && value[at + 1] != 'u';
    text += value[is_escape ? ++at : at];
  }
  return text;
}

std::vector<Unit> unlisted_bundles(const fs::path& instance, const std::set<Unit>& bundles) {
  const auto listed = bundles_of_lists(instance);
  return listed ? added_later(without(bundles, *listed), instance) : std::vector<Unit>();
}

std::set<Unit> listed_bundles(const fs::path& instance) {
  std::set<Unit> bundles;
  add_bundles(instance / bundle_list, bundles);
  return bundles;
}

std::optional<ConfigurationDamage> configuration_damage(const fs::path& instance, const ProfileState& state,
                                                        const std::vector<fs::path>& known) {
  return Files(instance, instance, state, known).damage();
}

std::optional<ConfigurationDamage> damage_of_copy(const fs::path& copy, const fs::path& instance, const ProfileState& state) {
  return Files(copy, instance, state, {}).damage();
}

std::optional<ConfigurationDamage> surplus_bundles(const fs::path& instance, const ProfileState& newest) {
  if (!newest.units || !is_about(newest, instance)) return std::nullopt;
  const std::set<Unit> listed = listed_bundles(instance);
  const std::set<Unit> known = bundles_in(newest);
  // What no renamed state has, a person has listed.
  std::vector<Unit> unknown = without(listed, known);
  if (unknown.empty()) return std::nullopt;
  std::set<Unit> moved;
  for (const fs::path& file : states_aside(instance)) moved.merge(bundles_in(read_profile_state(file)));
  std::erase_if(unknown, [&](const Unit& bundle) { return !moved.contains(bundle); });
  if (unknown.empty()) return std::nullopt;
  ConfigurationDamage damage{instance / bundle_list,
                             "lists " + names_of(unknown) + ", which only states that were renamed contain",
                             consequence::bundles_stay, true, ""};
  damage.surplus = std::move(unknown);
  return damage;
}

std::vector<Unit> orphaned_bundles(const fs::path& instance, const ProfileState& first, const ProfileState& second) {
  std::vector<Unit> left = without(bundles_in(first), bundles_in(second));
  const std::set<Unit> listed = listed_bundles(instance);
  std::erase_if(left, [&](const Unit& bundle) { return !listed.contains(bundle); });
  return left;
}

}  // namespace eclipse_p2
