#include "draft/descriptor_draft.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <map>
#include <optional>
#include <set>
#include <utility>

#include "base/file_error.h"
#include "base/printable.h"
#include "dry_run/command_pieces.h"
#include "p2/repositories_below.h"
#include "p2/unit.h"
#include "p2/version.h"

using namespace eclipse_base;
using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_draft {

namespace {

/// A repository of the component.
struct Source {
  std::string column;  ///< its path, relative to the component's directory
  const Repository& repository;
  std::set<std::string> features;  ///< those that are listed with it
};

/// A feature's highest version so far, and who has it.
struct Best {
  std::string version;
  Source* source;
};

std::set<std::string> members_of_categories(const Repository& repository) {
  std::set<std::string> members;
  for (const auto& [unit, description] : repository.descriptions) {
    members.insert(description.members.begin(), description.members.end());
  }
  return members;
}

std::vector<Unit> features_of(const Repository& repository, OfferedFeatures offered) {
  std::vector<Unit> all;
  std::vector<Unit> in_categories;
  const std::set<std::string> members = members_of_categories(repository);
  for (const auto& [unit, description] : repository.descriptions) {
    if (!is_feature(unit, description)) continue;
    all.push_back(unit);
    if (members.count(unit.id) != 0) in_categories.push_back(unit);
  }
  return offered == OfferedFeatures::all || in_categories.empty() ? all : in_categories;
}

std::vector<Source> sources_below(Repositories& repositories, const fs::path& directory) {
  std::vector<Source> sources;
  for (const fs::path& path : repositories_below(directory)) {
    sources.push_back({path.lexically_relative(directory).string(), repositories.at(path), {}});
  }
  return sources;
}

/// Puts each feature under one of the repositories.
void assign_features(std::vector<Source>& sources, OfferedFeatures offered) {
  std::vector<Source*> by_preference(sources.size());
  std::transform(sources.begin(), sources.end(), by_preference.begin(), [](Source& source) { return &source; });
  std::stable_partition(by_preference.begin(), by_preference.end(),
                        [](const Source* source) { return source->repository.is_composite; });
  std::map<std::string, Best> best;
  for (Source* const source : by_preference) {
    for (const Unit& feature : features_of(source->repository, offered)) {
      const auto [known, is_new] = best.try_emplace(feature.id, Best{feature.version, source});
      if (!is_new && std::is_gt(compare_versions(feature.version, known->second.version)))
        known->second = {feature.version, source};
    }
  }
  for (const auto& [id, highest] : best) highest.source->features.insert(id);
}

/// Whether it has no features, but units that features may require. A composite that is listed brings those of its children.
bool is_for_requirements(const Source& source, const std::vector<Source>& sources) {
  const Repository& repository = source.repository;
  if (!repository.error.empty() || !repository.unexamined_because.empty() || repository.descriptions.empty()) return false;
  if (!features_of(repository, OfferedFeatures::all).empty()) return false;
  return std::none_of(sources.begin(), sources.end(), [&](const Source& other) {
    const auto& brought = other.repository.descriptions;
    return &other != &source && other.repository.is_composite &&
           std::all_of(repository.descriptions.begin(), repository.descriptions.end(),
                       [&](const auto& each) { return brought.count(each.first) != 0; });
  });
}

/// Why a repository, or a part of it, is not in the draft; nothing when all of it is.
std::optional<std::string> note_about(const Source& source, OfferedFeatures offered) {
  const Repository& repository = source.repository;
  const std::string name = printable(source.column);
  if (!repository.error.empty()) return name + " was left out: " + repository.error;
  if (!repository.unexamined_because.empty()) return "more features may be in " + name + ": " + repository.unexamined_because;
  if (!source.features.empty()) return std::nullopt;
  const bool has_features = !features_of(repository, offered).empty();
  return name + " was left out: " + (has_features ? "another repository has its features, too" : "it has no features");
}

/// A text that the plug-in cannot read from a descriptor, or that the shell would change, has to be another one.
void check(const fs::path& file, const eclipse_shell::CommandPiece& piece) {
  const bool is_cut = piece.text.find_first_of("\t\n\r") != std::string::npos;
  if (!is_cut && !eclipse_shell::cause_in(piece) && eclipse_shell::idle_globs_in(piece).empty()) return;
  const std::string problem = is_cut ? "a tab or a line end" : "a space or a shell metacharacter";
  throw FileError(file, piece.origin + " " + in_quotes(piece.text) + " contains " + problem + "; rename it");
}

void check(const fs::path& directory, const Source& source) {
  const bool is_archive = source.column.ends_with(".zip");
  check(directory, eclipse_dry_run::repository_piece(directory.string(), source.column, is_archive, {}, "the path"));
  for (const std::string& id : source.features)
    check(directory / source.column, eclipse_dry_run::feature_piece(id, {}, "the id"));
}

}  // namespace

DescriptorDraft draft_descriptor(Repositories& repositories, const fs::path& directory, OfferedFeatures offered) {
  if (repositories.at(directory).is_repository) {
    throw FileError(directory, "is a p2 repository; give the directory of the component that contains it");
  }
  std::vector<Source> sources = sources_below(repositories, directory);
  assign_features(sources, offered);
  DescriptorDraft draft{"Repository\tFeature\n", {}};
  for (const Source& source : sources) {
    const bool has_required_units = is_for_requirements(source, sources);
    if (!source.features.empty() || has_required_units) check(directory, source);
    for (const std::string& id : source.features) draft.text.append(source.column).append("\t").append(id).append("\n");
    if (has_required_units) {
      draft.text.append(source.column).append("\t\t\n");
    } else if (const auto note = note_about(source, offered)) {
      draft.notes.push_back(*note);
    }
  }
  const bool has_features =
      std::any_of(sources.begin(), sources.end(), [](const Source& source) { return !source.features.empty(); });
  if (has_features) return draft;
  throw FileError(directory, sources.empty()       ? "has no p2 repository below it; put a repository of the component there"
                             : draft.notes.empty() ? "has no features below it; put a repository with features there"
                                                   : "has no features below it: " + draft.notes.front());
}

}  // namespace eclipse_draft
