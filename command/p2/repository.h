// Update repositories, as far as they tell without a director what they offer.
#ifndef ECLIPSE_INT_P2_REPOSITORY_H
#define ECLIPSE_INT_P2_REPOSITORY_H

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace eclipse_p2 {

/// The ids of units, each with its versions.
using UnitVersions = std::map<std::string, std::set<std::string>>;

struct Repository {
  bool exists = false;
  bool is_directory = false;
  bool is_repository = false;  ///< it has p2 metadata
  std::string nested;          ///< when it has none: a directory inside it that has
  std::string error;           ///< what keeps everybody from reading its metadata; empty when nothing does
  /// Of a composite: the places of those children that are not there or cannot be read.
  std::vector<std::string> missing_children;
  /// What it offers; nothing when that cannot be read here, as in a composite of remote repositories.
  std::optional<UnitVersions> units;
  bool is_unreadable = false;  ///< the error is that it, or its metadata, may not be read

  // Artifacts, which are the files that units consist of, are named as the director names them: "osgi.bundle,ID,VERSION".
  std::set<std::string> needed_artifacts;  ///< by its units
  bool lists_artifacts = false;            ///< it has the metadata of artifacts, though it may not be readable here
  /// Those that it has; nothing when that cannot be read here.
  std::optional<std::set<std::string>> artifacts;
  /// Those that its metadata lists but whose files are not there, with the paths of these in the site.
  std::map<std::string, std::string> missing_artifacts;
};

/// The repositories that were looked into so far.
class Repositories {
 public:
  /// The site at a path, a directory or an archive. It stays where it is.
  const Repository& at(const std::filesystem::path& path);

 private:
  std::map<std::filesystem::path, Repository> repositories_;
};

}  // namespace eclipse_p2

#endif
