#include "run/used_files.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "dry_run/descriptor_files.h"
#include "dry_run/existing_descriptors.h"
#include "dry_run/plugin_functions.h"
#include "p2/data_area.h"
#include "p2/instance_paths.h"
#include "standalone_host/session_copy.h"

using namespace eclipse_dry_run;
using eclipse_host::Session;

namespace fs = std::filesystem;

namespace eclipse_run {

namespace {

struct InstanceDirectory {
  fs::path path;
  fs::path place;  ///< in an instance as it is usually laid out; empty for the instance itself
};

/// What is used as a whole, and what is used of directories.
struct UsedFiles {
  std::vector<fs::path> files;
  std::vector<fs::path> sites;  ///< directories and archives
  std::vector<InstanceDirectory> instances;
  std::vector<fs::path> descriptor_directories;
};

void add_instance(const fs::path& executable, UsedFiles& used) {
  if (executable.empty()) return;
  std::error_code error;
  used.files.push_back(executable);
  used.instances.push_back({executable.parent_path(), ""});
  used.instances.push_back({fs::weakly_canonical(executable, error).parent_path(), ""});
  const auto area = eclipse_p2::data_area_of(eclipse_p2::instance_directory(executable.string()));
  if (!area.is_inside && !area.directory.empty()) used.instances.push_back({area.directory, eclipse_p2::data_directory});
}

void add_instances(const PluginFunctions& library, const Session& session, UsedFiles& used) {
  for (const fs::path executable : library.executables(*eclipse_host::copy_of(session))) add_instance(executable, used);
  add_instance(session.variable("USER_DEFINED_ECLIPSE_PATH"), used);
}

UsedFiles used_files(const eclipse_host::Plugin& plugin, const Session& session) {
  const PluginFunctions library(plugin);
  UsedFiles used;
  add_instances(library, session, used);
  for (const DescriptorFile& descriptor : existing_descriptors(plugin, session)) {
    used.files.emplace_back(descriptor.path);
    used.descriptor_directories.push_back(fs::path(descriptor.path).parent_path());
    for (const plugin_config& record : library.records(descriptor.directory, descriptor_content(descriptor.path).bytes)) {
      if (!record.repository.empty()) used.sites.emplace_back(record.base_dir + "/" + record.repository);
    }
  }
  return used;
}

UsedFiles used_files(const fs::path& executable) {
  UsedFiles used;
  add_instance(executable, used);
  return used;
}

bool is_same(const fs::path& one, const fs::path& other) {
  std::error_code error;
  return fs::equivalent(one, other, error);
}

/// The path of a file, which need not exist, below a directory; nothing when it is elsewhere.
std::optional<fs::path> path_below(const fs::path& directory, const fs::path& file) {
  std::error_code error;
  const fs::path canonical = fs::weakly_canonical(fs::absolute(file, error), error);
  for (fs::path parent = canonical.parent_path(); !error && !parent.empty(); parent = parent.parent_path()) {
    if (is_same(parent, directory)) return canonical.lexically_relative(parent);
    if (parent == parent.root_path()) break;
  }
  return std::nullopt;
}

/// A hard link elsewhere is found only by looking at all files.
std::optional<fs::path> linked_path_below(const fs::path& directory, const fs::path& file) {
  std::error_code error;
  if (fs::hard_link_count(file, error) < 2 || error) return std::nullopt;
  fs::recursive_directory_iterator entries(directory, fs::directory_options::skip_permission_denied, error);
  for (; !error && entries != fs::recursive_directory_iterator(); entries.increment(error)) {
    if (is_same(entries->path(), file)) return entries->path().lexically_relative(directory);
  }
  return std::nullopt;
}

template <std::size_t Count>
bool is_among(const std::array<std::string_view, Count>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// Whether a path in an instance is in a directory of which p2 and Eclipse read every file.
bool is_in_managed_directory(const fs::path& path) {
  using namespace eclipse_p2;
  constexpr std::array<std::string_view, 5> directories = {configuration_directory, data_directory, dropins_directory,
                                                           features_directory, plugins_directory};
  return path.has_parent_path() && is_among(directories, path.begin()->string());
}

/// The launcher reads any .ini file beside it that has its name.
bool is_read_when_new(const fs::path& path) {
  return is_in_managed_directory(path) || (!path.has_parent_path() && path.extension() == ".ini");
}

/// Logs and other notes may be kept in the directory of an instance.
bool is_part_of_instance(const fs::path& path) {
  constexpr std::array<std::string_view, 4> extensions = {".jar", ".ini", ".so", ".xml"};
  return path == ".eclipseproduct" || is_among(extensions, path.extension()) ||
         (is_in_managed_directory(path) && path.extension() != ".log");
}

/// The file that is made when one of this name is opened for writing: the target of a dangling symlink.
fs::path file_to_be_made(fs::path file) {
  constexpr int most_links = 40;
  std::error_code error;
  for (int links = 0; links < most_links && fs::is_symlink(fs::symlink_status(file, error)); ++links) {
    file = file.parent_path() / fs::read_symlink(file, error);
  }
  return file;
}

std::optional<fs::path> directory_read_whole_among(const UsedFiles& used, const fs::path& file) {
  std::error_code error;
  const fs::path made = file_to_be_made(fs::absolute(file, error));
  for (const auto& [directory, place] : used.instances) {
    const auto path = path_below(directory, made);
    if (path && is_read_when_new(place / *path)) return (directory / *path).parent_path();
  }
  for (const fs::path& directory : used.descriptor_directories) {
    if (is_same(directory, made.parent_path())) return directory;
  }
  return std::nullopt;
}

std::optional<fs::path> used_file_among(const UsedFiles& used, const fs::path& file) {
  for (const fs::path& one : used.files) {
    if (is_same(one, file)) return one;
  }
  for (const fs::path& site : used.sites) {
    if (is_same(site, file)) return site;
    for (const auto& path : {path_below(site, file), linked_path_below(site, file)}) {
      if (path) return site / *path;
    }
  }
  for (const auto& [directory, place] : used.instances) {
    for (const auto& path : {path_below(directory, file), linked_path_below(directory, file)}) {
      if (path && is_part_of_instance(place / *path)) return directory / *path;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<fs::path> used_file(const eclipse_host::Plugin& plugin, const Session& session, const fs::path& file) {
  return used_file_among(used_files(plugin, session), file);
}

std::optional<fs::path> used_file_of_instance(const fs::path& executable, const fs::path& file) {
  return used_file_among(used_files(executable), file);
}

std::optional<fs::path> directory_read_whole(const eclipse_host::Plugin& plugin, const Session& session, const fs::path& file) {
  return directory_read_whole_among(used_files(plugin, session), file);
}

std::optional<fs::path> directory_read_whole_in_instance(const fs::path& executable, const fs::path& file) {
  return directory_read_whole_among(used_files(executable), file);
}

}  // namespace eclipse_run
