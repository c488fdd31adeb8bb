// The units that an installation names, in the versions that the director takes.
#ifndef ECLIPSE_INT_PLAN_BROUGHT_UNITS_H
#define ECLIPSE_INT_PLAN_BROUGHT_UNITS_H

#include <cstddef>
#include <string>
#include <vector>

#include "p2/brought_versions.h"
#include "p2/profile.h"
#include "p2/unit.h"
#include "plan/offer.h"
#include "plan/plan.h"

namespace eclipse_plan {

struct BroughtUnit {
  const PlannedRecord* record;  ///< of the plan
  std::size_t number;           ///< of the record's feature in install order, from 1
  eclipse_p2::Unit named;
  eclipse_p2::BroughtVersion brought;
  std::string rival;  ///< "VERSION (FILE:LINE)" of its rival; empty when it has none
};

/// In install order; nothing for a removal. `installed` are the units of the instance.
std::vector<BroughtUnit> units_brought_by(const Plan& plan, const Offer& offer,
                                          const std::vector<eclipse_p2::InstalledUnit>& installed);

}  // namespace eclipse_plan

#endif
