// What the director meets when it removes units from an instance. It removes all units of a command or none: none if one of
// them is not installed. A unit that others require stays, and the director reports success all the same.
#ifndef ECLIPSE_INT_P2_REMOVAL_H
#define ECLIPSE_INT_P2_REMOVAL_H

#include <functional>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "p2/profile.h"
#include "p2/unit.h"

namespace eclipse_p2 {

/// What comes of a unit that is not installed.
inline constexpr const char* removes_none = "so the director removes none of the features";

/// What an instance has of a unit.
struct UnitState {
  bool is_installed = false;                ///< in the version that is named, if one is
  std::vector<std::string> required_by;     ///< the ids of the installed units that require it
  std::vector<std::string> other_versions;  ///< that are installed
};

/// Looks installed units up by their ids. It refers to them, so they must outlive it.
class InstalledById {
 public:
  explicit InstalledById(const std::vector<InstalledUnit>& installed);

  /// What is installed under an id, where `is_it` says which of the versions are meant.
  UnitState state_of(const std::string& id, const std::function<bool(const Unit& installed)>& is_it) const;

 private:
  std::multimap<std::string_view, const InstalledUnit*> units_;
};

/// The states of these units in an instance with these installed units.
std::vector<UnitState> states_of(const std::vector<Unit>& units, const std::vector<InstalledUnit>& installed);

/// A unit that is to be removed.
struct RemovedUnit {
  Unit unit;
  UnitState state;                   ///< before the removal
  std::vector<std::string> kept_by;  ///< the ids of the units that stay and require it, so that it stays, too
};

/// What a removal of these units meets in an instance with these installed units, of which `roots` were installed by name.
std::vector<RemovedUnit> removal_of(const std::vector<Unit>& units, const std::vector<Unit>& roots,
                                    const std::vector<InstalledUnit>& installed);

/// What an instance keeps of `units` when these are the roots that stay: the ids of the roots, and of all that they require.
/// Other units that require each other do not keep each other there. The ids are views of the arguments' texts.
std::set<std::string_view> ids_kept_by(std::vector<std::string_view> roots, const std::vector<InstalledUnit>& units);

}  // namespace eclipse_p2

#endif
