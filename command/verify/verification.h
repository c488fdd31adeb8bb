// Whether an Eclipse instance has what a session should have installed, and lacks what it should have removed.
#ifndef ECLIPSE_INT_VERIFY_VERIFICATION_H
#define ECLIPSE_INT_VERIFY_VERIFICATION_H

#include <optional>
#include <string>
#include <vector>

#include "p2/installed_units.h"
#include "p2/missing_files.h"
#include "plan/offer.h"
#include "plan/plan.h"

namespace eclipse_verify {

/// A unit that the session names, and what the instance has of it.
struct CheckedUnit {
  eclipse_p2::Unit unit;
  std::vector<std::string> places;          ///< the descriptor lines that name it, as "FILE:LINE"
  std::string brought;                      ///< the version that the session installs; empty when it is not known
  bool is_installed = false;                ///< in the version that is named, if one is, or brought; a higher one will do
  bool is_root = false;                     ///< it was installed by name; otherwise it came along with another unit
  std::vector<std::string> required_by;     ///< the ids of the installed units that require it
  std::vector<std::string> other_versions;  ///< that are installed
  std::string newer;                        ///< a version that is installed and higher than `brought`; empty when none is
};

enum class Source { profile, director };

struct Verification {
  bool is_removal = false;
  std::string executable;
  eclipse_p2::InstalledUnits installed;
  Source source = Source::director;  ///< what says what is installed
  std::vector<CheckedUnit> units;    ///< in install order
  /// Of an installation, which removes nothing: units of components that are selected for removal, and that are installed by
  /// name.
  std::vector<CheckedUnit> unremoved = {};
  /// Of an installation: those of its units, and of what they require, as far as that is known.
  std::vector<eclipse_p2::UnitFile> missing_files = {};

  /// Otherwise only what was installed by name is known.
  bool knows_all() const { return installed.all.has_value(); }
  bool is_as_it_should_be(const CheckedUnit& checked) const { return checked.is_installed != is_removal; }
  std::vector<CheckedUnit> differences() const;
  bool is_same() const { return unremoved.empty() && missing_files.empty() && differences().empty(); }
  /// Whether what a feature column names is installed, all of it; nothing when the session does not name it.
  std::optional<bool> has(const std::string& feature) const;
  /// Units to be removed that are not installed. One of them is enough for the director to remove none.
  std::vector<CheckedUnit> not_there() const;
  /// Units to be removed that stay all the same, since others that stay require them; `required_by` has only those. The
  /// director succeeds on them.
  std::vector<CheckedUnit> staying() const;
};

/// Whether there is anything to compare: the plan has a command, or leaves what is selected for removal.
bool is_verifiable(const eclipse_plan::Plan& plan);

/// Compares what a plan comes to with what is installed, but looks at no files. The offer says which versions an installation
/// brings.
Verification compare(const eclipse_plan::Plan& plan, eclipse_p2::InstalledUnits installed,
                     const eclipse_plan::Offer& offer = {});

/// Compares a plan, which has an executable, with what the profile of its instance records. Nothing when it cannot be read.
std::optional<Verification> verify_by_profile(const eclipse_plan::Plan& plan, const eclipse_plan::Offer& offer,
                                              eclipse_p2::ProfileStates& states);

/// Compares a plan, which has an executable, with what the director of its instance says. Throws InstanceError.
Verification verify_by_director(const eclipse_plan::Plan& plan, const eclipse_plan::Offer& offer,
                                const eclipse_shell::CommandProgress& progress = {});

}  // namespace eclipse_verify

#endif
