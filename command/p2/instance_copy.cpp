// What is copied, seen with the director of Eclipse 4.26, which resolves on it as it does on the instance itself:
//
//   configuration/config.ini                                    names the profile, and where p2 keeps its data
//   configuration/org.eclipse.equinox.simpleconfigurator/       which bundles there are
//   p2/org.eclipse.equinox.p2.engine/.settings/                 the repositories that p2 knows
//   p2/org.eclipse.equinox.p2.engine/profileRegistry/ID.profile/{TIME.profile.gz,.data/}
//   p2/org.eclipse.equinox.p2.repository/                       what it has fetched of repositories, which it does not read
//   again
//
// The caches of the framework are left out: they are large, and the first start makes them anew.
#include "p2/instance_copy.h"

#include <fstream>
#include <string>
#include <system_error>

#include "base/file.h"
#include "p2/configuration_files.h"
#include "p2/data_area.h"
#include "p2/installed_units.h"
#include "p2/profile.h"

namespace fs = std::filesystem;
using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

void copy_if_there(const fs::path& from, const fs::path& to, const fs::path& what) {
  if (!fs::exists(from / what)) return;
  fs::create_directories((to / what).parent_path());
  fs::copy(from / what, to / what, fs::copy_options::recursive);
}

/// With the configuration of the instance as a parent of the copied one, p2 would take the instance for a shared one, and
/// resolve on a profile of its own, in which only the roots are known.
void separate_from_instance(const fs::path& configuration) {
  std::ofstream(configuration, std::ios::app | std::ios::binary) << "\nosgi.configuration.cascaded=false\n";
}

void copy_instance(const fs::path& from, const fs::path& to, const fs::path& state) {
  copy_if_there(from, to, configuration_file);
  separate_from_instance(to / configuration_file);
  copy_if_there(from, to, "configuration/org.eclipse.equinox.simpleconfigurator");
  copy_if_there(from, to, "p2/org.eclipse.equinox.p2.engine/.settings");
  copy_if_there(from, to, "p2/org.eclipse.equinox.p2.repository");
  copy_if_there(from, to, state.lexically_relative(from));
  copy_if_there(from, to, state.parent_path().lexically_relative(from) / ".data");
}

}  // namespace

bool InstanceCopy::is_possible_for(const fs::path& instance) {
  const fs::path state = profile_file(instance);
  const bool is_inside = !state.empty() && state == state.lexically_normal();
  const bool is_configured = read_file(instance / configuration_file, largest::configuration).error.empty();
  return is_inside && is_configured && data_area_of(instance).is_inside;
}

std::unique_ptr<InstanceCopy> InstanceCopy::of(const fs::path& instance) try {
  if (!is_possible_for(instance)) return nullptr;
  std::unique_ptr<InstanceCopy> copy(new InstanceCopy);
  copy_instance(instance, copy->directory(), profile_file(instance));
  return copy;
} catch (const fs::filesystem_error& error) {
  throw InstanceError("\"" + instance.string() + "\" cannot be copied to ask its director: " + error.what());
}

fs::path InstanceCopy::configuration() const { return directory() / "configuration"; }

}  // namespace eclipse_p2
