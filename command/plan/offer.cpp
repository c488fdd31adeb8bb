#include "plan/offer.h"

#include "dry_run/command_pieces.h"

using eclipse_p2::Repositories;
using eclipse_p2::Repository;

namespace eclipse_plan {

namespace {

void add(Offer& offer, const std::string& url, const Repository& repository) {
  if (!repository.units) {
    offer.is_all = offer.is_all && repository.unexamined_because.empty();
    return;
  }
  eclipse_p2::add_to(offer.units, *repository.units);
  for (const auto& [id, versions] : *repository.units) {
    for (const std::string& version : versions) offer.urls[id].emplace(version, url);
  }
}

}  // namespace

std::string Offer::repository_of(const std::string& id, const std::string& version) const {
  const auto of_id = urls.find(id);
  if (of_id == urls.end()) return "";
  const auto found = of_id->second.find(version);
  return found == of_id->second.end() ? "" : found->second;
}

Offer offered_to(const Plan& plan, Repositories& repositories) {
  Offer offer;
  if (plan.is_removal) return offer;
  for (const std::string& url : plan.repositories) {
    const std::string path = eclipse_dry_run::path_for_director(url);
    const Repository& repository = repositories.at(path);
    const auto error = eclipse_p2::url_error(path, eclipse_dry_run::is_archive_url(url), repository);
    if (!error) {
      add(offer, url, repository);
      continue;
    }
    offer.url_errors.emplace(url, *error);
    if (error->hinders_all) offer.hindrance = "the repository " + url + " " + error->message;
  }
  return offer;
}

}  // namespace eclipse_plan
