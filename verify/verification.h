// Whether an Eclipse instance has what a session should have installed, and lacks what it should have removed.
#ifndef ECLIPSE_INT_VERIFY_VERIFICATION_H
#define ECLIPSE_INT_VERIFY_VERIFICATION_H

#include <string>
#include <vector>

#include "plan/plan.h"
#include "verify/installed_units.h"

namespace eclipse_verify {

/// A unit that the session names, and what the instance has of it.
struct CheckedUnit {
  Unit unit;
  std::vector<std::string> places;          ///< the descriptor lines that name it, as "FILE:LINE"
  bool is_installed = false;                ///< in the version that is named, if one is
  std::vector<std::string> other_versions;  ///< that are installed
};

struct Verification {
  bool is_removal = false;
  std::string executable;
  std::vector<Unit> installed;     ///< all that the instance has
  std::vector<CheckedUnit> units;  ///< in install order

  bool is_as_it_should_be(const CheckedUnit& checked) const { return checked.is_installed != is_removal; }
  std::vector<CheckedUnit> differences() const;
  /// Units to be removed that are not installed.
  std::vector<CheckedUnit> not_there() const;
};

/// Compares what a plan comes to with what is installed.
Verification compare(const eclipse_plan::Plan& plan, std::vector<Unit> installed);

/// Asks the instance of a plan, which has a command. Throws InstanceFault.
Verification verify(const eclipse_plan::Plan& plan);

/// The units in the first list that are not in the second.
std::vector<Unit> missing_in(const std::vector<Unit>& units, const std::vector<Unit>& others);

}  // namespace eclipse_verify

#endif
