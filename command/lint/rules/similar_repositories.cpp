#include "lint/rules/similar_repositories.h"

#include <algorithm>
#include <filesystem>
#include <limits>

#include "base/file_error.h"
#include "base/text.h"
#include "lint/texts.h"
#include "p2/repositories_below.h"
#include "p2/unit_list.h"

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

/// What other lines name is known.
bool SimilarRepositories::may_have_feature_of(const Record& record, const std::string& path) const {
  const auto has_feature = [&](const eclipse_p2::UnitVersions& units) {
    const auto named = eclipse_p2::units_written_in(record.feature());
    return std::any_of(named.begin(), named.end(), [&](const auto& written) {
      return units.contains(written.unit.id) || units.contains(likely_group(written.unit.id));
    });
  };
  return record.feature().empty() || std::all_of(input_.records.begin(), input_.records.end(), [&](const Record& other) {
           const bool is_this = other.repository() == path && other.config->base_dir == record.config->base_dir;
           return !is_this || other.site == nullptr || !other.site->units || has_feature(*other.site->units);
         });
}

std::string SimilarRepositories::to(const Record& record) {
  const std::vector<std::string>& paths = paths_below(record.config->base_dir);
  const std::string wanted = plain(record.repository());
  const std::string name = name_in(wanted);
  const std::size_t few = std::min<std::size_t>(2, name.size() / 2);
  std::string found = nearest(paths, 0, [&](const std::string& path) { return path == wanted ? 0U : 1U; });
  if (found.empty()) found = nearest(paths, 0, [&](const std::string& path) { return name_in(path) == name ? 0U : 1U; });
  if (found.empty()) found = nearest(paths, few, [&](const std::string& path) { return distance(path, wanted); });
  return may_have_feature_of(record, found) ? found : "";
}

}  // namespace eclipse_lint
