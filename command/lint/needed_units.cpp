#include "lint/needed_units.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "base/text.h"
#include "p2/installation.h"
#include "p2/names.h"
#include "p2/unit_list.h"
#include "p2/version.h"

using namespace eclipse_p2;

namespace eclipse_lint {

Sites loaded_sites(const Input& input) {
  Sites sites;
  std::set<const Repository*> known;
  for (const Record& record : input.records) {
    const bool is_loaded = record.site != nullptr && record.site->is_loadable();
    if (is_loaded && known.insert(record.site).second) sites.emplace_back(record.site, &record);
  }
  return sites;
}

namespace {

/// The first two words of a name such as "org.example.tools"; empty when it has fewer.
std::string_view vendor_in(std::string_view name) {
  const std::size_t dot = name.find('.');
  return dot == name.npos ? std::string_view() : name.substr(0, name.find('.', dot + 1));
}

/// Whether two names begin like those of one vendor who has hardly anything in an instance but this product.
bool are_of_one_vendor(std::string_view name, std::string_view other) {
  constexpr std::array<std::string_view, 10> of_many = {"org.eclipse", "org.apache",     "org.osgi",      "com.google",
                                                        "com.sun",     "com.ibm",        "org.glassfish", "com.github",
                                                        "io.github",   "net.sourceforge"};
  const std::string_view vendor = vendor_in(name);
  return !vendor.empty() && vendor == vendor_in(other) && std::find(of_many.begin(), of_many.end(), vendor) == of_many.end();
}

}  // namespace

NeededUnits::NeededUnits(const Input& input)
    : offered_(*input.known_units), sites_(loaded_sites(input)), knows_all_(input.offered != nullptr) {
  knows_installed_ = input.session && input.session->installed;
  environment_ = system_environment(knows_installed_);
  if (knows_installed_) {
    for (const InstalledUnit& unit : *input.session->installed) installed_.emplace(unit.id, unit.version);
  }
  index();
  for (const Record& record : input.records) {
    if (!record.placement) continue;
    for (const WrittenUnit& wanted : record.units) {
      const auto version = highest_offered(wanted.unit, offered_);
      if (!version) continue;
      const Unit unit{wanted.unit.id, *version};
      named_.push_back({unit, &record, description_of(unit)});
      add(unit, &record, true);
    }
  }
  while (!open_.empty()) {
    const Open open = open_.back();
    open_.pop_back();
    add_requirements(open);
  }
}

void NeededUnits::index() {
  for (const auto& [site, record] : sites_) {
    for (const Described& described : site->descriptions) {
      auto& descriptions = descriptions_[described.first];
      if (descriptions.empty() || *descriptions.front() != described.second) descriptions.push_back(&described.second);
      for (const Capability& further : described.second.further_capabilities) {
        further_.emplace(further.name, std::pair(&described, &further));
      }
      patched_.insert(described.second.names_patched.begin(), described.second.names_patched.end());
    }
  }
}

/// One that is known already may be certain now.
void NeededUnits::add(const Unit& unit, const Record* record, bool is_certain) {
  const bool is_new = units_.insert(unit).second;
  const bool is_newly_certain = is_certain && certain_.insert(unit).second;
  if (is_new || is_newly_certain) open_.push_back({unit, record, is_certain});
}

void NeededUnits::add_provider(const Open& open, const Unit& unit, bool is_certain) {
  needed_by_[unit].insert(open.unit);
  add(unit, open.record, is_certain);
}

bool NeededUnits::is_installed(const Unit& unit) const {
  const auto versions = installed_versions(unit.id);
  return std::find(versions.begin(), versions.end(), unit.version) != versions.end();
}

std::vector<const Record*> NeededUnits::records_that_need(const std::vector<Unit>& units) const {
  std::vector<Unit> open;
  std::copy_if(units.begin(), units.end(), std::back_inserter(open), [&](const Unit& unit) { return !is_installed(unit); });
  std::set<Unit> above(open.begin(), open.end());
  while (!open.empty()) {
    const auto needing = needed_by_.find(open.back());
    open.pop_back();
    if (needing == needed_by_.end()) continue;
    for (const Unit& each : needing->second) {
      if (above.insert(each).second) open.push_back(each);
    }
  }
  std::vector<const Record*> records;
  for (const NamedFeature& named : named_) {
    if (above.contains(named.unit)) records.push_back(named.record);
  }
  return records;
}

std::set<const Record*> NeededUnits::impossible_records() const {
  std::vector<Unit> units;
  for (const UnmetRequirement& unmet : unmet_) {
    if (unmet.is_certain && !unmet.may_be_met()) units.push_back(unmet.unit);
  }
  const auto needing = records_that_need(units);
  std::set<const Record*> records(needing.begin(), needing.end());
  for (const NamedFeature& named : named_) {
    if (knows_installed_ && is_for_other_system(named)) records.insert(named.record);
  }
  return records;
}

bool NeededUnits::is_for_other_system(const NamedFeature& named) const {
  return named.description != nullptr && fulfils(environment_, named.description->filter) == false;
}

/// Of one that two repositories describe differently, the director takes either.
const UnitDescription* NeededUnits::description_of(const Unit& unit) const {
  const auto found = descriptions_.find(unit);
  return found != descriptions_.end() && found->second.size() == 1 ? found->second.front() : nullptr;
}

std::vector<Unit> NeededUnits::pinned_by(const UnitDescription& description) const {
  std::vector<Unit> pinned;
  for (const Requirement& requirement : description.requirements) {
    const bool counts = requirement.is_hard && fulfils(environment_, requirement.filter) == true;
    const bool is_pin = requirement.name_space == unit_name_space && is_exact(requirement.range);
    const bool has_other_providers = further_.count(requirement.name) != 0 || patched_.count(requirement.name) != 0;
    const auto offered = offered_.find(requirement.name);
    if (!counts || !is_pin || has_other_providers || offered == offered_.end()) continue;
    for (const std::string& version : offered->second) {
      if (is_in_range(version, requirement.range)) pinned.push_back({requirement.name, version});
    }
  }
  return pinned;
}

void NeededUnits::add_requirements(Open open) {
  const auto found = descriptions_.find(open.unit);
  if (found == descriptions_.end()) return;
  open.is_certain = open.is_certain && found->second.size() == 1;
  for (const UnitDescription* const description : found->second) {
    for (const Requirement& requirement : description->requirements) {
      if (!requirement.is_hard || fulfils(environment_, requirement.filter) != true) continue;
      add_required(open, *description, requirement);
    }
  }
}

void NeededUnits::add_required(const Open& open, const UnitDescription& description, const Requirement& requirement) {
  const auto providers = providers_of(requirement);
  std::vector<Provider> fitting;
  std::copy_if(providers.begin(), providers.end(), std::back_inserter(fitting), [&](const Provider& provider) {
    return may_be_here(provider) && is_in_range(provider.version, requirement.range);
  });
  const auto installed = installed_versions(requirement.name);
  const bool is_installed = std::any_of(installed.begin(), installed.end(),
                                        [&](const std::string& version) { return is_in_range(version, requirement.range); });
  const bool is_certain = open.is_certain && patched_.count(requirement.name) == 0 && !this->is_installed(open.unit);
  if (fitting.empty()) {
    if (is_certain && !is_installed) note_unmet(open, description, requirement, providers);
  } else if (fitting.size() == 1 && !is_installed) {
    add_provider(open, fitting.front().unit, is_certain);
  } else if (description.is_group && requirement.name_space == unit_name_space) {
    const auto highest = std::max_element(fitting.begin(), fitting.end(), [](const Provider& one, const Provider& other) {
      return std::is_lt(compare_versions(one.version, other.version));
    });
    add_provider(open, highest->unit, false);
  }
}

void NeededUnits::note_unmet(const Open& open, const UnitDescription& description, const Requirement& requirement,
                             const std::vector<Provider>& providers) {
  constexpr std::array<std::string_view, 2> of_p2 = {"a.jre", "org.eclipse.equinox.p2."};
  const auto begins_like = [&](std::string_view begin) { return requirement.name.starts_with(begin); };
  if (!knows_all_ || std::any_of(of_p2.begin(), of_p2.end(), begins_like)) return;
  UnmetRequirement unmet{open.record, open.unit, &requirement, {}, installed_versions(requirement.name), "", knows_installed_};
  for (const Provider& provider : providers) {
    unmet.offered.push_back(provider.version);
    if (!may_be_here(provider) && is_in_range(provider.version, requirement.range)) unmet.filter = *provider.filter;
  }
  // The instance may have another version than the repositories, but hardly of what the vendor of the feature makes.
  const bool is_of_vendor = are_of_one_vendor(open.unit.id, requirement.name) &&
                            std::any_of(open.record->units.begin(), open.record->units.end(), [&](const WrittenUnit& feature) {
                              return are_of_one_vendor(feature.unit.id, requirement.name);
                            });
  const bool is_include = description.is_group && requirement.name_space == unit_name_space && is_exact(requirement.range);
  unmet.is_include = is_include && (knows_installed_ || is_of_vendor);
  const bool may_be_installed = !is_exact(requirement.range) && !is_of_vendor;
  if (!unmet.is_certain && !unmet.is_of_something_unknown() && may_be_installed) return;
  unmet_.push_back(std::move(unmet));
}

std::vector<NeededUnits::Provider> NeededUnits::providers_of(const Requirement& requirement) const {
  std::vector<Provider> providers;
  if (const auto offered = offered_.find(requirement.name); offered != offered_.end()) {
    for (const std::string& version : offered->second) {
      const Unit unit{requirement.name, version};
      const UnitDescription* const description = description_of(unit);
      providers.push_back({unit, version, description == nullptr ? nullptr : &description->filter});
    }
  }
  const auto [begin, end] = further_.equal_range(requirement.name);
  for (auto found = begin; found != end; ++found) {
    const auto& [described, capability] = found->second;
    if (capability->name_space != requirement.name_space) continue;
    providers.push_back({described->first, capability->version, &described->second.filter});
  }
  return providers;
}

bool NeededUnits::may_be_here(const Provider& provider) const {
  return provider.filter == nullptr || fulfils(environment_, *provider.filter) != false;
}

std::vector<std::string> NeededUnits::installed_versions(const std::string& id) const {
  const auto [begin, end] = installed_.equal_range(id);
  std::vector<std::string> versions;
  for (auto found = begin; found != end; ++found) versions.emplace_back(found->second);
  return versions;
}

}  // namespace eclipse_lint
