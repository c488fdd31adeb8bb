#include "p2/installation.h"

#include <algorithm>
#include <compare>

#include "p2/version.h"

namespace eclipse_p2 {

std::optional<std::string> highest_offered(const Unit& wanted, const UnitVersions& offered) {
  std::optional<std::string> highest;
  const auto versions = offered.find(wanted.id);
  if (versions == offered.end()) return highest;
  for (const std::string& version : versions->second) {
    if (is_wanted(wanted, {wanted.id, version}) && (!highest || std::is_lt(compare_versions(*highest, version))))
      highest = version;
  }
  return highest;
}

InstallationForecast::InstallationForecast(const UnitVersions& offered, bool is_all,
                                           const std::vector<InstalledUnit>& installed)
    : offered_(offered), is_all_(is_all) {
  for (const InstalledUnit& unit : installed) installed_.emplace(unit.id, &unit);
}

/// Of several, a root, which the director does not replace.
const InstalledUnit* InstallationForecast::installed(const Unit& wanted) const {
  const InstalledUnit* found = nullptr;
  const auto [begin, end] = installed_.equal_range(wanted.id);
  for (auto each = begin; each != end; ++each) {
    const InstalledUnit& unit = *each->second;
    if (is_wanted(wanted, unit.unit()) && (found == nullptr || unit.is_root)) found = &unit;
  }
  return found;
}

Installation InstallationForecast::of(const Unit& wanted) const {
  const auto offered = highest_offered(wanted, offered_);
  if (!offered) {
    if (const InstalledUnit* const same = installed(wanted)) return {InstallStep::keep, same->version, same->version};
    return {is_all_ ? InstallStep::not_found : InstallStep::add, "", ""};
  }
  if (const InstalledUnit* const same = installed({wanted.id, *offered})) {
    return {InstallStep::keep, *offered, same->version};
  }
  const InstalledUnit* const other = installed({wanted.id, ""});
  if (other == nullptr) return {InstallStep::add, *offered, ""};
  return {other->is_root ? InstallStep::conflict : InstallStep::upgrade, *offered, other->version,
          std::is_lt(compare_versions(*offered, other->version)), other->is_root ? "" : other->pinned_by};
}

}  // namespace eclipse_p2
