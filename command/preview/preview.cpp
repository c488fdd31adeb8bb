#include "preview/preview.h"

#include <algorithm>
#include <map>
#include <optional>
#include <utility>

#include "base/text.h"
#include "dry_run/command_pieces.h"
#include "p2/installation.h"
#include "p2/installed_units.h"
#include "p2/profile.h"
#include "p2/removal.h"
#include "plan/brought_units.h"
#include "plan/offer.h"
#include "preview/obstacle.h"
#include "verify/verification.h"

using namespace eclipse_p2;
using eclipse_plan::BroughtUnit;
using eclipse_plan::Offer;
using eclipse_plan::Plan;
using eclipse_plan::PlannedRecord;

namespace eclipse_preview {

namespace {

PreviewedRepository about(const std::string& url, const std::string& path, const Repository& repository, const Offer& offer) {
  PreviewedRepository about{url, false, ""};
  if (const auto error = offer.url_errors.find(url); error != offer.url_errors.end()) {
    about.remark = error->second.message;
  } else if (!repository.exists) {
    about.remark = path == eclipse_dry_run::path_in(url) ? "does not exist" : "does not exist: the shell expands it to " + path;
  } else if (!repository.error.empty()) {
    about.remark = repository.error;
  } else if (!repository.is_repository) {
    about.remark =
        repository.nested.empty() ? "has no p2 metadata" : "has no p2 metadata, but \"" + repository.nested + "\" in it has";
  } else {
    about.is_usable = true;
    if (!repository.units) about.remark = "was not examined completely: " + repository.unexamined_because;
  }
  return about;
}

bool is_brought(const std::string& id, const std::vector<BroughtUnit>& units) {
  return std::any_of(units.begin(), units.end(), [&](const BroughtUnit& unit) { return unit.named.id == id; });
}

/// Empty for a feature that is not known to fail.
std::string why_it_fails(const Obstacles& obstacles, const BroughtUnit& brought, const std::vector<BroughtUnit>& all,
                         const Offer& offer) {
  std::string obstacle = obstacles.of(*brought.record, brought.number);
  if (!obstacle.empty()) return obstacle;
  if (!offer.hindrance.empty()) return offer.hindrance;
  if (brought.brought.is_kept_out_by_rival()) return "will most likely fail: the session also brings version " + brought.rival;
  const Installation& step = brought.brought.step;
  if (!step.pinned_by.empty() && !is_brought(step.pinned_by, all)) {
    return "will most likely fail: " + step.pinned_by + ", which was installed by name, requires version " + step.installed;
  }
  if (step.step != InstallStep::not_found) return "";
  const auto other = highest_offered({brought.named.id, ""}, offer.units);
  return "no repository of the session offers it" + (other ? ", but version " + *other : "");
}

std::string remark_on(const Installation& step) {
  switch (step.step) {
    case InstallStep::conflict:
      return std::string(step.installed_newer ? "will most likely fail" : "is refused") + ": the director does not replace " +
             (step.installed_newer ? "the newer version " : "version ") + step.installed +
             ", which was installed by name; --update" + (step.installed_newer ? " with --allow-downgrade" : "") + " does";
    case InstallStep::upgrade:
      return "version " + step.installed + " was installed as a requirement of other units, and may be replaced";
    case InstallStep::keep:
    case InstallStep::not_found:
      return "";
    case InstallStep::add:
      break;
  }
  return step.version.empty() ? "no repository that could be examined offers it" : "";
}

Change change_of(InstallStep step) {
  switch (step) {
    case InstallStep::keep:
      return Change::keep;
    case InstallStep::upgrade:
    case InstallStep::conflict:
      return Change::other_version;
    case InstallStep::not_found:
    case InstallStep::add:
      break;
  }
  return Change::add;
}

void add_installations(Preview& preview, const Plan& plan, const Offer& offer, const std::optional<InstalledUnits>& installed,
                       Repositories& repositories) {
  for (const std::string& url : plan.repositories) {
    const std::string path = eclipse_dry_run::path_for_director(url);
    preview.repositories.push_back(about(url, path, repositories.at(path), offer));
  }
  const Obstacles obstacles(plan);
  static const std::vector<InstalledUnit> none;
  const auto units = units_brought_by(plan, offer, installed ? *installed->all : none);
  for (const BroughtUnit& brought : units) {
    const Installation& step = brought.brought.step;
    const std::string reason = why_it_fails(obstacles, brought, units, offer);
    preview.features.push_back({brought.record->config.feature, text_of(brought.named), brought.record->place(),
                                reason.empty() ? change_of(step.step) : Change::fail, step.version, step.installed,
                                offer.repository_of(brought.named.id, step.version),
                                reason.empty() ? remark_on(step) : reason});
  }
}

std::string version_of(const Unit& unit, const std::optional<InstalledUnits>& installed) {
  if (!installed) return "";
  const auto is_it = [&](const InstalledUnit& each) { return is_wanted(unit, each.unit()); };
  const auto found = std::find_if(installed->all->begin(), installed->all->end(), is_it);
  return found == installed->all->end() ? "" : found->version;
}

void add_removals(Preview& preview, const Plan& plan, const std::optional<InstalledUnits>& installed) {
  const auto verification = eclipse_verify::compare(plan, installed.value_or(InstalledUnits()));
  const auto staying = verification.staying();
  std::map<Unit, const eclipse_verify::CheckedUnit*> staying_by_unit;
  for (const auto& unit : staying) staying_by_unit.try_emplace(unit.unit, &unit);
  for (const auto& checked : verification.units) {
    PreviewedFeature feature{
        text_of(checked.unit), text_of(checked.unit), checked.places.front(), Change::remove, "", "", "", ""};
    feature.version = feature.installed = version_of(checked.unit, installed);
    const auto stays = staying_by_unit.find(checked.unit);
    if (installed && !checked.is_installed) {
      feature.change = Change::fail;
      feature.remark = std::string("is not installed, ") + removes_none;
    } else if (stays != staying_by_unit.end()) {
      feature.change = Change::keep;
      feature.remark = "stays, because it is required by " + eclipse_base::first_few(stays->second->required_by);
    }
    preview.features.push_back(std::move(feature));
  }
  const auto fails = [](const PreviewedFeature& feature) { return feature.change == Change::fail; };
  if (std::none_of(preview.features.begin(), preview.features.end(), fails)) return;
  for (PreviewedFeature& feature : preview.features) {
    if (feature.change != Change::remove) continue;
    feature.change = Change::fail;
    feature.remark = "stays, because another feature is not installed";
  }
}

/// What the shell does to the command of a removal comes before what the director would do.
void add_obstacles_to_removal(Preview& preview, const Plan& plan) {
  const Obstacles obstacles(plan);
  std::map<std::string, std::string> by_place;
  std::size_t number = 0;
  for (const PlannedRecord* const record : plan.features()) {
    std::string obstacle = obstacles.of(*record, ++number);
    if (!obstacle.empty()) by_place[record->place()] = std::move(obstacle);
  }
  for (PreviewedFeature& feature : preview.features) {
    const auto obstacle = by_place.find(feature.place);
    if (obstacle == by_place.end()) continue;
    feature.change = Change::fail;
    feature.remark = obstacle->second;
  }
}

}  // namespace

const char* name_of(Change change) {
  switch (change) {
    case Change::add:
      return "add";
    case Change::keep:
      return "keep";
    case Change::other_version:
      return "other version";
    case Change::remove:
      return "remove";
    case Change::fail:
      break;
  }
  return "fail";
}

Preview preview(const Plan& plan, const Offer& offer, const std::optional<InstalledUnits>& installed,
                Repositories& repositories) {
  Preview preview;
  preview.knows_installed = installed.has_value();
  if (plan.is_removal) {
    add_removals(preview, plan, installed);
    add_obstacles_to_removal(preview, plan);
  } else {
    add_installations(preview, plan, offer, installed, repositories);
  }
  return preview;
}

}  // namespace eclipse_preview
