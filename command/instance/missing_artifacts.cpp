// Seen with the director of Eclipse 4.26: a feature leaves the pool of bundles with its unit, a bundle later, when it is
// collected. What the pool lists is not fetched. Anything else has to be in a repository that is given to the director, or that
// p2 remembers; a jar that lies in plugins/ unlisted does not count.
#include "instance/missing_artifacts.h"

#include <algorithm>
#include <pugixml.hpp>
#include <set>
#include <string_view>
#include <system_error>

#include "base/file.h"
#include "base/limits.h"
#include "base/text.h"
#include "p2/artifact_location.h"
#include "p2/artifact_name.h"
#include "p2/configuration_files.h"
#include "p2/data_area.h"
#include "p2/instance_paths.h"
#include "p2/repository.h"
#include "p2/repository_url.h"
#include "p2/version.h"

namespace fs = std::filesystem;
using namespace eclipse_base;
using namespace eclipse_p2;

namespace eclipse_instance {

namespace {

constexpr const char* remembered_repositories = "org.eclipse.equinox.p2.artifact.repository.prefs";

/// With the version in one spelling.
std::string comparable(const std::string& artifact) {
  const std::size_t version = artifact.rfind(',') + 1;
  return artifact.substr(0, version) + whole_version(std::string_view(artifact).substr(version));
}

/// The URLs of the repositories that p2 uses beside those that it is given.
std::vector<std::string> remembered_by(const fs::path& instance, const ProfileState& newest) {
  std::vector<std::string> urls;
  const fs::path of_profile = newest.file.parent_path() / ".data/.settings";
  for (const fs::path& directory : {of_profile, data_area_of(instance).directory / engine_settings}) {
    const FileContent settings = read_file(directory / remembered_repositories, largest::configuration);
    for (const std::string& line : lines_of(settings.bytes)) {
      const std::size_t value = line.find("/uri=");
      if (line.starts_with("repositories/") && value != line.npos)
        urls.push_back(unescaped(trimmed(std::string_view(line).substr(line.find('=') + 1), "\r")));
    }
  }
  return urls;
}

/// What a director has at hand, and what it may find elsewhere.
class Supply {
 public:
  /// A list of artifacts without metadata, as the pool has it. False when it cannot be examined.
  bool add_list_in(const fs::path& directory) {
    const auto list = RepositoryFiles({directory}).read(Listing::artifacts);
    if (!list) return true;
    if (list->exceeds_limit || list->is_unreadable || list->is_composite) return false;
    const pugi::xml_node repository = list->document.child("repository");
    for (const pugi::xml_node artifact : repository.child("artifacts").children("artifact"))
      there_.insert(comparable(name_of_artifact(artifact)));
    return true;
  }

  void add(const std::string& url) {
    const auto path = path_in_escaped_url(url);
    if (!path || !add_repository_at(*path)) unexamined_.push_back(url);
  }

  bool has(const std::string& artifact) const { return there_.contains(comparable(artifact)); }
  const std::vector<std::string>& unexamined() const { return unexamined_; }

 private:
  bool add_repository_at(const fs::path& path) {
    const Repository& repository = repositories_.at(path);
    if (!repository.exists || !repository.error.empty()) return !repository.is_unreadable;
    if (!repository.is_repository) return add_list_in(path);
    if (!repository.artifacts) return false;
    for (const std::string& artifact : *repository.artifacts) there_.insert(comparable(artifact));
    for (const auto& [artifact, damage] : repository.damaged_artifacts) there_.insert(comparable(artifact));
    return repository.artifacts_elsewhere.empty();
  }

  Repositories repositories_;
  std::set<std::string> there_;
  std::vector<std::string> unexamined_;
};

}  // namespace

MissingArtifacts missing_artifacts(const fs::path& instance, const ProfileState& newest, const ProfileState& target,
                                   const std::vector<std::string>& urls) {
  const ProfileArtifacts now = read_profile_artifacts(newest.file);
  Supply supply;
  std::error_code error;
  const bool is_pool_known =
      !now.pool.empty() && was_written_in(newest, instance) && fs::exists(now.pool + "/" + artifact_list, error);
  if (!is_pool_known || !supply.add_list_in(now.pool)) return {};
  for (const auto& more : {urls, remembered_by(instance, newest)}) {
    for (const std::string& url : more) supply.add(url);
  }
  MissingArtifacts missing{{}, now.beside};
  for (const auto& [unit, artifacts] : read_profile_artifacts(target.file).of_units) {
    if (now.of_units.contains(unit)) continue;
    for (const std::string& artifact : artifacts) {
      if (!supply.has(artifact)) missing.artifacts.push_back(kind_and_unit(artifact));
    }
  }
  missing.unexamined.insert(missing.unexamined.end(), supply.unexamined().begin(), supply.unexamined().end());
  return missing.artifacts.empty() ? MissingArtifacts() : missing;
}

}  // namespace eclipse_instance
