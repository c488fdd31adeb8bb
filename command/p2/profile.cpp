// p2 keeps the states of a profile in its data area, as org.eclipse.equinox.p2.engine/profileRegistry/ID.profile/TIME.profile,
// or .profile.gz:
//
//   <profile id="..."><properties><property name="org.eclipse.equinox.p2.installFolder" value="/opt/ide"/> ...</properties>
//     <units><unit id="..." version="...">
//     <requires><required namespace="..." name="..." optional="true"/> ...</requires>
//     <artifacts><artifact classifier="osgi.bundle" id="..." version="..."/> ...</artifacts> ...</unit> ...</units>
//     <iusProperties><iuProperties id="..." version="..."><properties>
//       <property name="org.eclipse.equinox.p2.type.root" value="true"/> ...</properties></iuProperties> ...</iusProperties>
//     ...</profile>
#include "p2/profile.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdlib>
#include <ctime>
#include <map>
#include <pugixml.hpp>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/archive.h"
#include "base/file.h"
#include "base/limits.h"
#include "base/printable.h"
#include "base/text.h"
#include "p2/artifact_location.h"
#include "p2/configuration_files.h"
#include "p2/data_area.h"
#include "p2/instance_paths.h"
#include "p2/names.h"
#include "p2/requirement.h"
#include "p2/version.h"
#include "p2/xml.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

constexpr std::string_view suffix = ".profile";  ///< of a state, and of the directory of a profile
constexpr std::string_view packed_suffix = ".profile.gz";

bool is_named_like_state(std::string_view name) { return name.ends_with(suffix) || name.ends_with(packed_suffix); }

/// A state's file name starts with the milliseconds at which it was written; nothing for a file that is not a state.
std::optional<long long> time_of(const fs::path& file) {
  const std::string name = file.filename().string();
  long long time = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), time);
  const std::string_view rest(end, static_cast<std::size_t>(name.data() + name.size() - end));
  if (error != std::errc() || (rest != suffix && rest != packed_suffix)) return std::nullopt;
  return time;
}

struct ProfileDirectory {
  fs::path path;       ///< empty when it is not known which one it is
  std::string reason;  ///< why a place that the instance names is not known, beginning with the name of a file
};

/// p2 keeps a profile whose name has one of these characters under another name, as it does with "%47;" for a slash.
bool is_plain_file_name(std::string_view name) {
  constexpr std::string_view odd("\\/:*?\"<>|%\0", 11);
  return !name.empty() && name.find_first_of(odd) == name.npos;
}

constexpr const char* profile_key = "eclipse.p2.profile";

/// Without a word of the configuration, only a single one is certain to be the right one.
ProfileDirectory directory_of_profile(const fs::path& instance) {
  const DataArea data = data_area_of(instance);
  if (data.directory.empty()) return {"", data.reason};
  const fs::path registry = data.directory / profile_registry;
  if (const auto configured = configured_value(instance, profile_key)) {
    const std::string name = unescaped(*configured);
    if (is_plain_file_name(name)) return {registry / (name + std::string(suffix)), ""};
    return {"", (instance / configuration_file).string() + " has " + profile_key + "=" + *configured +
                    ", which is not a plain file name; correct it"};
  }
  std::error_code error;
  const fs::directory_iterator all(registry, error);
  std::vector<fs::path> profiles;
  for (const auto& entry : all) profiles.push_back(entry.path());
  return {profiles.size() == 1 ? profiles.front() : fs::path(), ""};
}

/// What p2 makes a number of: any sign, and no more than 64 bits.
bool is_number(std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  long long number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

/// The name that a file had before it was renamed; empty when it was not.
std::string name_before(const fs::path& file) {
  const std::string name = file.filename().string();
  const auto end = name.find(set_aside_suffix);
  return end == name.npos ? "" : name.substr(0, end);
}

/// Whether a profile has a state that p2 starts from; nothing when that cannot be seen.
std::optional<bool> has_states(const fs::path& directory) {
  std::error_code error;
  const fs::directory_iterator files(directory, error);
  if (error == std::errc::no_such_file_or_directory) return false;
  if (error) return std::nullopt;
  return std::any_of(begin(files), end(files), [](const auto& file) { return time_of(file.path()).has_value(); });
}

/// The names of the profiles that have a state.
std::vector<std::string> profile_names(const fs::path& registry) {
  std::vector<std::string> names;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(registry, error)) {
    const fs::path& directory = entry.path();
    if (directory.extension() == suffix && has_states(directory).value_or(false)) names.push_back(directory.stem());
  }
  std::sort(names.begin(), names.end());
  return names;
}

/// In a file with this ending, p2 takes nothing but gzip data.
Unpacked unpacked(const fs::path& state, std::string content) {
  const std::string before = name_before(state);
  if ((before.empty() ? state.filename().string() : before).ends_with(".gz"))
    return decompress(content, Compression::gzip, largest::profile);
  return {std::move(content), ""};
}

struct StateDocument {
  Xml xml;
  std::string error;
  bool is_damaged = false;  ///< the error is in its content
};

StateDocument read_document(const fs::path& file) {
  FileContent content = read_file(file, largest::profile);
  if (!content.error.empty()) return {{}, content.error};
  const Unpacked text = unpacked(file, std::move(content.bytes));
  StateDocument document{text.error.empty() ? read_xml(text.bytes, "profile") : Xml(), ""};
  document.error = text.error + document.xml.error;
  document.is_damaged = !document.error.empty() && !text.exceeds_limit && !document.xml.exceeds_limit;
  return document;
}

bool requires_a_unit(const pugi::xml_node& required) {
  return is_of_units(required.attribute("namespace").value()) && !required.attribute("optional").as_bool();
}

bool is_bundle(const pugi::xml_node& unit) {
  return static_cast<bool>(unit.child("artifacts").find_child_by_attribute("artifact", "classifier", bundle_name_space));
}

std::set<Unit> roots_in(const pugi::xml_node& profile) {
  std::set<Unit> roots;
  for (const pugi::xml_node unit : profile.child("iusProperties").children("iuProperties")) {
    const pugi::xml_node root =
        unit.child("properties").find_child_by_attribute("property", "name", "org.eclipse.equinox.p2.type.root");
    if (root.attribute("value").as_bool()) roots.insert({unit.attribute("id").value(), unit.attribute("version").value()});
  }
  return roots;
}

std::vector<InstalledUnit> units_in(const pugi::xml_node& profile) {
  std::vector<InstalledUnit> installed;
  const std::set<Unit> roots = roots_in(profile);
  std::map<std::string, std::vector<std::string>> requirers;
  std::multimap<std::string, std::pair<std::string, std::string>> pins;  // ranges and roots
  for (const pugi::xml_node unit : profile.child("units").children("unit")) {
    const std::string id = unit.attribute("id").value();
    const std::string version = unit.attribute("version").value();
    installed.push_back({id, version, {}, roots.contains(Unit{id, version}), is_bundle(unit)});
    installed.back().is_singleton = unit.attribute("singleton").as_bool(true);
    // A fragment goes with the unit that it configures.
    if (unit.child("hostRequirements")) continue;
    for (const pugi::xml_node required : unit.child("requires").children("required")) {
      if (!requires_a_unit(required)) continue;
      if (installed.back().is_root && is_exact(required.attribute("range").value())) {
        pins.emplace(required.attribute("name").value(), std::pair(required.attribute("range").value(), id));
      }
      auto& known = requirers[required.attribute("name").value()];
      if (id != required.attribute("name").value() && (known.empty() || known.back() != id)) known.push_back(id);
    }
  }
  std::map<std::string_view, SharedIds> shared;
  for (auto& [id, ids] : requirers) shared.emplace(id, SharedIds(std::move(ids)));
  for (InstalledUnit& unit : installed) {
    if (const auto found = shared.find(unit.id); found != shared.end()) unit.required_by = found->second;
    const auto [begin, end] = pins.equal_range(unit.id);
    const auto pin = std::find_if(begin, end, [&](const auto& each) { return is_in_range(unit.version, each.second.first); });
    if (pin != end) unit.pinned_by = pin->second.second;
  }
  return installed;
}

}  // namespace

std::vector<fs::path> profile_states(const fs::path& instance) {
  std::vector<std::pair<long long, fs::path>> states;
  std::error_code error;
  for (const auto& file : fs::directory_iterator(directory_of_profile(instance).path, error)) {
    if (const auto time = time_of(file.path())) states.emplace_back(*time, file.path());
  }
  std::sort(states.rbegin(), states.rend());
  std::vector<fs::path> files;
  files.reserve(states.size());
  for (auto& [time, file] : states) files.push_back(std::move(file));
  return files;
}

std::vector<fs::path> misnamed_states(const fs::path& instance) {
  std::vector<fs::path> files;
  std::error_code error;
  for (const auto& file : fs::directory_iterator(directory_of_profile(instance).path, error)) {
    const std::string name = file.path().filename().string();
    const bool is_misnamed = is_named_like_state(name) && !is_number(std::string_view(name).substr(0, name.find(suffix)));
    if (is_misnamed && file.is_regular_file(error)) files.push_back(file.path());
  }
  std::sort(files.begin(), files.end());
  return files;
}

std::vector<fs::path> states_aside(const fs::path& instance) {
  std::vector<fs::path> files;
  std::error_code error;
  for (const auto& file : fs::directory_iterator(directory_of_profile(instance).path, error)) {
    if (time_of(name_before(file.path()))) files.push_back(file.path());
  }
  std::sort(files.rbegin(), files.rend());
  return files;
}

std::string date_of(const std::string& time) {
  const std::time_t seconds = std::strtoll(time.c_str(), nullptr, 10) / 1000;
  std::tm parts{};
  std::array<char, 64> text{};
  if (gmtime_r(&seconds, &parts) == nullptr) return "unknown date";
  return std::string(text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S UTC", &parts));
}

std::string time_of_state(const fs::path& file) {
  const std::string name = file.filename().string();
  return name.substr(0, name.find('.'));
}

bool was_written_in(const ProfileState& state, const fs::path& instance) {
  return state.install_folder.empty() || is_same_file(state.install_folder, instance);
}

bool is_about(const ProfileState& state, const fs::path& instance) {
  return state.is_roaming || was_written_in(state, instance);
}

bool is_before(const std::string& time, const std::string& other) {
  return std::strtoll(time.c_str(), nullptr, 10) < std::strtoll(other.c_str(), nullptr, 10);
}

ProfileState read_profile_state(const fs::path& file) {
  StateDocument document = read_document(file);
  ProfileState state{file, time_of_state(file), std::move(document.error), document.is_damaged, {}};
  const pugi::xml_node profile = document.xml.document.child("profile");
  if (profile.child("units")) state.units = units_in(profile);
  const std::string recorded = profile.attribute("timestamp").value();
  if (is_number(recorded)) state.recorded_time = recorded;
  state.install_folder = property_of(profile, "org.eclipse.equinox.p2.installFolder");
  state.is_roaming = property_of(profile, "org.eclipse.equinox.p2.roaming") == "true";
  return state;
}

const ProfileState& ProfileStates::at(const fs::path& file) {
  const auto found = states_.find(file);
  return found == states_.end() ? states_.emplace(file, read_profile_state(file)).first->second : found->second;
}

ProfileArtifacts read_profile_artifacts(const fs::path& file) {
  const StateDocument document = read_document(file);
  const pugi::xml_node profile = document.xml.document.child("profile");
  ProfileArtifacts artifacts{{}, property_of(profile, "org.eclipse.equinox.p2.cache"), {}};
  for (const char* const more : {"org.eclipse.equinox.p2.cache.extensions", "org.eclipse.equinox.p2.cache.shared"}) {
    for (const std::string& url : split(property_of(profile, more), '|')) {
      if (!url.empty()) artifacts.beside.push_back(url);
    }
  }
  for (const pugi::xml_node unit : profile.child("units").children("unit")) {
    if (std::string_view(unit.child("touchpoint").attribute("id").value()) != osgi_touchpoint) continue;
    for (const pugi::xml_node artifact : unit.child("artifacts").children("artifact")) {
      artifacts.of_units[{unit.attribute("id").value(), unit.attribute("version").value()}].push_back(
          name_of_artifact(artifact));
    }
  }
  return artifacts;
}

fs::path profile_file(const fs::path& instance) {
  const std::vector<fs::path> states = profile_states(instance);
  return states.empty() ? fs::path() : states.front();
}

std::optional<std::vector<InstalledUnit>> profile_units(const fs::path& instance, ProfileStates& states) {
  const fs::path newest = profile_file(instance);
  return newest.empty() ? std::nullopt : states.at(newest).units;
}

std::optional<std::vector<InstalledUnit>> profile_units(const fs::path& instance) {
  ProfileStates states;
  return profile_units(instance, states);
}

std::string profile_units_error(const fs::path& instance) {
  std::string elsewhere = directory_of_profile(instance).reason;
  if (!elsewhere.empty()) return elsewhere;
  const fs::path newest = profile_file(instance);
  const fs::path file = newest.empty() ? instance / configuration_file : newest;
  std::error_code error;
  if (!fs::exists(file, error)) return "";
  if (newest.empty()) {
    const std::string reason = read_file(file, largest::configuration).error;
    return reason.empty() ? "" : file.string() + " " + reason;
  }
  const std::string reason = read_profile_state(newest).error;
  return file.string() + " " + (reason.empty() ? "has no <units> element" : reason);
}

std::optional<MissingProfile> missing_profile(const fs::path& instance) {
  const DataArea data = data_area_of(instance);
  const auto configured = configured_value(instance, profile_key);
  if (!data.is_inside || !configured) return std::nullopt;
  const std::string name = unescaped(*configured);
  const fs::path registry = data.directory / profile_registry;
  if (!is_plain_file_name(name) || has_states(registry / (name + std::string(suffix))).value_or(true)) return std::nullopt;
  const std::string file = (instance / configuration_file).string();
  const auto others = profile_names(registry);
  std::error_code error;
  const bool has_data = fs::exists(data.directory, error);
  std::string message = file + " names the profile " + in_quotes(name) + ", but " + data.directory.string();
  if (others.empty()) {
    return MissingProfile{std::move(message) + (has_data ? " has none" : " does not exist"),
                          "install Eclipse again, together with its directory " + std::string(data_directory)};
  }
  return MissingProfile{std::move(message) + " has only " + each_in_quotes(others),
                        others.size() == 1 ? "write " + std::string(profile_key) + "=" + others.front() + " into that file"
                                           : "write the name of the right one into that file"};
}

std::string why_no_profile(const fs::path& instance) {
  const std::string elsewhere = directory_of_profile(instance).reason;
  return elsewhere.empty() ? "has no p2 profile of its own" : "has a p2 profile that cannot be found: " + elsewhere;
}

std::vector<Unit> roots_of(const std::vector<InstalledUnit>& units) {
  std::vector<Unit> roots;
  for (const InstalledUnit& unit : units) {
    if (unit.is_root) roots.push_back(unit.unit());
  }
  return roots;
}

}  // namespace eclipse_p2
