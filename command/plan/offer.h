// What the repositories of a plan offer.
#ifndef ECLIPSE_INT_PLAN_OFFER_H
#define ECLIPSE_INT_PLAN_OFFER_H

#include <map>
#include <string>

#include "p2/repository.h"
#include "p2/repository_url.h"
#include "plan/plan.h"

namespace eclipse_plan {

struct Offer {
  eclipse_p2::UnitVersions units;
  bool is_all = true;  ///< otherwise a repository may offer more than is known here

  /// The URL of the repository that offers this version of a unit, the first one of several; empty when none does.
  std::string repository_of(const std::string& id, const std::string& version) const;

  std::map<std::string, std::map<std::string, std::string>> urls;  ///< by id and version
  /// Of those that the director cannot load, whatever is in them. They offer nothing.
  std::map<std::string, eclipse_p2::UrlError> url_errors;  ///< by URL
  std::string hindrance = {};  ///< why such a URL makes the director fail before it loads any repository; otherwise empty
};

/// Nothing for a removal, for which the director gets no repositories.
Offer offered_to(const Plan& plan, eclipse_p2::Repositories& repositories);

}  // namespace eclipse_plan

#endif
