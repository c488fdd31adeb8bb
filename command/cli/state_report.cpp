#include "cli/state_report.h"

#include <nlohmann/json.hpp>

#include "base/text.h"

using eclipse_p2::ProfileState;
using Json = nlohmann::ordered_json;

namespace eclipse_cli {

namespace {

const char* status_of(const ProfileState& state) {
  if (state.error.empty()) return "readable";
  return state.is_damaged ? "damaged" : "unknown";
}

}  // namespace

std::string state_text(const ProfileState& state, std::size_t units) {
  return state.time + " (" + eclipse_p2::date_of(state.time) +
         "): " + (state.error.empty() ? eclipse_base::counted(units, "unit") : state.error);
}

Json state_json(const ProfileState& state, std::size_t units) {
  return {{"file", state.file.string()},
          {"time", state.time},
          {"status", status_of(state)},
          {"error", state.error.empty() ? Json() : Json(state.error)},
          {"units", state.error.empty() ? Json(units) : Json()}};
}

}  // namespace eclipse_cli
