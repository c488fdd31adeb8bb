// The result of a verification, as text.
#ifndef ECLIPSE_INT_REPORT_VERIFICATION_TEXT_H
#define ECLIPSE_INT_REPORT_VERIFICATION_TEXT_H

#include <string>

#include "verify/verification.h"

namespace eclipse_report {

/// What an instance has and lacks, in sentences.
std::string verification_text(const eclipse_verify::Verification& verification);

/// The error when an instance was chosen and does not exist.
inline constexpr const char* no_instance = "the Eclipse instance does not exist, so a run does nothing";

/// Why a plan has no command: a line feed, `indent` and the text of each reason.
std::string reasons_text(const eclipse_plan::Plan& plan, const std::string& indent);

}  // namespace eclipse_report

#endif
