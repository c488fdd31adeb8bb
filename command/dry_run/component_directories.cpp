#include "dry_run/component_directories.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <string_view>

#include "base/file.h"
#include "base/files_below.h"
#include "dry_run/command_pieces.h"
#include "dry_run/descriptor_paths.h"
#include "p2/repositories_below.h"

using namespace eclipse_base;

namespace fs = std::filesystem;

namespace eclipse_dry_run {

namespace {

std::vector<std::string> files_of(const fs::path& directory) {
  std::error_code error;
  auto names = files_below(directory, fs::directory_options::none, error);
  if (error) fail_search(directory, error);
  return names;
}

/// The directory whose etc/eclipse contains a descriptor file; empty when that is the searched directory.
std::string holder_of(const std::string& descriptor) {
  std::size_t start = descriptor_directory_in(descriptor);
  if (start == std::string::npos) start = descriptor.find(descriptor_directory);
  const std::size_t slash = start == 0 ? std::string::npos : descriptor.rfind('/', start - 1);
  return slash == std::string::npos ? "" : descriptor.substr(0, slash);
}

/// The directory that contains the etc/eclipse which this directory is, is below, or is the "etc" of.
std::optional<fs::path> holder_around(const fs::path& directory) {
  std::error_code error;
  if (is_descriptor_directory(directory / "eclipse") && fs::is_directory(directory / "eclipse", error)) {
    return directory.parent_path();
  }
  for (fs::path inner = directory; inner.has_relative_path(); inner = inner.parent_path()) {
    if (is_descriptor_directory(inner)) return inner.parent_path().parent_path();
  }
  return std::nullopt;
}

/// Whether a repository that these descriptor files name exists, if their component is in `directory`.
bool contains_a_site(const PluginFunctions& library, DescriptorFiles& files, const fs::path& directory,
                     const std::vector<fs::path>& descriptors) {
  for (const fs::path& descriptor : descriptors) {
    std::set<std::string> repositories;
    auto records = library.records(directory.string(), files.at(descriptor.string()).bytes);
    std::erase_if(records, [&](const plugin_config& record) { return !repositories.insert(record.repository).second; });
    for (const auto& placement : library.placements(records)) {
      std::error_code error;
      if (placement && fs::exists(path_for_director(placement->url), error)) return true;
    }
  }
  return false;
}

/// The directory of the component that has these descriptor files in an etc/eclipse of `holder`, which is below `outermost`.
fs::path component_of(const PluginFunctions& library, DescriptorFiles& files, const fs::path& holder, const fs::path& outermost,
                      const std::vector<fs::path>& descriptors) {
  if (holder == outermost) return holder;
  for (fs::path directory = holder;; directory = directory.parent_path()) {
    if (contains_a_site(library, files, directory, descriptors)) return directory;
    if (directory == outermost || !directory.has_relative_path()) return holder;
  }
}

/// Sorts the files of a directory by their components. All names are relative to it.
class DirectorySearch {
 public:
  DirectorySearch(const PluginFunctions& library, DescriptorFiles& files, const fs::path& directory)
      : library_(library),
        files_(files),
        directory_(directory),
        absolute_(canonical_path(directory)),
        names_(files_of(directory)) {}

  std::vector<ComponentDirectory> search() {
    ByHolder examples;
    for (const std::string& name : names_) {
      if (!is_descriptor(name)) continue;
      (is_among_examples(name) ? examples : descriptors_)[holder_of(name)].push_back(absolute_ / name);
    }
    sort_out(std::move(examples));
    const auto holder = descriptors_.empty() ? holder_around(absolute_) : std::nullopt;
    return holder ? std::vector{component_around(*holder)} : components_below();
  }

 private:
  using ByHolder = std::map<std::string, std::vector<fs::path>>;  // by the directories that hold their etc/eclipse

  bool is_descriptor(const std::string& name) const { return library_.descriptor({}, name).has_value(); }

  /// Where there is nothing else, examples are what is meant.
  void sort_out(ByHolder examples) {
    if (descriptors_.empty()) return descriptors_.swap(examples);
    ByHolder components;
    for (auto& [holder, files] : examples) {
      if (is_component_called_like_examples(holder)) {
        components.emplace(holder, files);
      } else {
        examples_.insert(files.begin(), files.end());
      }
    }
    descriptors_.merge(components);
  }

  /// A component may be the documentation of a product, "doc" beside "core" and "ui". It has a repository, and it is not in
  /// another component, whose documentation or examples it would be.
  bool is_component_called_like_examples(const std::string& holder) const {
    const std::string parent = fs::path(holder).parent_path().string();
    if (is_among_examples(parent + "/")) return false;
    const auto is_sibling = [&](const auto& other) {
      return !other.first.empty() && fs::path(other.first).parent_path() == parent;
    };
    const auto is_around = [&](const auto& other) {
      return other.first.empty() || (parent + "/").starts_with(other.first + "/");
    };
    return std::any_of(descriptors_.begin(), descriptors_.end(), is_sibling) &&
           std::none_of(descriptors_.begin(), descriptors_.end(), is_around) &&
           !eclipse_p2::repositories_below(absolute_ / holder).empty();
  }

  bool is_example(const std::string& name) const { return examples_.contains(absolute_ / name); }

  /// The component whose etc/eclipse contains the directory, with the files of the directory.
  ComponentDirectory component_around(const fs::path& holder) const {
    std::vector<fs::path> files(names_.size());
    std::transform(names_.begin(), names_.end(), files.begin(), [&](const std::string& name) { return absolute_ / name; });
    ComponentDirectory component{component_of(library_, files_, holder, absolute_.root_path(), files), {}};
    for (std::size_t i = 0; i < names_.size(); ++i) {
      component.files.push_back({files[i].lexically_relative(component.path).string(), (directory_ / names_[i]).string()});
    }
    if (names_.empty()) component.files.push_back({absolute_.lexically_relative(component.path).string(), directory_.string()});
    return component;
  }

  std::vector<ComponentDirectory> components_below() {
    std::map<std::string, std::string> components;  // by the directories that hold an etc/eclipse
    for (const auto& [holder, files] : descriptors_) {
      const fs::path path = holder.empty() ? absolute_ : absolute_ / holder;
      const fs::path component = component_of(library_, files_, path, absolute_, files);
      components[holder] = component == absolute_ ? "" : component.lexically_relative(absolute_).string();
      found_[components[holder]];
    }
    for (const std::string& name : names_) {
      const bool has_holder = is_descriptor(name) && !is_example(name);
      const auto holder = has_holder ? components.find(holder_of(name)) : components.end();
      add(holder == components.end() ? nearest_component(name) : holder->second, name);
    }
    std::vector<ComponentDirectory> all;
    for (auto& [name, files] : found_) all.push_back({name.empty() ? absolute_ : absolute_ / name, std::move(files)});
    return all;
  }

  /// The innermost one that contains a file.
  std::string nearest_component(std::string name) const {
    do name.erase(name.find_last_of('/') == std::string::npos ? 0 : name.find_last_of('/'));
    while (!name.empty() && found_.count(name) == 0);
    return name;
  }

  void add(const std::string& component, const std::string& name) {
    const std::string listed = component.empty() ? name : name.substr(component.size() + 1);
    found_[component].push_back({listed, (directory_ / name).string(), is_example(name)});
  }

  const PluginFunctions& library_;
  DescriptorFiles& files_;
  fs::path directory_;
  fs::path absolute_;
  std::vector<std::string> names_;
  ByHolder descriptors_;
  std::set<fs::path> examples_;  // descriptor files among documentation or examples, where there are others
  std::map<std::string, std::vector<FoundFile>> found_;  // by the components' directories
};

}  // namespace

std::vector<ComponentDirectory> component_directories(const PluginFunctions& library, DescriptorFiles& files,
                                                      const fs::path& directory) {
  return DirectorySearch(library, files, directory).search();
}

}  // namespace eclipse_dry_run
