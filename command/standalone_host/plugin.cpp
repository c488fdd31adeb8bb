#include "standalone_host/plugin.h"

#include <dlfcn.h>

#include <stdexcept>

#include "base/file.h"
#include "base/printable.h"
#include "eclipse_int/library_version.h"
#include "shell/own_command.h"
#include "standalone_host/installation.h"

namespace eclipse_host {

namespace {

constexpr std::string_view file_name = "libeclipse_int.so";

}  // namespace

std::filesystem::path own_library(const std::filesystem::path& name, const std::string& fix) {
  const std::filesystem::path program = std::filesystem::read_symlink(eclipse_shell::own_program).parent_path();
  std::string looked_at;
  for (const auto& directory : {program, (program / installed_library_directory).lexically_normal()}) {
    std::filesystem::path library = directory / name;
    if (std::filesystem::exists(library)) return library;
    looked_at += (looked_at.empty() ? "" : " and ") + library.string();
  }
  throw PluginError(name, "not found, looked for " + looked_at + "; " + fix);
}

PluginError PluginError::lacks(const std::filesystem::path& library, const std::string& kind, std::string_view name) {
  return {library,
          "has no " + kind + " " + eclipse_base::in_quotes(name) + "; this is not the plug-in, or not this version of it"};
}

Plugin::Plugin(const std::filesystem::path& library) : library_(library) {
  // A name without a slash would be looked up in the system's library directories.
  const std::string name = eclipse_base::absolute_path(library).string();
  // The loader would wait for a writer of a FIFO.
  std::error_code error;
  const auto status = std::filesystem::status(name, error);
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw PluginError(library, "is not a regular file; give the path of " + std::string(file_name));
  }
  void* const handle = dlopen(name.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle == nullptr) {
    throw PluginError(library, std::string("cannot be loaded: ") + dlerror() + "; give the path of " + std::string(file_name));
  }
  for (const std::string_view action : action_names) {
    void* const symbol = dlsym(handle, std::string(action).c_str());
    if (symbol == nullptr) throw PluginError::lacks(library, "action", action);
    actions_.emplace(action, reinterpret_cast<int (*)(session_t*)>(symbol));
  }
}

Plugin Plugin::beside_this_program() { return Plugin(own_library(file_name, "put it there or give its path")); }

std::string Plugin::version() const {
  return eclipse_int::library_version(reinterpret_cast<const void*>(actions_.begin()->second));
}

int Plugin::call(std::string_view name, session_t& session) const {
  const auto found = actions_.find(name);
  if (found == actions_.end()) throw std::out_of_range("the plug-in has no action " + std::string(name));
  return found->second(&session);
}

}  // namespace eclipse_host
