// p2 keeps the states of a profile as p2/org.eclipse.equinox.p2.engine/profileRegistry/ID.profile/TIME.profile, or .profile.gz:
//
//   <profile id="..."><units><unit id="..." version="...">
//     <requires><required namespace="..." name="..." optional="true"/> ...</requires> ...</unit> ...</units>
//     <iusProperties><iuProperties id="..." version="..."><properties>
//       <property name="org.eclipse.equinox.p2.type.root" value="true"/> ...</properties></iuProperties> ...</iusProperties>
//     ...</profile>
#include "p2/profile.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <fstream>
#include <map>
#include <memory>
#include <pugixml.hpp>
#include <string_view>
#include <system_error>

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

/// A file is called by the milliseconds at which its state was written; nothing for one that is no state.
std::optional<long long> time_of(const fs::path& file) {
  const std::string name = file.filename().string();
  long long time = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), time);
  const std::string_view rest(end, static_cast<std::size_t>(name.data() + name.size() - end));
  if (error != std::errc() || (rest != ".profile" && rest != ".profile.gz")) return std::nullopt;
  return time;
}

fs::path newest_state(const fs::path& profile) {
  fs::path newest;
  long long newest_time = -1;
  std::error_code error;
  for (const auto& file : fs::directory_iterator(profile, error)) {
    const auto time = time_of(file.path());
    if (!time || *time <= newest_time) continue;
    newest = file.path();
    newest_time = *time;
  }
  return newest;
}

/// The profile that the instance works on, as its configuration says; empty when it does not.
std::string configured_profile(const fs::path& instance) {
  constexpr std::string_view key = "eclipse.p2.profile=";
  std::ifstream configuration(instance / "configuration/config.ini", std::ios::binary);
  for (std::string line; std::getline(configuration, line);) {
    if (!line.starts_with(key)) continue;
    if (line.ends_with('\r')) line.pop_back();
    return line.substr(key.size());
  }
  return "";
}

/// Without a word of the configuration, only a single one is certain to be the right one.
fs::path profile_of(const fs::path& instance) {
  const fs::path registry = instance / "p2/org.eclipse.equinox.p2.engine/profileRegistry";
  if (const std::string configured = configured_profile(instance); !configured.empty()) {
    return registry / (configured + ".profile");
  }
  std::error_code error;
  const fs::directory_iterator all(registry, error);
  std::vector<fs::path> profiles;
  for (const auto& entry : all) profiles.push_back(entry.path());
  return profiles.size() == 1 ? profiles.front() : fs::path();
}

/// The content of a file, be it compressed or not; nothing when it cannot be read to its end.
std::optional<std::string> content_of(const fs::path& file) {
  const std::unique_ptr<gzFile_s, int (*)(gzFile)> stream(gzopen(file.c_str(), "rb"), &gzclose);
  if (!stream) return std::nullopt;
  std::string content;
  std::array<char, 65536> piece;
  int count = 0;
  while ((count = gzread(stream.get(), piece.data(), static_cast<unsigned>(piece.size()))) > 0) {
    content.append(piece.data(), static_cast<std::size_t>(count));
  }
  if (count < 0 || gzeof(stream.get()) == 0) return std::nullopt;
  return content;
}

/// Other namespaces have names of their own: a package is often called as a bundle is, and any bundle may have it.
bool requires_a_unit(const pugi::xml_node& required) {
  const std::string_view name_space = required.attribute("namespace").value();
  return (name_space == "org.eclipse.equinox.p2.iu" || name_space == "osgi.bundle") &&
         !required.attribute("optional").as_bool();
}

using IdAndVersion = std::pair<std::string, std::string>;

std::set<IdAndVersion> roots_in(const pugi::xml_node& profile) {
  std::set<IdAndVersion> roots;
  for (const pugi::xml_node unit : profile.child("iusProperties").children("iuProperties")) {
    const pugi::xml_node root =
        unit.child("properties").find_child_by_attribute("property", "name", "org.eclipse.equinox.p2.type.root");
    if (root.attribute("value").as_bool()) roots.emplace(unit.attribute("id").value(), unit.attribute("version").value());
  }
  return roots;
}

std::vector<InstalledUnit> units_in(const pugi::xml_node& profile) {
  std::vector<InstalledUnit> installed;
  const std::set<IdAndVersion> roots = roots_in(profile);
  std::map<std::string, std::vector<std::string>> requirers;
  for (const pugi::xml_node unit : profile.child("units").children("unit")) {
    const std::string id = unit.attribute("id").value();
    const std::string version = unit.attribute("version").value();
    installed.push_back({id, version, {}, roots.contains({id, version})});
    // A fragment goes with the unit that it configures.
    if (unit.child("hostRequirements")) continue;
    for (const pugi::xml_node required : unit.child("requires").children("required")) {
      if (!requires_a_unit(required)) continue;
      auto& known = requirers[required.attribute("name").value()];
      if (id != required.attribute("name").value() && (known.empty() || known.back() != id)) known.push_back(id);
    }
  }
  for (InstalledUnit& unit : installed) unit.required_by = requirers[unit.id];
  return installed;
}

}  // namespace

fs::path instance_directory(const std::string& executable) {
  std::error_code error;
  const fs::path file = fs::canonical(executable, error);
  return (error ? fs::path(executable) : file).parent_path();
}

fs::path profile_file(const fs::path& instance) {
  const fs::path profile = profile_of(instance);
  return profile.empty() ? fs::path() : newest_state(profile);
}

std::optional<std::vector<InstalledUnit>> profile_units(const fs::path& instance) {
  const auto content = content_of(profile_file(instance));
  pugi::xml_document document;
  if (!content || !document.load_buffer(content->data(), content->size())) return std::nullopt;
  const pugi::xml_node profile = document.child("profile");
  if (!profile.child("units")) return std::nullopt;
  return units_in(profile);
}

std::set<std::string_view> ids_kept_by(std::vector<std::string_view> roots, const std::vector<InstalledUnit>& units) {
  std::multimap<std::string_view, std::string_view> required;
  for (const InstalledUnit& unit : units) {
    for (const std::string& requirer : unit.required_by) required.emplace(requirer, unit.id);
  }
  std::set<std::string_view> kept;
  std::vector<std::string_view>& pending = roots;
  while (!pending.empty()) {
    const std::string_view id = pending.back();
    pending.pop_back();
    if (!kept.insert(id).second) continue;
    const auto [begin, end] = required.equal_range(id);
    for (auto found = begin; found != end; ++found) pending.push_back(found->second);
  }
  return kept;
}

}  // namespace eclipse_p2
