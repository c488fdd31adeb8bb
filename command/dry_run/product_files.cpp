#include "dry_run/product_files.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "dry_run/descriptor_files.h"
#include "dry_run/plugin_functions.h"
#include "standalone_host/session_copy.h"

using eclipse_host::Session;

namespace fs = std::filesystem;

namespace eclipse_dry_run {

namespace {

/// What is used as a whole, and what is used of directories.
struct UsedFiles {
  std::vector<fs::path> files;
  std::vector<fs::path> sites;      ///< directories and archives
  std::vector<fs::path> instances;  ///< directories
};

void add_instance(const fs::path& executable, UsedFiles& used) {
  if (executable.empty()) return;
  std::error_code error;
  used.files.push_back(executable);
  used.instances.push_back(executable.parent_path());
  used.instances.push_back(fs::weakly_canonical(executable, error).parent_path());
}

void add_instances(const PluginFunctions& library, const Session& session, UsedFiles& used) {
  for (const fs::path executable : library.executables(*eclipse_host::copy_of(session))) add_instance(executable, used);
  add_instance(session.variable("USER_DEFINED_ECLIPSE_PATH"), used);
}

/// Those that exist, whichever components take part.
std::vector<DescriptorFile> descriptors_of(const PluginFunctions& library, const Session& session) {
  std::vector<DescriptorFile> descriptors;
  for (const auto& component : session.components) {
    if (!component || !component->package) continue;
    for (const std::string& listed : component->package->files) {
      const auto descriptor = library.descriptor(*component, listed);
      if (descriptor && descriptor->exists) descriptors.push_back(*descriptor);
    }
  }
  return descriptors;
}

UsedFiles used_files(const eclipse_host::Plugin& plugin, const Session& session) {
  const PluginFunctions library(plugin);
  UsedFiles used;
  add_instances(library, session, used);
  for (const DescriptorFile& descriptor : descriptors_of(library, session)) {
    used.files.emplace_back(descriptor.path);
    for (const plugin_config& record : library.records(descriptor.directory, descriptor_content(descriptor.path).bytes)) {
      if (!record.repository.empty()) used.sites.emplace_back(record.base_dir + "/" + record.repository);
    }
  }
  return used;
}

bool is_same(const fs::path& one, const fs::path& other) {
  std::error_code error;
  return fs::equivalent(one, other, error);
}

/// The path of a file below a directory; nothing when it is elsewhere.
std::optional<fs::path> path_below(const fs::path& directory, const fs::path& file) {
  std::error_code error;
  const fs::path canonical = fs::canonical(file, error);
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

/// Logs and other notes may be kept in the directory of an instance.
bool is_part_of_instance(const fs::path& path) {
  constexpr std::array<std::string_view, 5> directories = {"configuration", "dropins", "features", "p2", "plugins"};
  constexpr std::array<std::string_view, 4> extensions = {".jar", ".ini", ".so", ".xml"};
  const auto is_among = [](const auto& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
  };
  if (is_among(extensions, path.extension())) return true;
  return path.has_parent_path() && is_among(directories, path.begin()->string()) && path.extension() != ".log";
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
  for (const fs::path& instance : used.instances) {
    for (const auto& path : {path_below(instance, file), linked_path_below(instance, file)}) {
      if (path && is_part_of_instance(*path)) return instance / *path;
    }
  }
  return std::nullopt;
}

}  // namespace

std::optional<fs::path> used_file(const eclipse_host::Plugin& plugin, const Session& session, const fs::path& file) {
  return used_file_among(used_files(plugin, session), file);
}

std::optional<fs::path> used_file_of_instance(const fs::path& executable, const fs::path& file) {
  UsedFiles used;
  add_instance(executable, used);
  return used_file_among(used, file);
}

std::string chosen_executable(const eclipse_host::Plugin& plugin, const Session& session) {
  const std::string choice = session.variable("ECLIPSE_INTEGRATION_CHOICE");
  std::string executable;
  if (choice == "user") executable = session.variable("USER_DEFINED_ECLIPSE_PATH");
  if (choice == "internal") {
    const auto found = PluginFunctions(plugin).executables(*eclipse_host::copy_of(session));
    if (!found.empty()) executable = found.back();
  }
  std::error_code error;
  return fs::exists(executable, error) ? executable : "";
}

void check_descriptor_sizes(const eclipse_host::Plugin& plugin, const Session& session) {
  for (const DescriptorFile& descriptor : descriptors_of(PluginFunctions(plugin), session)) {
    check_descriptor_size(descriptor.path);
  }
}

std::vector<UnreadableDescriptor> unreadable_descriptors(const eclipse_host::Plugin& plugin, const Session& session) {
  std::vector<UnreadableDescriptor> unreadable;
  for (const DescriptorFile& descriptor : descriptors_of(PluginFunctions(plugin), session)) {
    const std::string error = descriptor_content(descriptor.path).error;
    if (!error.empty()) unreadable.push_back({descriptor.path, error});
  }
  return unreadable;
}

}  // namespace eclipse_dry_run
