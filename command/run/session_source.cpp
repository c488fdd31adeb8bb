#include "run/session_source.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "base/file_error.h"
#include "base/printable.h"
#include "draft/session_draft.h"
#include "dry_run/component_directories.h"
#include "p2/instance_paths.h"
#include "run/usage_error.h"

using namespace eclipse_base;
using namespace eclipse_dry_run;

namespace fs = std::filesystem;

namespace eclipse_run {

namespace {

bool has_descriptors(const PluginFunctions& library, const ComponentDirectory& component) {
  return std::any_of(component.files.begin(), component.files.end(),
                     [&](const FoundFile& file) { return !file.is_example && library.descriptor({}, file.listed); });
}

bool has_examples(const ComponentDirectory& component) {
  return std::any_of(component.files.begin(), component.files.end(), [](const FoundFile& file) { return file.is_example; });
}

/// A package would hardly list the descriptor files among documentation or examples, which the plug-in would read.
std::vector<std::string> shipped_files(const ComponentDirectory& component) {
  std::vector<std::string> files;
  for (const FoundFile& file : component.files) {
    if (!file.is_example) files.push_back(file.listed);
  }
  return files;
}

/// The --eclipse that a directory needs.
const std::string& eclipse_for(const std::string& directory, const SessionOptions& options) {
  if (options.eclipse) return *options.eclipse;
  throw UsageError(printable(directory) +
                   " is a directory; add --eclipse with the Eclipse instance to use, or give a session file");
}

}  // namespace

eclipse_host::Plugin load_plugin(const SessionOptions& options) {
  return options.plugin ? eclipse_host::Plugin(*options.plugin) : eclipse_host::Plugin::beside_this_program();
}

bool is_component_directory(const std::string& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

std::string drafted_session(const std::string& directory, const SessionOptions& options) {
  eclipse_draft::SessionDraft draft;
  draft.eclipse = eclipse_p2::executable_named(eclipse_for(directory, options));
  draft.is_removal = options.removes;
  const eclipse_host::Plugin plugin = load_plugin(options);
  const PluginFunctions library(plugin);
  DescriptorFiles files;
  for (const ComponentDirectory& component : component_directories(library, files, directory)) {
    if (!has_descriptors(library, component)) continue;
    draft.components.push_back(component.path);
    if (has_examples(component)) draft.shipped[component.path] = shipped_files(component);
  }
  if (draft.components.empty()) {
    throw FileError(directory, eclipse_dry_run::no_descriptor_file);
  }
  return eclipse_draft::draft_session(draft);
}

std::shared_ptr<const JsonDocument> session_document(const std::string& path, const SessionOptions& options) {
  if (is_component_directory(path)) return std::make_shared<const JsonDocument>(path, drafted_session(path, options));
  for (const auto& [is_given, option] : {std::pair(options.eclipse.has_value(), "--eclipse"), {options.removes, "--remove"}}) {
    if (is_given) {
      throw UsageError(std::string(option) + ": only for a directory of components; set this in the session file " +
                       printable(path) + " instead");
    }
  }
  return std::make_shared<const JsonDocument>(path);
}

}  // namespace eclipse_run
