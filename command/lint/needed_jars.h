// The jars of the units that the director needs, and what is wrong with them.
#ifndef ECLIPSE_INT_LINT_NEEDED_JARS_H
#define ECLIPSE_INT_LINT_NEEDED_JARS_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "lint/needed_units.h"
#include "p2/jar_errors.h"

namespace eclipse_lint {

struct NeededJar {
  const Record* record;     ///< the first line that names its repository
  const std::string* name;  ///< its path in the repository
  eclipse_p2::Unit unit;    ///< that it belongs to
  eclipse_p2::JarErrors errors;
};

/// Those that only one repository has: of several, the director may take another.
class NeededJars {
 public:
  explicit NeededJars(std::shared_ptr<const NeededUnits> needed) : needed_(std::move(needed)) {}

  /// Those with errors, by their repositories. They are read at the first call, which takes its time.
  const std::vector<NeededJar>& wrong() const;

 private:
  std::shared_ptr<const NeededUnits> needed_;
  mutable std::optional<std::vector<NeededJar>> wrong_ = std::nullopt;
};

}  // namespace eclipse_lint

#endif
