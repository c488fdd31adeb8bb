#include "lint/rules/needed_units.h"

#include "base/text.h"
#include "lint/rules/iteration.h"
#include "p2/director_command.h"
#include "p2/installation.h"

using namespace eclipse_p2;

namespace eclipse_lint {

Sites loaded_sites(const Input& input) {
  Sites sites;
  std::set<const Repository*> known;
  for_each_placed(input, [&](const Record& record) {
    const bool is_loaded = record.site != nullptr && record.site->is_repository && record.site->error.empty();
    if (is_loaded && known.insert(record.site).second) sites.emplace_back(record.site, &record);
  });
  return sites;
}

NeededUnits::NeededUnits(const Input& input, const Sites& sites) : offered_(*input.known_units), sites_(sites) {
  for_each_placed(input, [&](const Record& record) {
    for (const Unit& unit : units_named(std::string(record.feature()))) add(unit);
  });
  while (!open_.empty()) {
    const Unit unit = open_.back();
    open_.pop_back();
    add_parts(unit);
  }
}

void NeededUnits::add(const Unit& wanted) {
  const auto version = highest_offered(wanted, offered_);
  if (version && units_.insert({wanted.id, *version}).second) open_.push_back({wanted.id, *version});
}

void NeededUnits::add_parts(const Unit& unit) {
  for (const auto& [site, record] : sites_) {
    const auto found = site->descriptions.find(unit);
    if (found == site->descriptions.end()) continue;
    for (const std::string& part : found->second.parts) add({part, ""});
  }
}

Unit unit_of_artifact(const std::string& artifact) {
  const auto parts = eclipse_base::split(artifact, ',');
  const bool is_feature = parts.front() == "org.eclipse.update.feature";
  return {parts.at(1) + (is_feature ? ".feature.jar" : ""), parts.back()};
}

}  // namespace eclipse_lint
