// What the repositories of a plan offer.
#ifndef ECLIPSE_INT_PLAN_OFFER_H
#define ECLIPSE_INT_PLAN_OFFER_H

#include <map>
#include <string>

#include "p2/repository.h"
#include "plan/plan.h"

namespace eclipse_plan {

struct Offer {
  eclipse_p2::UnitVersions units;
  bool is_all = true;  ///< otherwise a repository may offer more than is known here

  /// The URL of the repository that offers this version of a unit, the first one of several; empty when none does.
  std::string repository_of(const std::string& id, const std::string& version) const;

  std::map<std::string, std::map<std::string, std::string>> urls;  ///< by id and version
};

/// Nothing for a removal, for which the director gets no repositories.
Offer offered_to(const Plan& plan, eclipse_p2::Repositories& repositories);

}  // namespace eclipse_plan

#endif
