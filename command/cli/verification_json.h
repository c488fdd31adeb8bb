// The result of a verification, as JSON.
#ifndef ECLIPSE_INT_CLI_VERIFICATION_JSON_H
#define ECLIPSE_INT_CLI_VERIFICATION_JSON_H

#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "p2/profile_repair.h"
#include "verify/verification.h"

namespace eclipse_cli {

/// removal; executable; same: whether all is as it should be; units: [{unit, locations: [text], brought, installed, byName,
/// requiredBy: [id], otherVersions: [text], same}], in install order; roots: [text], what was installed by name; source:
/// "profile" or "director"; knowsAll: whether also what was installed as a requirement of the roots is known
nlohmann::ordered_json verification_json(const eclipse_verify::Verification& verification);

/// Prints that document, with the member damage if something is wrong with the profile.
void print_verification(const eclipse_verify::Verification& verification,
                        const std::optional<eclipse_p2::InstanceDamage>& damage);

/// Prints the document for an instance that cannot be queried because of its damaged profile: executable; error; damage
void print_unverifiable(const std::string& executable, const std::string& error, const eclipse_p2::InstanceDamage& damage);

/// Prints the document for a plan without a command: same: true; units: []; reason: the last line of the log; reasons: [text]
void print_nothing_to_verify(const eclipse_plan::Plan& plan);

/// The texts of units.
std::vector<std::string> texts_of(const std::vector<eclipse_p2::Unit>& units);

}  // namespace eclipse_cli

#endif
