// Seen with the director of Eclipse 4.26: bundles.info names the file of each bundle, by its path from the directory of the
// instance or by a URL. A feature is a directory below features/, if artifacts.xml lists it there; otherwise the instance keeps
// its features elsewhere, or none. A director that installs a unit again does not restore its files: only one that removes it
// first does.
#include "p2/missing_files.h"

#include <optional>
#include <pugixml.hpp>
#include <set>
#include <string>
#include <system_error>

#include "base/file.h"
#include "base/limits.h"
#include "base/text.h"
#include "base/uri.h"
#include "p2/artifact_location.h"
#include "p2/artifact_name.h"
#include "p2/configuration_files.h"
#include "p2/instance_paths.h"
#include "p2/names.h"
#include "p2/xml.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

/// False for what may not be looked at.
bool is_missing(const fs::path& path) {
  std::error_code error;
  return fs::status(path, error).type() == fs::file_type::not_found;
}

/// Where a line of bundles.info leads; nothing when that is not on this disk.
std::optional<fs::path> path_of_bundle(const fs::path& instance, const std::string& location) {
  if (has_scheme(location)) return file_of_uri(location);
  fs::path path = instance / location;
  if (!is_missing(path)) return path;
  const auto decoded = without_escapes(location);
  return decoded ? std::optional(fs::absolute(instance / *decoded).lexically_normal()) : std::nullopt;
}

void add_missing_bundles(const fs::path& instance, const std::set<Unit>& bundles, std::vector<UnitFile>& missing) {
  const FileContent list = read_file(instance / bundle_list, largest::configuration);
  for (const std::string& line : lines_of(list.bytes)) {
    const auto columns = split(line, ',');
    if (line.starts_with('#') || columns.size() < 3 || !bundles.contains({columns[0], columns[1]})) continue;
    const auto path = path_of_bundle(instance, columns[2]);
    if (path && is_missing(*path)) missing.push_back({{columns[0], columns[1]}, *path});
  }
}

/// Those that a director has deleted from bundles.info since. What the oldest state has may never have had a line.
void add_unlisted_bundles(const fs::path& instance, const std::set<Unit>& bundles, std::vector<UnitFile>& missing) {
  const std::set<Unit> listed = listed_bundles(instance);
  std::set<Unit> lost;
  for (const Unit& bundle : bundles) {
    if (!listed.contains(bundle) && lacks_plugin(instance, bundle)) lost.insert(bundle);
  }
  const std::vector<fs::path> states = profile_states(instance);
  if (lost.empty() || listed.empty() || states.empty()) return;
  const ProfileState oldest = read_profile_state(states.back());
  if (!oldest.units) return;
  for (const InstalledUnit& unit : *oldest.units) lost.erase(unit.unit());
  for (const Unit& bundle : lost)
    missing.push_back({bundle, instance / plugins_directory / (name_in_instance(bundle) + ".jar")});
}

void add_missing_features(const fs::path& instance, const std::set<Unit>& units, std::vector<UnitFile>& missing) {
  const FileContent list = read_file(instance / artifact_list, largest::profile);
  const Xml xml = read_xml(list.bytes, "repository");
  if (!list.error.empty() || !xml.error.empty()) return;
  for (const pugi::xml_node artifact : xml.document.child("repository").child("artifacts").children("artifact")) {
    const std::string_view classifier = artifact.attribute("classifier").value();
    const Unit unit = unit_of_artifact(name_of_artifact(artifact));
    if (classifier != feature_name_space || !units.contains(unit)) continue;
    const std::string name = std::string(artifact.attribute("id").value()) + "_" + unit.version;
    const fs::path path = instance / features_directory / name;
    if (is_missing(path) && is_missing(fs::path(path).concat(".jar"))) missing.push_back({unit, path});
  }
}

}  // namespace

bool lacks_plugin(const fs::path& instance, const Unit& bundle) {
  std::error_code error;
  const fs::path plugins = instance / plugins_directory;
  const fs::path directory = plugins / name_in_instance(bundle);
  return fs::is_directory(plugins, error) && is_missing(directory) && is_missing(fs::path(directory).concat(".jar"));
}

std::vector<UnitFile> missing_files(const fs::path& instance, const std::vector<InstalledUnit>& units) {
  std::set<Unit> all;
  std::set<Unit> bundles;
  for (const InstalledUnit& unit : units) {
    all.insert(unit.unit());
    if (unit.is_bundle) bundles.insert(unit.unit());
  }
  std::vector<UnitFile> missing;
  add_missing_bundles(instance, bundles, missing);
  add_unlisted_bundles(instance, bundles, missing);
  add_missing_features(instance, all, missing);
  return missing;
}

}  // namespace eclipse_p2
