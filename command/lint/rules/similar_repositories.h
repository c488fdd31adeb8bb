// Which repository of a component is meant where there is none.
#ifndef ECLIPSE_INT_LINT_RULES_SIMILAR_REPOSITORIES_H
#define ECLIPSE_INT_LINT_RULES_SIMILAR_REPOSITORIES_H

#include <map>
#include <string>
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

 private:
  const std::vector<std::string>& paths_below(const std::string& directory);
  bool may_have_feature_of(const Record& record, const std::string& path) const;

  const Input& input_;
  std::map<std::string, std::vector<std::string>> paths_;  ///< by the component's directory
};

}  // namespace eclipse_lint

#endif
