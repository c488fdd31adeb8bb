#include <optional>
#include <utility>

#include "eclipse_int/eclipse_int.h"
#include "host/components.h"
#include "host/paths.h"

using namespace eclipse_int;

namespace {

/// The directory below which the package's files are placed: its prefix, resolved against the provider's root if it is
/// relative. Nothing if that fails: the files must not be looked for from "/" then.
std::optional<std::string> package_directory(const ComponentPackage& found) {
  const std::string& prefix = found.package->prefix;
  if (!path_is_relative(prefix)) return prefix;
  std::string resolved = resolved_path(found.provider->rootPath() + "/" + prefix);
  if (resolved.empty()) return std::nullopt;
  return resolved;
}

}  // namespace

std::string find_eclipse_executable(const std::string& name, const std::vector<Component*>& components) {
  std::string executable;
  for (Component* const component : components) {
    if (!is_usable(component)) continue;
    const auto found = find_package(*component);
    if (!found) continue;
    for (const std::string& listed : found->provider->packageFiles(found->package)) {
      const std::string_view entry = without_line_ends(listed);
      if (listed.empty() || !path_ends_with(entry, name)) continue;
      const auto directory = package_directory(*found);
      if (!directory) continue;
      std::string candidate = joined_path(*directory, with_forward_slashes(entry));
      const bool is_named_so = get_basename(candidate) == name;
      if (!is_named_so || !is_file(candidate)) continue;
      print_log("eclipse_int: found eclipse executable: %s", candidate.c_str());
      executable = std::move(candidate);  // no stop here: of several, the last one wins
    }
  }
  if (executable.empty()) print_log("eclipse_int: eclipse not found");
  return executable;
}
