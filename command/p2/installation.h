// What an installation meets: the units that are installed already, and those that the repositories offer.
#ifndef ECLIPSE_INT_P2_INSTALLATION_H
#define ECLIPSE_INT_P2_INSTALLATION_H

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "p2/profile.h"
#include "p2/repository.h"
#include "p2/unit.h"

namespace eclipse_p2 {

/// What the director has to do with a unit that it is asked to install. It takes the highest version that the repositories
/// offer, and one that is installed only if they offer none. It does not replace a unit that was installed by name.
enum class InstallStep {
  add,        ///< no version of it is installed
  keep,       ///< this version is installed
  upgrade,    ///< another version came along with other units, and may be replaced
  conflict,   ///< another version was installed by name; the two go together only if they have no singleton in common
  not_found,  ///< no repository offers it
};

struct Installation {
  InstallStep step = InstallStep::add;
  std::string version;           ///< that the director takes; empty when that is not known
  std::string installed;         ///< the version that is installed; empty when none is
  bool installed_newer = false;  ///< that one is higher
  std::string pinned_by = {};    ///< of an upgrade: the root that requires exactly the installed version; empty when none does
};

/// Which installed versions a run replaces by others before it installs anything.
enum class Replaces { nothing, older, all };

/// The highest version of a unit that is wanted; nothing when it is not offered.
std::optional<std::string> highest_offered(const Unit& wanted, const UnitVersions& offered);

class InstallationForecast {
 public:
  /// What all repositories together offer, and whether that is all, and the units of the instance. Both must outlive this
  /// object.
  InstallationForecast(const UnitVersions& offered, bool is_all, const std::vector<InstalledUnit>& installed);

  Installation of(const Unit& wanted) const;

 private:
  const InstalledUnit* installed(const Unit& wanted) const;

  const UnitVersions& offered_;
  bool is_all_;
  std::multimap<std::string_view, const InstalledUnit*> installed_;
};

}  // namespace eclipse_p2

#endif
