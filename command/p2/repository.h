// p2 repositories, as far as one can tell without a director what they provide.
#ifndef ECLIPSE_INT_P2_REPOSITORY_H
#define ECLIPSE_INT_P2_REPOSITORY_H

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "base/canonical_paths.h"
#include "p2/artifact_file.h"
#include "p2/repository_files.h"
#include "p2/requirement.h"
#include "p2/unit.h"

namespace eclipse_p2 {

/// The ids of units, each with its versions.
using UnitVersions = std::map<std::string, std::set<std::string>>;

void add_to(UnitVersions& units, const UnitVersions& more);

/// Whether a feature is among the units. A repository without one is there for what others require.
bool offers_features(const UnitVersions& units);

/// What a repository says of a unit.
struct UnitDescription {
  std::string label;  ///< its name for people, in the language of the root locale; empty when it has none
  bool is_category = false;
  std::set<std::string> members;  ///< of a category: the ids of the units in it
  bool is_group = false;          ///< it is a feature
  bool is_singleton = true;       ///< an instance can have only one version of it
  std::string filter;             ///< of the environments that it is for; empty for all
  std::vector<Requirement> requirements;
  std::vector<Capability> further_capabilities;
  std::set<std::string> names_patched;  ///< of a patch: the names in the requirements that it replaces
  bool is_for_other_system = false;     ///< its filter names an operating system other than this one
  /// Of its instructions, those actions that p2's touchpoint for it does not have, each with its phase, as "install:ACTION".
  /// None when the unit requires others that may bring actions.
  std::set<std::string> foreign_actions;
  std::set<std::string> bundle_actions;  ///< of a feature: those that can only be performed for a bundle, likewise

  bool operator==(const UnitDescription&) const = default;
};

/// Whether a unit of a repository is a feature, which a descriptor may name.
bool is_feature(const Unit& unit, const UnitDescription& description);

struct Repository {
  /// It has metadata which a director can load, as far as is known here.
  bool is_loadable() const { return is_repository && error.empty(); }

  bool exists = false;
  bool is_directory = false;
  bool is_repository = false;  ///< it has p2 metadata
  bool is_composite = false;   ///< the metadata names other repositories
  std::string nested;          ///< when it has none: a directory inside it that has
  /// When it has none: a zip archive that is the only file in it or, of a directory, a repository that is directly in it.
  std::string inner_archive;
  std::string error;           ///< why no director can load it; empty when one can
  bool is_unreadable = false;  ///< the error is that it, or its metadata, may not be read
  bool is_endless = false;     ///< the error is that it is a composite which contains itself
  /// Why not all of it is known here, although a director may be able to load it: a child is on another machine, or something
  /// is larger than is read here. Empty when all is known.
  std::string unexamined_because;
  /// Of a composite: the locations of those children that do not exist or cannot be loaded. The director skips them.
  std::vector<std::string> missing_children;
  /// Of a composite: the children in its list for content that its list for artifacts does not name.
  std::set<std::string> children_without_artifacts;
  /// Of a composite: the locations of those children that are absolute paths on this disk.
  std::vector<std::string> absolute_children;
  /// Metadata that the director ignores although it has another content than what it reads, also that of children.
  std::vector<IgnoredMetadata> ignored_metadata;
  /// What it provides; nothing when that is not known.
  std::optional<UnitVersions> units;
  /// The units that were found here. While `units` is not known, there may be more.
  std::map<Unit, UnitDescription> descriptions;

  // Artifacts, which are the files that units consist of, are named as the director names them: "osgi.bundle,ID,VERSION".
  std::set<std::string> needed_artifacts;  ///< by its units
  bool lists_artifacts = false;            ///< it has the metadata of artifacts, though that may not be known here
  /// Those that it has; nothing when that is not known.
  std::optional<std::set<std::string>> artifacts;
  /// Those that its metadata lists but whose files do not exist, with the paths of these in the repository, or absolute ones.
  std::map<std::string, std::string> missing_artifacts;
  /// Those that its metadata says are neither in it nor on this disk, with the locations that it names.
  std::map<std::string, std::string> artifacts_elsewhere;
  std::string absolute_artifact;  ///< an absolute path to which its metadata leads for the file of one that it has; or empty
  /// Those whose files the director does not accept, with "PATH ERROR", as far as the beginning and the size of a file in a
  /// directory show it.
  std::map<std::string, std::string> damaged_artifacts;
  /// Of the others, those whose files are known. Their checksums and signatures are not compared here, and those in an archive
  /// not opened, since that takes its time.
  std::map<std::string, ArtifactFile> artifact_files;
};

/// The repositories that were looked into so far, each once, however many paths and composites lead to it.
class Repositories {
 public:
  Repositories() = default;
  /// As a director sees them that reads what it has cached of an archive.
  explicit Repositories(const MetadataCache& cache) : cache_(&cache) {}

  /// The repository at a path, which is a directory or an archive. The result stays where it is.
  const Repository& at(const std::filesystem::path& path);

 private:
  class Reader;

  const Repository& at(RepositoryPlace place, std::size_t depth);

  const MetadataCache* cache_ = nullptr;
  eclipse_base::CanonicalPaths canonical_paths_;
  std::map<RepositoryPlace, Repository> repositories_;
  std::unordered_map<std::string, const Repository*> by_path_;  ///< by paths as they were given: many lines name one
};

}  // namespace eclipse_p2

#endif
