// Seen with the director of Eclipse 4.26: bundles.info names the file of each bundle, by its path from the directory of the
// instance or by a URL. A feature is a directory below features/, if artifacts.xml lists it there; otherwise the instance keeps
// its features elsewhere, or none. A director that installs a unit again does not restore its files: only one that removes it
// first does.
#include "p2/missing_files.h"

#include <optional>
#include <set>
#include <string>

#include "base/file.h"
#include "base/limits.h"
#include "base/text.h"
#include "base/uri.h"
#include "p2/artifact_name.h"
#include "p2/configuration_files.h"
#include "p2/instance_paths.h"
#include "p2/kept_artifacts.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_p2 {

namespace {

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

/// Those whose lines a director has deleted, since it found no file.
void add_unlisted_bundles(const fs::path& instance, const std::set<Unit>& bundles, std::vector<UnitFile>& missing) {
  for (const Unit& bundle : unlisted_bundles(instance, bundles)) {
    if (!lacks_plugin(instance, bundle)) continue;
    missing.push_back({bundle, instance / plugins_directory / (name_in_instance(bundle) + ".jar")});
  }
}

void add_missing_features(const fs::path& instance, const std::set<std::string>& listed, const std::set<Unit>& units,
                          std::vector<UnitFile>& missing) {
  for (const std::string& artifact : listed) {
    const std::string name = directory_of_feature(artifact);
    const Unit unit = unit_of_artifact(artifact);
    if (name.empty() || !units.contains(unit)) continue;
    const fs::path path = instance / features_directory / name;
    if (is_missing(path) && is_missing(fs::path(path).concat(".jar"))) missing.push_back({unit, path});
  }
}

}  // namespace

std::vector<UnitFile> missing_files(const fs::path& instance, const std::set<std::string>& listed,
                                    const std::vector<InstalledUnit>& units) {
  std::set<Unit> all;
  std::set<Unit> bundles;
  for (const InstalledUnit& unit : units) {
    all.insert(unit.unit());
    if (unit.is_bundle) bundles.insert(unit.unit());
  }
  std::vector<UnitFile> missing;
  add_missing_bundles(instance, bundles, missing);
  add_unlisted_bundles(instance, bundles, missing);
  add_missing_features(instance, listed, all, missing);
  return missing;
}

}  // namespace eclipse_p2
