#include "p2/brought_versions.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "p2/version.h"

namespace eclipse_p2 {

namespace {

/// Of a repository that is not known, the director can only take the version that is pinned.
BroughtVersion brought(const Unit& named, const InstallationForecast& forecast) {
  Installation step = forecast.of(named);
  const bool may_be_offered = step.version.empty() && step.step != InstallStep::not_found;
  std::string version = may_be_offered && is_pinned(named) ? named.version : step.version;
  return {std::move(step), std::move(version)};
}

/// Of one unit, the first index for each version: a line may repeat a unit many times.
class VersionsOfUnit {
 public:
  bool is_empty() const { return first_.empty(); }

  void add(const std::string& version, std::size_t index) {
    if (known_.insert(whole_version(version)).second) first_.emplace_back(whole_version(version), index);
  }

  /// Versions that are not known are not compared.
  std::optional<std::size_t> rival_of(const std::string& version) const {
    if (version.empty()) return std::nullopt;
    const std::string whole = whole_version(version);
    const auto rival = std::find_if(first_.begin(), first_.end(), [&](const auto& other) { return other.first != whole; });
    return rival == first_.end() ? std::nullopt : std::optional(rival->second);
  }

 private:
  std::set<std::string> known_;
  std::vector<std::pair<std::string, std::size_t>> first_;
};

}  // namespace

bool BroughtVersion::is_kept_out_by_rival() const {
  return rival && step.step != InstallStep::keep && (step.step == InstallStep::conflict || !is_first);
}

std::vector<BroughtVersion> versions_brought_by(const std::vector<Unit>& named, const InstallationForecast& forecast) {
  std::vector<BroughtVersion> units;
  std::map<std::string_view, VersionsOfUnit> by_id;
  for (std::size_t i = 0; i < named.size(); ++i) {
    VersionsOfUnit& versions = by_id[named[i].id];
    units.push_back(brought(named[i], forecast));
    units.back().is_first = versions.is_empty();
    if (!units.back().version.empty()) versions.add(units.back().version, i);
  }
  for (std::size_t i = 0; i < named.size(); ++i) units[i].rival = by_id[named[i].id].rival_of(units[i].version);
  return units;
}

}  // namespace eclipse_p2
