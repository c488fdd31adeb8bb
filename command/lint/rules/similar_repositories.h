// Which repository of a component is meant where there is none.
#ifndef ECLIPSE_INT_LINT_RULES_SIMILAR_REPOSITORIES_H
#define ECLIPSE_INT_LINT_RULES_SIMILAR_REPOSITORIES_H

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "lint/input.h"

namespace eclipse_lint {

/// The repositories in the directories of components, each of which is searched once.
class SimilarRepositories {
 public:
  explicit SimilarRepositories(const Input& input) : input_(input) {}

  /// The repository that a record probably means: one that differs in being a directory or an archive, in the directories above
  /// it or in a few letters. A path relative to the component's directory; empty when there is none, or more than one.
  std::string to(const Record& record);

  /// The repositories of the record's component that may have its feature, relative to the component's directory.
  std::vector<std::string> beside(const Record& record);

 private:
  using Place = std::pair<std::string, std::string>;  ///< a component's directory, and a text of column 1

  const std::vector<std::string>& paths_below(const std::string& directory);
  std::string similar_path(const Place& place);
  bool may_have_feature_of(const Record& record, const std::string& path);
  const std::map<Place, const eclipse_p2::UnitVersions*>& named();

  const Input& input_;
  std::map<std::string, std::vector<std::string>> paths_;  ///< by the component's directory
  std::map<Place, std::string> similar_;
  std::optional<std::map<Place, const eclipse_p2::UnitVersions*>> named_;  ///< the units of repositories that lines name
};

}  // namespace eclipse_lint

#endif
