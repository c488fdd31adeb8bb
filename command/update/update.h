// Features of a session that an instance has in another version, and the one director command that replaces them.
#ifndef ECLIPSE_INT_UPDATE_UPDATE_H
#define ECLIPSE_INT_UPDATE_UPDATE_H

#include <string>
#include <vector>

#include "p2/director_command.h"
#include "p2/installed_units.h"
#include "p2/unit.h"
#include "plan/offer.h"
#include "plan/plan.h"
#include "update/update_options.h"

namespace eclipse_update {

/// A root that the director would not replace by itself.
struct Replacement {
  eclipse_p2::Unit installed;
  eclipse_p2::Unit offered;  ///< the version that the session offers: the highest that its repositories offer, or that it names
  std::string place;         ///< the descriptor line that names it, as "FILE:LINE"
  bool is_downgrade = false;
  std::string rival = {};  ///< as BroughtUnit has it: the session contradicts itself, so no update can do what it says
};

/// What an installation of a plan would have to replace; nothing for a removal. Each unit once, in install order.
std::vector<Replacement> replacements_for(const eclipse_plan::Plan& plan, const eclipse_plan::Offer& offer,
                                          const eclipse_p2::InstalledUnits& installed);

/// Why the session is not run with these options, with the fix; empty when it is. A lower version that was not asked for does
/// not hinder a run without an update: it is up to the director.
std::string refusal_for(const std::vector<Replacement>& replacements, const UpdateOptions& update_options);

/// What goes out, and what comes in.
eclipse_p2::UnitReplacement units_in(const std::vector<Replacement>& replacements);

/// The command that replaces them in one step, or changes nothing.
std::string update_command(const eclipse_plan::Plan& plan, const std::vector<Replacement>& replacements);

}  // namespace eclipse_update

#endif
