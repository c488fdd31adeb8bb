// A verification for a person who reads it, and for a program.
#ifndef ECLIPSE_INT_CLI_VERIFICATION_ACCOUNT_H
#define ECLIPSE_INT_CLI_VERIFICATION_ACCOUNT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "verify/verification.h"

namespace eclipse_cli {

/// What an instance has and lacks, in sentences.
std::string account_of(const eclipse_verify::Verification& verification);

/// The fault when an instance was chosen and is not there.
inline const std::string no_instance = "there is no Eclipse to ask, and a run does nothing";

/// Why a plan comes to no command: a line feed, `indent` and the text of each reason.
std::string reasons_of(const eclipse_plan::Plan& plan, const std::string& indent);

/// removal; executable; same: whether all is as it should be; units: [{unit, places: [text], installed, byName, requiredBy:
/// [id], otherVersions: [text], same}], in install order; roots: [text], what was installed by name; knowsAll: whether also
/// what came along with the roots is known
nlohmann::ordered_json verification_json(const eclipse_verify::Verification& verification);

/// The texts of units.
std::vector<std::string> texts_of(const std::vector<eclipse_p2::Unit>& units);

}  // namespace eclipse_cli

#endif
