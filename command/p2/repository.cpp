#include "p2/repository.h"

#include <algorithm>
#include <pugixml.hpp>
#include <string_view>
#include <system_error>
#include <utility>

#include "base/limits.h"
#include "base/open_file.h"
#include "base/text.h"
#include "base/uri.h"
#include "p2/artifact_location.h"
#include "p2/names.h"
#include "p2/repository_url.h"
#include "p2/touchpoint_actions.h"
#include "p2/xml.h"

namespace fs = std::filesystem;
namespace largest = eclipse_base::largest;
using eclipse_base::OpenFile;

namespace eclipse_p2 {

namespace {

/// Without "file:" or "file://".
std::string_view path_in(std::string_view url) {
  url.remove_prefix(std::string_view("file:").size());
  if (url.starts_with("///")) url.remove_prefix(2);
  return url;
}

std::string with_slash(std::string directory) {
  while (directory.ends_with('/')) directory.pop_back();
  return directory.empty() ? "" : directory + "/";
}

/// "./a" as "a".
std::string without_dots(std::string_view path) {
  if (path.find("..") != path.npos) return std::string(path);
  const std::string normal = fs::path(path).lexically_normal().string();
  return normal == "." ? "" : normal;
}

/// Where a child of a composite is; nothing when it is not on this disk. The director decodes no "%20", takes "/directory" as
/// relative to the composite too, and resolves no ".." in an archive.
std::optional<RepositoryPlace> place_of_child(std::string_view location, const RepositoryPlace& composite, bool in_archive) {
  if (location.starts_with("jar:file:")) {
    const std::string_view url = location.substr(archive_scheme.size());
    const std::size_t mark = std::min(url.find(archive_end), url.size());
    const std::size_t inside = std::min(mark + archive_end.size(), url.size());
    return RepositoryPlace{path_in(url.substr(0, mark)), with_slash(std::string(url.substr(inside)))};
  }
  if (location.starts_with("file:")) return RepositoryPlace{composite.path / path_in(location)};
  if (eclipse_base::has_scheme(location)) return std::nullopt;
  if (in_archive) return RepositoryPlace{composite.path, composite.inside + with_slash(without_dots(location))};
  return RepositoryPlace{composite.path / fs::path(location).relative_path()};
}

/// A label "%key" stands for the property "df_LT.key".
std::string label_of(const pugi::xml_node& unit) {
  std::string label = property_of(unit, "org.eclipse.equinox.p2.name");
  if (!label.starts_with('%')) return label;
  const std::string translated = property_of(unit, "df_LT." + label.substr(1));
  return translated.empty() ? label : translated;
}

bool is_for_other_system(const pugi::xml_node& unit) {
  const std::string_view filter = unit.child("filter").text().get();
  return filter.find("(osgi.os=") != filter.npos && filter.find("(osgi.os=linux)") == filter.npos &&
         filter.find('!') == filter.npos;
}

std::set<std::string> units_named_in(const std::vector<Requirement>& requirements) {
  std::set<std::string> ids;
  for (const Requirement& requirement : requirements) {
    if (requirement.name_space == unit_name_space) ids.insert(requirement.name);
  }
  return ids;
}

UnitDescription description_of(const pugi::xml_node& unit) {
  UnitDescription description;
  description.label = label_of(unit);
  description.is_category = property_of(unit, "org.eclipse.equinox.p2.type.category") == "true";
  description.is_group = is_group(unit);
  description.is_singleton = unit.attribute("singleton").as_bool(true);
  description.filter = eclipse_base::trimmed(unit.child("filter").text().get());
  description.requirements = requirements_of(unit);
  description.further_capabilities = further_capabilities_of(unit);
  description.names_patched = names_patched_by(unit);
  if (description.is_category) description.members = units_named_in(description.requirements);
  description.is_for_other_system = is_for_other_system(unit);
  description.foreign_actions = foreign_actions_of(unit);
  description.bundle_actions = bundle_actions_of_feature(unit);
  return description;
}

void read_units(const pugi::xml_node& repository, Repository& read) {
  UnitVersions& units = read.units.emplace();
  for (const pugi::xml_node unit : repository.child("units").children("unit")) {
    const Unit name{unit.attribute("id").value(), unit.attribute("version").value()};
    units[name.id].insert(name.version);
    read.descriptions.emplace(name, description_of(unit));
    for (const pugi::xml_node artifact : unit.child("artifacts").children("artifact")) {
      read.needed_artifacts.insert(name_of_artifact(artifact));
    }
  }
}

bool is_packed_by_pack200(const pugi::xml_node& artifact) {
  for (const pugi::xml_node step : artifact.child("processing").children("step")) {
    if (std::string_view(step.attribute("id").value()).find("Pack200") != std::string_view::npos) return true;
  }
  return false;
}

/// Those that are listed in this form alone.
void add_packed(const std::set<std::string>& packed, Repository& read) {
  for (const std::string& name : packed) {
    const bool is_listed_otherwise = read.artifacts->count(name) + read.missing_artifacts.count(name) +
                                         read.damaged_artifacts.count(name) + read.artifacts_elsewhere.count(name) !=
                                     0;
    if (is_listed_otherwise) continue;
    read.damaged_artifacts.emplace(
        name, name + " " + repository_error::pack200 + ", which directors on Java 14 and later cannot unpack");
  }
}

/// The file of an artifact, as far as its repository shows it. A file in an archive is not opened.
struct FoundFile {
  bool exists;
  std::string damage = {};
  std::optional<eclipse_base::FileFacts> facts = {};
};

FoundFile found_file(const std::string& file, std::optional<std::uintmax_t> size, const RepositoryFiles& files) {
  if (files.are_in_archive()) return {files.has(file)};
  const OpenFile jar(files.path() / file);
  if (jar.error().empty()) return {true, jar_damage(jar, size), jar.facts()};
  return {files.has(file), jar.error()};
}

void add_artifact(const pugi::xml_node& artifact, const ArtifactLocation& location, const RepositoryFiles& files,
                  Repository& read) {
  const std::string name = name_of_artifact(artifact);
  const bool is_absolute = location.file.starts_with('/');
  const std::string file = is_absolute && files.are_in_archive() ? "" : location.file;
  const bool is_own_file = !file.empty() && !files.are_in_archive();
  const auto size = fixed_size_of(artifact);
  if (!location.elsewhere.empty()) {
    read.artifacts_elsewhere.emplace(name, location.elsewhere);
  } else if (!file.empty() && files.has_with_backslashes(file)) {
    read.damaged_artifacts.emplace(
        name, file + " " + repository_error::backslashes + " in the archive, where only slashes separate directories");
  } else if (const FoundFile found = file.empty() ? FoundFile{true} : found_file(file, size, files); !found.exists) {
    read.missing_artifacts.emplace(name, file);
  } else if (!found.damage.empty()) {
    read.damaged_artifacts.emplace(name, file + " " + found.damage);
  } else {
    read.artifacts->insert(name);
    if (is_absolute && read.absolute_artifact.empty()) read.absolute_artifact = location.file;
    if (file.empty()) return;
    const fs::path path = is_own_file ? files.path() / file : files.path();
    const std::string entry = is_own_file ? "" : files.entry(file);
    read.artifact_files.emplace(name, ArtifactFile{file, path, checksums_of(artifact), size, entry, found.facts});
  }
}

void read_artifacts(const pugi::xml_node& repository, const RepositoryFiles& files, Repository& read) {
  read.artifacts.emplace();
  std::set<std::string> packed;
  for (const pugi::xml_node artifact : repository.child("artifacts").children("artifact")) {
    if (is_packed_by_pack200(artifact)) {
      packed.insert(name_of_artifact(artifact));
    } else {
      add_artifact(artifact, location_of(artifact, repository), files, read);
    }
  }
  add_packed(packed, read);
}

/// The first reason is kept.
void note(std::string& reason, const std::string& further) {
  if (reason.empty()) reason = further;
}

}  // namespace

void add_to(UnitVersions& units, const UnitVersions& more) {
  for (const auto& [id, versions] : more) units[id].insert(versions.begin(), versions.end());
}

bool is_feature(const Unit& unit, const UnitDescription& description) {
  return unit.id.ends_with(group_suffix) && !description.is_category;
}

bool offers_features(const UnitVersions& units) {
  return std::any_of(units.begin(), units.end(), [](const auto& unit) { return unit.first.ends_with(group_suffix); });
}

/// Looks into one place.
class Repositories::Reader {
 public:
  Reader(Repositories& repositories, RepositoryPlace place, std::size_t depth)
      : repositories_(repositories), place_(std::move(place)), files_(place_, repositories.cache_), depth_(depth) {}

  Repository read() {
    std::error_code error;
    const fs::file_status status = fs::status(place_.path, error);
    const bool is_unreadable = eclipse_p2::is_unreadable(place_.path);
    repository_.exists = fs::exists(status) || is_unreadable;
    if (!repository_.exists) return std::move(repository_);
    repository_.is_directory = fs::is_directory(status);
    repository_.is_unreadable = is_unreadable;
    if (files_.exceeds_limit()) {
      repository_.is_repository = true;
      note(repository_.unexamined_because, "it " + files_.error());
    } else if (!files_.error().empty()) {
      repository_.error = "it " + files_.error();
    } else if (files_.has_any(Listing::content)) {
      repository_.is_repository = true;
      read_listing(Listing::content);
      repository_.lists_artifacts = files_.has_any(Listing::artifacts);
      if (repository_.lists_artifacts) {
        read_listing(Listing::artifacts);
      } else {
        repository_.artifacts.emplace();
      }
    } else {
      repository_.nested = files_.nested_metadata();
      repository_.inner_archive = inner_archive();
    }
    return std::move(repository_);
  }

 private:
  void read_listing(Listing listing) {
    const auto metadata = files_.read(listing);
    if (!metadata) return;
    auto& ignored = repository_.ignored_metadata;
    ignored.insert(ignored.end(), metadata->ignored.begin(), metadata->ignored.end());
    if (metadata->exceeds_limit) {
      note(repository_.unexamined_because, metadata->error);
    } else if (!metadata->error.empty()) {
      repository_.is_unreadable = repository_.is_unreadable || (repository_.error.empty() && metadata->is_unreadable);
      note(repository_.error, metadata->error);
    } else if (const pugi::xml_node root = metadata->document.child("repository"); metadata->is_composite) {
      repository_.is_composite = repository_.is_composite || listing == Listing::content;
      read_children(root, listing);
    } else if (listing == Listing::content) {
      read_units(root, repository_);
    } else {
      read_artifacts(root, files_, repository_);
    }
  }

  /// Of a directory only one that is a repository.
  std::string inner_archive() {
    std::string name = files_.inner_archive();
    if (name.empty() || files_.are_in_archive() || depth_ == largest::composites) return name;
    return repositories_.at({place_.path / name}, depth_ + 1).is_repository ? name : "";
  }

  /// What a composite provides is known only when all children that can be loaded are known.
  void read_children(const pugi::xml_node& root, Listing listing) {
    const bool needs_all = property_of(root, "p2.atomic.composite.loading") == "true";
    bool is_known = true;
    UnitVersions units;
    std::set<std::string> artifacts;
    for (const pugi::xml_node node : root.child("children").children("child")) {
      const std::string location = node.attribute("location").value();
      const bool is_absolute = location.starts_with("file:/") || location.starts_with("jar:file:/");
      if (is_absolute && listing == Listing::content) repository_.absolute_children.push_back(location);
      if (listing == Listing::content) repository_.children_without_artifacts.insert(location);
      if (listing == Listing::artifacts) repository_.children_without_artifacts.erase(location);
      const Repository* const child = look_into_child(location);
      if (child != nullptr) note_ignored_metadata(*child, location);
      if (child == nullptr) {
        is_known = false;
      } else if (!child->is_loadable() && needs_all) {
        note(repository_.error,
             "its child " + location +
                 " cannot be loaded, and p2.atomic.composite.loading allows the composite only with all its children");
      } else if (!child->is_loadable()) {
        if (listing == Listing::content) repository_.missing_children.push_back(location);
        is_known = is_known && (listing == Listing::content || !child->exists);
      } else if (listing == Listing::content) {
        is_known = is_known && child->units;
        repository_.descriptions.insert(child->descriptions.begin(), child->descriptions.end());
        if (child->units) add_units(*child, units);
      } else {
        is_known = is_known && child->artifacts;
        if (child->artifacts) add_artifacts(*child, location, artifacts);
      }
    }
    if (is_known && listing == Listing::content) repository_.units = std::move(units);
    if (is_known && listing == Listing::artifacts) repository_.artifacts = std::move(artifacts);
  }

  /// Nothing for one that cannot be looked into; then the reason is noted.
  const Repository* look_into_child(const std::string& location) {
    const auto place = place_of_child(location, place_, files_.are_in_archive());
    if (!place) {
      note(repository_.unexamined_because, "its child " + location + " is not on this disk");
      return nullptr;
    }
    if (depth_ == largest::composites) {
      note(repository_.unexamined_because,
           "its children are nested more than " + std::to_string(largest::composites) + " levels deep");
      return nullptr;
    }
    // The director looks into an archive only when the location begins with "jar:".
    std::error_code error;
    static const Repository missing;
    if (!files_.are_in_archive() && !location.starts_with(archive_scheme) && fs::is_regular_file(place->path, error))
      return &missing;
    const Repository& child = repositories_.at(*place, depth_ + 1);
    if (child.is_endless) {
      repository_.is_endless = true;
      note(repository_.error, "its child " + location + " leads back to a composite that contains it");
      return nullptr;
    }
    note(repository_.unexamined_because, child.unexamined_because);
    return &child;
  }

  /// A child is usually one of content and of artifacts, and noted once.
  void note_ignored_metadata(const Repository& child, const std::string& location) {
    if (!children_.insert(location).second) return;
    for (IgnoredMetadata ignored : child.ignored_metadata) {
      ignored.child = ignored.child.empty() ? location : with_slash(location) + ignored.child;
      repository_.ignored_metadata.push_back(std::move(ignored));
    }
  }

  void add_units(const Repository& child, UnitVersions& units) {
    add_to(units, *child.units);
    repository_.needed_artifacts.insert(child.needed_artifacts.begin(), child.needed_artifacts.end());
  }

  void add_artifacts(const Repository& child, const std::string& location, std::set<std::string>& artifacts) {
    artifacts.insert(child.artifacts->begin(), child.artifacts->end());
    for (const auto& [name, file] : child.missing_artifacts) {
      repository_.missing_artifacts.emplace(name, (fs::path(location) / file).string());
    }
    repository_.artifacts_elsewhere.insert(child.artifacts_elsewhere.begin(), child.artifacts_elsewhere.end());
    note(repository_.absolute_artifact, child.absolute_artifact);
    for (const auto& [name, error] : child.damaged_artifacts) {
      repository_.damaged_artifacts.emplace(name, with_slash(location) + error);
    }
    for (const auto& [name, file] : child.artifact_files) {
      ArtifactFile of_child = file;
      of_child.name = with_slash(location) + file.name;
      repository_.artifact_files.emplace(name, std::move(of_child));
    }
  }

  Repositories& repositories_;
  RepositoryPlace place_;
  RepositoryFiles files_;
  std::size_t depth_;
  std::set<std::string> children_;  ///< whose ignored metadata is noted
  Repository repository_;
};

const Repository& Repositories::at(const fs::path& path) {
  const Repository*& repository = by_path_[path.native()];
  if (repository == nullptr) repository = &at({path}, 0);
  return *repository;
}

const Repository& Repositories::at(RepositoryPlace place, std::size_t depth) {
  std::error_code error;
  fs::path canonical = canonical_paths_.of(place.path);
  if (canonical.empty()) canonical = fs::weakly_canonical(place.path, error);
  if (!error) place.path = std::move(canonical);
  const auto [known, is_new] = repositories_.try_emplace(place);
  if (is_new) {
    // While its children are looked into, who comes back here is in a circle.
    known->second.is_endless = true;
    known->second = Reader(*this, place, depth).read();
  }
  return known->second;
}

}  // namespace eclipse_p2
