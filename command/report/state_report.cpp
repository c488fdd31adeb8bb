#include "report/state_report.h"

#include <nlohmann/json.hpp>

#include "base/printable.h"
#include "base/text.h"
#include "report/json_parts.h"

using eclipse_p2::ProfileState;

namespace eclipse_report {

namespace {

const char* status_of(const ProfileState& state) {
  if (state.is_readable()) return "readable";
  return state.is_damaged ? "damaged" : "unknown";
}

}  // namespace

std::string unread_profile(const std::string& error) {
  const std::string reason = error.empty() ? "." : ": " + eclipse_base::printable(error);
  return ": the p2 profile of the instance cannot be read" + reason + "\n";
}

std::string dated(const std::string& time) { return eclipse_base::printable(time) + " (" + eclipse_p2::date_of(time) + ")"; }

std::string state_text(const ProfileState& state, std::size_t units) {
  return dated(state.time) + ": " + (state.is_readable() ? eclipse_base::counted(units, "unit") : state.error);
}

Json state_json(const ProfileState& state, std::size_t units) {
  return {{"file", state.file.string()},
          {"time", state.time},
          {"status", status_of(state)},
          {"error", text_or_null(state.error)},
          {"units", state.is_readable() ? Json(units) : Json()}};
}

}  // namespace eclipse_report
