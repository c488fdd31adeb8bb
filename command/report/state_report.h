// A state of a p2 profile, as text and as JSON.
#ifndef ECLIPSE_INT_REPORT_STATE_REPORT_H
#define ECLIPSE_INT_REPORT_STATE_REPORT_H

#include <cstddef>
#include <string>

#include "base/json_text.h"
#include "p2/profile.h"

namespace eclipse_report {

/// Of a change that no recorded run has made.
inline constexpr const char* made_outside = "made outside eclipse-int";

/// To be read after what is not known: that the profile cannot be read, and the error if there is one.
std::string unread_profile(const std::string& error);

/// The time of a state and its date, for a sentence.
std::string dated(const std::string& time);

/// Its time, its date, and how many units it has or why it cannot be read.
std::string state_text(const eclipse_p2::ProfileState& state, std::size_t units);

/// {file, time, status: "readable", "damaged" or "unknown", error, units}, with null for what there is not
eclipse_base::Json state_json(const eclipse_p2::ProfileState& state, std::size_t units);

}  // namespace eclipse_report

#endif
