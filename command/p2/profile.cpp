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
#include "base/text.h"
#include "p2/configuration_files.h"
#include "p2/data_area.h"
#include "p2/xml.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

/// A state's file name starts with the milliseconds at which it was written; nothing for a file that is not a state.
std::optional<long long> time_of(const fs::path& file) {
  const std::string name = file.filename().string();
  long long time = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), time);
  const std::string_view rest(end, static_cast<std::size_t>(name.data() + name.size() - end));
  if (error != std::errc() || (rest != ".profile" && rest != ".profile.gz")) return std::nullopt;
  return time;
}

/// Without a word of the configuration, only a single one is certain to be the right one.
fs::path profile_of(const fs::path& instance) {
  const fs::path data = data_area_of(instance).directory;
  if (data.empty()) return {};
  const fs::path registry = data / "org.eclipse.equinox.p2.engine/profileRegistry";
  if (const auto configured = configured_value(instance, "eclipse.p2.profile")) return registry / (*configured + ".profile");
  std::error_code error;
  const fs::directory_iterator all(registry, error);
  std::vector<fs::path> profiles;
  for (const auto& entry : all) profiles.push_back(entry.path());
  return profiles.size() == 1 ? profiles.front() : fs::path();
}

/// In a file with this ending, p2 takes nothing but gzip data.
Unpacked unpacked(const fs::path& state, std::string content) {
  if (state.extension() == ".gz") return decompress(content, Compression::gzip, largest::profile);
  return {std::move(content), ""};
}

/// Names in other namespaces mean other things: a package often has the name of a bundle, and any bundle may contain it.
bool requires_a_unit(const pugi::xml_node& required) {
  const std::string_view name_space = required.attribute("namespace").value();
  return (name_space == "org.eclipse.equinox.p2.iu" || name_space == "osgi.bundle") &&
         !required.attribute("optional").as_bool();
}

bool is_bundle(const pugi::xml_node& unit) {
  return static_cast<bool>(unit.child("artifacts").find_child_by_attribute("artifact", "classifier", "osgi.bundle"));
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
  for (const pugi::xml_node unit : profile.child("units").children("unit")) {
    const std::string id = unit.attribute("id").value();
    const std::string version = unit.attribute("version").value();
    installed.push_back({id, version, {}, roots.contains(Unit{id, version}), is_bundle(unit)});
    // A fragment goes with the unit that it configures.
    if (unit.child("hostRequirements")) continue;
    for (const pugi::xml_node required : unit.child("requires").children("required")) {
      if (!requires_a_unit(required)) continue;
      auto& known = requirers[required.attribute("name").value()];
      if (id != required.attribute("name").value() && (known.empty() || known.back() != id)) known.push_back(id);
    }
  }
  std::map<std::string_view, SharedIds> shared;
  for (auto& [id, ids] : requirers) shared.emplace(id, SharedIds(std::move(ids)));
  for (InstalledUnit& unit : installed) {
    if (const auto found = shared.find(unit.id); found != shared.end()) unit.required_by = found->second;
  }
  return installed;
}

}  // namespace

fs::path instance_directory(const std::string& executable) {
  std::error_code error;
  const fs::path file = fs::canonical(executable, error);
  return (error ? fs::path(executable) : file).parent_path();
}

std::vector<fs::path> profile_states(const fs::path& instance) {
  std::vector<std::pair<long long, fs::path>> states;
  std::error_code error;
  for (const auto& file : fs::directory_iterator(profile_of(instance), error)) {
    if (const auto time = time_of(file.path())) states.emplace_back(*time, file.path());
  }
  std::sort(states.rbegin(), states.rend());
  std::vector<fs::path> files;
  files.reserve(states.size());
  for (auto& [time, file] : states) files.push_back(std::move(file));
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

bool is_before(const std::string& time, const std::string& other) {
  return std::strtoll(time.c_str(), nullptr, 10) < std::strtoll(other.c_str(), nullptr, 10);
}

ProfileState read_profile_state(const fs::path& file) {
  ProfileState state{file, time_of_state(file), "", false, {}};
  FileContent content = read_file(file, largest::profile);
  state.error = content.error;
  if (!state.error.empty()) return state;
  const Unpacked text = unpacked(file, std::move(content.bytes));
  const Xml xml = text.error.empty() ? read_xml(text.bytes, "profile") : Xml();
  state.error = text.error + xml.error;
  state.is_damaged = !state.error.empty() && !text.exceeds_limit && !xml.exceeds_limit;
  const pugi::xml_node profile = xml.document.child("profile");
  if (profile.child("units")) state.units = units_in(profile);
  state.install_folder = property_of(profile, "org.eclipse.equinox.p2.installFolder");
  return state;
}

fs::path profile_file(const fs::path& instance) {
  const std::vector<fs::path> states = profile_states(instance);
  return states.empty() ? fs::path() : states.front();
}

std::optional<std::vector<InstalledUnit>> profile_units(const fs::path& instance) {
  const fs::path newest = profile_file(instance);
  return newest.empty() ? std::nullopt : read_profile_state(newest).units;
}

std::string profile_units_error(const fs::path& instance) {
  std::string elsewhere = data_area_of(instance).reason;
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

std::string why_no_profile(const fs::path& instance) {
  const std::string elsewhere = data_area_of(instance).reason;
  return elsewhere.empty() ? "has no p2 profile of its own" : "has a p2 profile that cannot be found: " + elsewhere;
}

std::vector<Unit> roots_of(const std::vector<InstalledUnit>& units) {
  std::vector<Unit> roots;
  for (const InstalledUnit& unit : units) {
    if (unit.is_root) roots.push_back({unit.id, unit.version});
  }
  return roots;
}

}  // namespace eclipse_p2
