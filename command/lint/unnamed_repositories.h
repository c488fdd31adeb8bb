// The repositories that components ship but no line names, so that the director does not look into them.
#ifndef ECLIPSE_INT_LINT_UNNAMED_REPOSITORIES_H
#define ECLIPSE_INT_LINT_UNNAMED_REPOSITORIES_H

#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "lint/input.h"
#include "p2/requirement.h"

namespace eclipse_lint {

class UnnamedRepositories {
 public:
  /// The input outlives this object.
  explicit UnnamedRepositories(const Input& input) : input_(input) {}

  /// The path, from the directory of a component, of the first repository in it that meets a requirement; empty when none does.
  std::string that_meets(const eclipse_p2::Requirement& requirement, const Component& component);

 private:
  const std::vector<std::filesystem::path>& of(const Component& component);
  const std::set<std::filesystem::path>& named();

  const Input& input_;
  std::optional<std::set<std::filesystem::path>> named_;
  std::map<const Component*, std::vector<std::filesystem::path>> unnamed_;  ///< of the components that were searched
};

}  // namespace eclipse_lint

#endif
