// What a run would change in the instance, feature by feature, as far as the profile and the repositories tell.
#ifndef ECLIPSE_INT_PREVIEW_PREVIEW_H
#define ECLIPSE_INT_PREVIEW_PREVIEW_H

#include <optional>
#include <string>
#include <vector>

#include "p2/installed_units.h"
#include "p2/repository.h"
#include "plan/offer.h"
#include "plan/plan.h"

namespace eclipse_preview {

enum class Change { add, keep, other_version, remove, fail };

/// "add", "keep", "other version", "remove" or "fail".
const char* name_of(Change change);

struct PreviewedFeature {
  std::string feature;  ///< column 2, which may name several units
  std::string unit;
  std::string place;
  Change change = Change::fail;
  std::string version;      ///< that the instance gets, or that is removed; empty when it is not known
  std::string installed;    ///< the version that is installed; empty when none is, or it is not known
  std::string repository;   ///< the URL of the one that it comes from; empty when it comes from none
  std::string remark;       ///< what will come of it, where that is not what one expects; otherwise empty
  bool is_updated = false;  ///< the run replaces the installed version first
};

struct PreviewedRepository {
  std::string url;
  bool is_usable = false;  ///< as far as is known
  std::string remark;      ///< why it is not, or why not all of it is known; otherwise empty
};

struct Preview {
  bool knows_installed = false;  ///< the profile of the instance can be read
  std::vector<PreviewedFeature> features;
  std::vector<PreviewedRepository> repositories;  ///< none for a removal, which uses none
};

/// Of a plan with a command, what its repositories offer, and what its instance has installed, if that is known. What lies in
/// the repositories is looked up with `repositories`.
Preview preview(const eclipse_plan::Plan& plan, const eclipse_plan::Offer& offer,
                const std::optional<eclipse_p2::InstalledUnits>& installed, eclipse_p2::Repositories& repositories);

}  // namespace eclipse_preview

#endif
