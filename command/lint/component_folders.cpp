#include "lint/component_folders.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include "base/file_error.h"
#include "base/files_below.h"
#include "lint/texts.h"

using namespace eclipse_base;
using namespace eclipse_dry_run;

namespace fs = std::filesystem;
using eclipse_dry_run::Library;

namespace eclipse_lint {

namespace {

constexpr std::string_view descriptor_folder = "etc/eclipse/";

std::vector<std::string> files_of(const fs::path& folder) {
  std::error_code error;
  auto names = files_below(folder, fs::directory_options::none, error);
  if (!error) return names;
  throw eclipse_base::FileFault(folder.string() + ": cannot be searched: " + error.message() +
                                "; make it and the folders in it readable");
}

fs::path full_path_of(const fs::path& folder) {
  std::error_code error;
  fs::path path = fs::canonical(folder, error);
  if (!error) return path;
  throw eclipse_base::FileFault(folder.string() + ": its full path cannot be told: " + error.message() +
                                "; give the full path");
}

/// The folder in whose etc/eclipse a descriptor file lies; empty when that is the searched folder.
std::string holder_of(const std::string& descriptor) {
  std::size_t start = descriptor.find(descriptor_folder);
  for (std::size_t at = start; at != std::string::npos; at = descriptor.find(descriptor_folder, at + 1)) {
    if (at == 0 || descriptor[at - 1] == '/') {
      start = at;
      break;
    }
  }
  const std::size_t slash = start == 0 ? std::string::npos : descriptor.rfind('/', start - 1);
  return slash == std::string::npos ? "" : descriptor.substr(0, slash);
}

/// The folder that holds the etc/eclipse which a folder is, lies in, or has as its "eclipse".
std::optional<fs::path> holder_around(const fs::path& folder) {
  std::error_code error;
  if (folder.filename() == "etc" && fs::is_directory(folder / "eclipse", error)) return folder.parent_path();
  for (fs::path inner = folder; inner.has_relative_path(); inner = inner.parent_path()) {
    if (inner.filename() == "eclipse" && inner.parent_path().filename() == "etc") return inner.parent_path().parent_path();
  }
  return std::nullopt;
}

/// Whether a repository of one of these descriptor files is there when they are those of a component in `folder`.
bool holds_a_site(const Library& library, const fs::path& folder, const std::vector<fs::path>& descriptors) {
  for (const fs::path& descriptor : descriptors) {
    std::set<std::string> repositories;
    auto records = library.records(folder.string(), descriptor.lexically_relative(folder).string());
    std::erase_if(records, [&](const plugin_config& record) { return !repositories.insert(record.repository).second; });
    for (const auto& placement : library.placements(records)) {
      std::error_code error;
      if (placement && fs::exists(path_in(placement->url), error)) return true;
    }
  }
  return false;
}

/// The folder of the component that has these descriptor files in an etc/eclipse of `holder`; `outermost` lies around that.
fs::path component_of(const Library& library, const fs::path& holder, const fs::path& outermost,
                      const std::vector<fs::path>& descriptors) {
  if (holder == outermost) return holder;
  for (fs::path folder = holder;; folder = folder.parent_path()) {
    if (holds_a_site(library, folder, descriptors)) return folder;
    if (folder == outermost || !folder.has_relative_path()) return holder;
  }
}

/// Takes the files of a folder apart by their components. All names are relative to it.
class ComponentSearch {
 public:
  ComponentSearch(const Library& library, const fs::path& folder)
      : library_(library), folder_(folder), absolute_(full_path_of(folder)), names_(files_of(folder)) {}

  std::vector<ComponentFolder> search() {
    for (const std::string& name : names_) {
      if (library_.descriptor({}, name)) descriptors_[holder_of(name)].push_back(absolute_ / name);
    }
    const auto holder = descriptors_.empty() ? holder_around(absolute_) : std::nullopt;
    return holder ? std::vector{component_around(*holder)} : components_below();
  }

 private:
  /// The component in whose etc/eclipse the folder is, with what lies in the folder.
  ComponentFolder component_around(const fs::path& holder) const {
    std::vector<fs::path> files(names_.size());
    std::transform(names_.begin(), names_.end(), files.begin(), [&](const std::string& name) { return absolute_ / name; });
    ComponentFolder component{component_of(library_, holder, absolute_.root_path(), files), {}};
    for (std::size_t i = 0; i < names_.size(); ++i) {
      component.files.push_back({files[i].lexically_relative(component.path).string(), (folder_ / names_[i]).string()});
    }
    if (names_.empty()) component.files.push_back({absolute_.lexically_relative(component.path).string(), folder_.string()});
    return component;
  }

  std::vector<ComponentFolder> components_below() {
    std::map<std::string, std::string> components;  // by the folders that hold an etc/eclipse
    for (const auto& [holder, files] : descriptors_) {
      const fs::path path = holder.empty() ? absolute_ : absolute_ / holder;
      const fs::path component = component_of(library_, path, absolute_, files);
      components[holder] = component == absolute_ ? "" : component.lexically_relative(absolute_).string();
      found_[components[holder]];
    }
    for (const std::string& name : names_) {
      const auto holder = library_.descriptor({}, name) ? components.find(holder_of(name)) : components.end();
      add(holder == components.end() ? nearest_component(name) : holder->second, name);
    }
    std::vector<ComponentFolder> all;
    for (auto& [name, files] : found_) all.push_back({name.empty() ? absolute_ : absolute_ / name, std::move(files)});
    return all;
  }

  /// The innermost one that a file lies in.
  std::string nearest_component(std::string name) const {
    do name.erase(name.find_last_of('/') == std::string::npos ? 0 : name.find_last_of('/'));
    while (!name.empty() && found_.count(name) == 0);
    return name;
  }

  void add(const std::string& component, const std::string& name) {
    found_[component].push_back({component.empty() ? name : name.substr(component.size() + 1), (folder_ / name).string()});
  }

  const Library& library_;
  fs::path folder_;
  fs::path absolute_;
  std::vector<std::string> names_;
  std::map<std::string, std::vector<fs::path>> descriptors_;  // by the folders that hold their etc/eclipse
  std::map<std::string, std::vector<FoundFile>> found_;       // by the components' folders
};

}  // namespace

std::vector<ComponentFolder> component_folders(const Library& library, const fs::path& folder) {
  return ComponentSearch(library, folder).search();
}

}  // namespace eclipse_lint
