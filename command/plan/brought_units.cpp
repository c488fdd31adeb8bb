#include "plan/brought_units.h"

#include <utility>

#include "p2/unit_list.h"

using namespace eclipse_p2;

namespace eclipse_plan {

std::vector<BroughtUnit> units_brought_by(const Plan& plan, const Offer& offer, const std::vector<InstalledUnit>& installed) {
  if (plan.is_removal) return {};
  std::vector<BroughtUnit> units;
  std::vector<Unit> named;
  std::size_t number = 0;
  for (const PlannedRecord* const record : plan.features()) {
    ++number;
    std::vector<WrittenUnit> units_of_line = units_written_in(record->config.feature);
    if (units_of_line.empty()) units_of_line.emplace_back();  // which no repository offers
    for (WrittenUnit& written : units_of_line) {
      units.push_back({record, number, written.unit, {}, ""});
      named.push_back(std::move(written.unit));
    }
  }
  auto versions = versions_brought_by(named, InstallationForecast(offer.units, offer.is_all, installed));
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto rival = versions[i].rival;
    if (rival) units[i].rival = versions[*rival].version + " (" + units[*rival].record->place() + ")";
  }
  for (std::size_t i = 0; i < units.size(); ++i) units[i].brought = std::move(versions[i]);
  return units;
}

}  // namespace eclipse_plan
