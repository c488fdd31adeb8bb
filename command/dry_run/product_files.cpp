#include "dry_run/product_files.h"

#include <filesystem>

#include "dry_run/plugin_functions.h"
#include "standalone_host/session_copy.h"

namespace eclipse_dry_run {

using eclipse_dry_run::Library;
using eclipse_host::Session;

namespace {

std::vector<std::string> executables_of(const Library& library, const Session& session) {
  std::vector<std::string> executables = library.executables(*eclipse_host::copy_of(session));
  const std::string own = session.variable("USER_DEFINED_ECLIPSE_PATH");
  if (!own.empty()) executables.push_back(own);
  return executables;
}

}  // namespace

std::vector<std::string> product_files(const eclipse_host::Plugin& plugin, const Session& session) {
  const Library library(plugin);
  std::vector<std::string> files;
  for (const std::string& executable : executables_of(library, session)) {
    files.push_back(executable);
    files.push_back(std::filesystem::path(executable).parent_path() / "configuration/config.ini");
  }
  for (const auto& component : session.components) {
    if (!component || !component->package) continue;
    for (const std::string& listed : component->package->files) {
      const auto descriptor = library.descriptor(*component, listed);
      if (descriptor && descriptor->exists) files.push_back(descriptor->path);
    }
  }
  return files;
}

}  // namespace eclipse_dry_run
