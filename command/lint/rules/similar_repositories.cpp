#include "lint/rules/similar_repositories.h"

#include <algorithm>
#include <filesystem>
#include <limits>

#include "base/file_error.h"
#include "base/text.h"
#include "lint/texts.h"
#include "p2/repositories_below.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

/// Of more, the nearest is hardly the one that is meant, and comparing them takes its time.
constexpr std::size_t most_repositories = 100;

/// Without what does not tell repositories apart: the case of letters, ".zip", and ".." at the beginning.
std::string plain(const fs::path& path) {
  fs::path rest;
  for (const fs::path& name : path.lexically_normal()) {
    if (!name.empty() && name != "..") rest /= name;
  }
  std::string text = lower_case(rest.string());
  if (text.ends_with(".zip")) text.resize(text.size() - 4);
  return text;
}

std::string name_in(const std::string& plain_path) { return fs::path(plain_path).filename().string(); }

/// The only one of these that is nearest; empty when two are, or none is near enough.
template <typename DistanceTo>
std::string nearest(const std::vector<std::string>& paths, std::size_t most, const DistanceTo& distance_to) {
  std::string found;
  std::size_t least = std::numeric_limits<std::size_t>::max();
  for (const std::string& path : paths) {
    const std::size_t far = distance_to(plain(path));
    if (far > most || far > least) continue;
    found = far == least ? "" : path;
    least = far;
  }
  return found;
}

}  // namespace

const std::vector<std::string>& SimilarRepositories::paths_below(const std::string& directory) {
  const auto [known, is_new] = paths_.try_emplace(directory);
  if (!is_new) return known->second;
  try {
    for (const fs::path& path : eclipse_p2::repositories_below(directory)) {
      known->second.push_back(path.lexically_relative(directory).string());
    }
  } catch (const FileError&) {
    known->second.clear();  // What cannot be searched has no other name to offer.
  }
  if (known->second.size() > most_repositories) known->second.clear();
  return known->second;
}

const std::map<SimilarRepositories::Place, const eclipse_p2::UnitVersions*>& SimilarRepositories::named() {
  if (named_) return *named_;
  std::map<Place, const eclipse_p2::UnitVersions*> units;
  for (const Record& record : input_.records) {
    if (record.site == nullptr || !record.site->units) continue;
    units.emplace(Place(record.config->base_dir, record.repository()), &*record.site->units);
  }
  return named_.emplace(std::move(units));
}

/// What other lines name is known.
bool SimilarRepositories::may_have_feature_of(const Record& record, const std::string& path) {
  const auto found = named().find({record.config->base_dir, path});
  if (record.feature().empty() || found == named().end()) return true;
  return std::any_of(record.units.begin(), record.units.end(), [&](const auto& written) {
    return found->second->contains(written.unit.id) || found->second->contains(likely_group(written.unit.id));
  });
}

std::string SimilarRepositories::similar_path(const Place& place) {
  const auto [known, is_new] = similar_.try_emplace(place);
  if (!is_new) return known->second;
  const std::vector<std::string>& paths = paths_below(place.first);
  const std::string wanted = plain(place.second);
  const std::string name = name_in(wanted);
  const std::size_t few = std::min<std::size_t>(2, name.size() / 2);
  std::string& found = known->second;
  found = nearest(paths, 0, [&](const std::string& path) { return path == wanted ? 0U : 1U; });
  if (found.empty()) found = nearest(paths, 0, [&](const std::string& path) { return name_in(path) == name ? 0U : 1U; });
  if (found.empty()) found = nearest(paths, few, [&](const std::string& path) { return distance(path, wanted); });
  return found;
}

std::string SimilarRepositories::to(const Record& record) {
  std::string path = similar_path({record.config->base_dir, std::string(record.repository())});
  return path.empty() || may_have_feature_of(record, path) ? path : "";
}

std::vector<std::string> SimilarRepositories::beside(const Record& record) {
  std::vector<std::string> paths = paths_below(record.config->base_dir);
  std::erase_if(paths, [&](const std::string& path) { return !may_have_feature_of(record, path); });
  return paths;
}

}  // namespace eclipse_lint
