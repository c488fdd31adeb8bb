// The result of a verification, as JSON.
#ifndef ECLIPSE_INT_REPORT_VERIFICATION_JSON_H
#define ECLIPSE_INT_REPORT_VERIFICATION_JSON_H

#include <optional>
#include <string>
#include <vector>

#include "base/json_text.h"
#include "instance/damage.h"
#include "verify/verification.h"

namespace eclipse_report {

/// The forms of these documents are those of schema/verify-result.schema.json.
eclipse_base::Json verification_json(const eclipse_verify::Verification& verification);

/// Prints that document, with the member damage if something is wrong with the profile.
void print_verification(const eclipse_verify::Verification& verification,
                        const std::optional<eclipse_instance::InstanceDamage>& damage);

/// Prints the document for an instance that cannot be queried because of its damaged profile.
void print_unverifiable(const std::string& executable, const std::string& error,
                        const eclipse_instance::InstanceDamage& damage);

/// Prints the document for a plan without a command.
void print_nothing_to_verify(const eclipse_plan::Plan& plan);

}  // namespace eclipse_report

#endif
