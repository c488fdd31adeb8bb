// The units that the director needs for the features of an input.
#ifndef ECLIPSE_INT_LINT_RULES_NEEDED_UNITS_H
#define ECLIPSE_INT_LINT_RULES_NEEDED_UNITS_H

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "lint/input.h"
#include "p2/repository.h"
#include "p2/unit.h"

namespace eclipse_lint {

/// Repositories that can be loaded, each with the first line that names it.
using Sites = std::vector<std::pair<const eclipse_p2::Repository*, const Record*>>;

Sites loaded_sites(const Input& input);

/// The features in the versions that the director takes, and what they include on every system. What bundles require of each
/// other is not followed.
class NeededUnits {
 public:
  /// The units of the input's sites are known. The sites are the input's, and outlive this object.
  NeededUnits(const Input& input, const Sites& sites);

  bool has(const eclipse_p2::Unit& unit) const { return units_.count(unit) != 0; }
  const std::set<eclipse_p2::Unit>& all() const { return units_; }

 private:
  void add(const eclipse_p2::Unit& wanted);
  void add_parts(const eclipse_p2::Unit& unit);

  const eclipse_p2::UnitVersions& offered_;
  const Sites& sites_;
  std::set<eclipse_p2::Unit> units_;
  std::vector<eclipse_p2::Unit> open_;
};

/// The unit that an artifact "CLASSIFIER,ID,VERSION" belongs to.
eclipse_p2::Unit unit_of_artifact(const std::string& artifact);

}  // namespace eclipse_lint

#endif
