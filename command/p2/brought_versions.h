// Whether an installation brings a unit in two versions.
#ifndef ECLIPSE_INT_P2_BROUGHT_VERSIONS_H
#define ECLIPSE_INT_P2_BROUGHT_VERSIONS_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "p2/installation.h"
#include "p2/unit.h"

namespace eclipse_p2 {

/// What the director takes for one of the units that it is asked to install.
struct BroughtVersion {
  Installation step;
  std::string version;  ///< that it takes; empty when that is not known
  /// The first one of the others that brings the unit in another version, by its index; nothing when none does. The two go
  /// together only if they have no singleton in common.
  std::optional<std::size_t> rival = {};
  bool is_first = true;  ///< none before it brings this unit

  /// Of several versions, only the one that is installed goes in, or else the first one.
  bool is_kept_out_by_rival() const;
};

/// For each unit, in their order.
std::vector<BroughtVersion> versions_brought_by(const std::vector<Unit>& named, const InstallationForecast& forecast);

}  // namespace eclipse_p2

#endif
