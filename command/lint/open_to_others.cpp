#include "lint/open_to_others.h"

#include <set>
#include <system_error>

#include "base/file.h"
#include "p2/repository_files.h"

using eclipse_p2::Listing;
using eclipse_p2::RepositoryFiles;

namespace fs = std::filesystem;

namespace eclipse_lint {

namespace {

bool has_all(fs::perms permissions, fs::perms wanted) { return (permissions & wanted) == wanted; }

bool is_open(const fs::path& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  const fs::perms wanted = fs::perms::others_read | (fs::is_directory(status) ? fs::perms::others_exec : fs::perms::none);
  return !fs::exists(status) || has_all(status.permissions(), wanted);
}

bool is_metadata(const std::string& name) {
  return RepositoryFiles::is_form(Listing::content, name) || RepositoryFiles::is_form(Listing::artifacts, name);
}

}  // namespace

fs::path OpenToOthers::closed_part(const fs::path& directory, const fs::path& path) {
  fs::path reached = directory;
  if (!has(reached)) return reached;
  for (const fs::path& name : path.lexically_normal().lexically_relative(directory.lexically_normal())) {
    reached /= name;
    if (!has(reached)) return reached;
  }
  return {};
}

const fs::path& OpenToOthers::closed_part(const Descriptor& descriptor, const fs::path& component) {
  const auto [known, is_new] = closed_parts_.try_emplace(&descriptor);
  if (!is_new) return known->second;
  std::error_code error;
  known->second = closed_part(fs::weakly_canonical(component, error),
                              fs::weakly_canonical(eclipse_base::absolute_path(descriptor.file), error));
  return known->second;
}

fs::path OpenToOthers::closed_part(const Record& record) {
  const fs::path base = record.config->base_dir;
  fs::path site = base / record.repository();
  fs::path closed = closed_part(base, site);
  if (!closed.empty() || !record.site->is_directory) return closed;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(site, error)) {
    if (is_metadata(entry.path().filename().string()) && !has(entry.path())) return site;
  }
  if (record.site->artifact_files.empty()) return {};
  // The paths of artifacts have no symbolic links.
  const fs::path real_site = fs::canonical(site, error);
  std::set<std::string> open_directories;
  for (const auto& [artifact, file] : record.site->artifact_files) {
    const fs::path directory = file.path.parent_path();
    if (!open_directories.contains(directory.native()) && !closed_part(real_site, directory).empty()) return site;
    open_directories.insert(directory.native());
    if (file.facts ? !has_all(file.facts->permissions, fs::perms::others_read) : !has(file.path)) return site;
  }
  return {};
}

bool OpenToOthers::has(const fs::path& path) {
  const auto [known, is_new] = open_.try_emplace(path.native());
  if (is_new) known->second = is_open(path);
  return known->second;
}

}  // namespace eclipse_lint
