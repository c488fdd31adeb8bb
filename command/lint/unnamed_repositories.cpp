#include "lint/unnamed_repositories.h"

#include <algorithm>
#include <system_error>

#include "base/file_error.h"
#include "dry_run/command_pieces.h"
#include "p2/repositories_below.h"
#include "p2/version.h"

using namespace eclipse_p2;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

fs::path resolved(const fs::path& path) {
  std::error_code error;
  return fs::weakly_canonical(path, error);
}

bool meets(const Repository& repository, const Requirement& requirement) {
  if (!repository.is_loadable() || !repository.units) return false;
  const auto versions = repository.units->find(requirement.name);
  return versions != repository.units->end() &&
         std::any_of(versions->second.begin(), versions->second.end(),
                     [&](const std::string& version) { return is_in_range(version, requirement.range); });
}

}  // namespace

const std::set<fs::path>& UnnamedRepositories::named() {
  if (named_) return *named_;
  std::set<std::string> urls;
  for (const Record& record : input_.records) {
    if (record.placement) urls.insert(record.placement->url);
  }
  named_.emplace();
  for (const std::string& url : urls) named_->insert(resolved(eclipse_dry_run::path_for_director(url)));
  return *named_;
}

std::string UnnamedRepositories::that_meets(const Requirement& requirement, const Component& component) {
  for (const fs::path& path : of(component)) {
    if (meets(input_.repositories->at(path), requirement)) return path.lexically_relative(component.directory).string();
  }
  return "";
}

const std::vector<fs::path>& UnnamedRepositories::of(const Component& component) {
  const auto [known, is_new] = unnamed_.try_emplace(&component);
  if (!is_new) return known->second;
  try {
    known->second = repositories_below(component.directory);
  } catch (const eclipse_base::FileError&) {
    return known->second;  // what cannot be searched has none that is known
  }
  std::erase_if(known->second, [this](const fs::path& path) { return named().contains(resolved(path)); });
  return known->second;
}

}  // namespace eclipse_lint
