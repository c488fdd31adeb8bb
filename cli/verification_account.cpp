#include "cli/verification_account.h"

#include <nlohmann/json.hpp>

#include "cli/one_line.h"

using namespace eclipse_verify;

namespace eclipse_cli {

namespace {

using Json = nlohmann::ordered_json;

std::string listed(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) list += (list.empty() ? "" : ", ") + on_one_line(text);
  return list;
}

std::string difference(const CheckedUnit& checked, bool is_removal) {
  std::string text = "  " + on_one_line(text_of(checked.unit)) + (is_removal ? " is still installed" : " is not installed");
  if (!is_removal && !checked.other_versions.empty()) text += ", but in version " + listed(checked.other_versions);
  return text + " (" + listed(checked.places) + ")\n";
}

Json unit_json(const CheckedUnit& checked, bool same) {
  return {{"unit", text_of(checked.unit)},
          {"places", checked.places},
          {"installed", checked.is_installed},
          {"otherVersions", checked.other_versions},
          {"same", same}};
}

}  // namespace

std::string account_of(const Verification& verification) {
  const auto differences = verification.differences();
  const std::string instance = on_one_line(verification.executable);
  const std::string all = std::to_string(verification.units.size());
  const std::string those = " that the session " + std::string(verification.is_removal ? "removes" : "installs");
  if (differences.empty()) {
    return "Same: the units" + those + " (" + all + ") are all " + (verification.is_removal ? "gone from " : "installed in ") +
           instance + "\n";
  }
  std::string text = "Different: of the units" + those + " (" + all + "), " + std::to_string(differences.size()) +
                     (verification.is_removal ? " still installed in " : " not installed in ") + instance + "\n";
  for (const CheckedUnit& checked : differences) text += difference(checked, verification.is_removal);
  return text;
}

std::vector<std::string> texts_of(const std::vector<Unit>& units) {
  std::vector<std::string> texts;
  texts.reserve(units.size());
  for (const Unit& unit : units) texts.push_back(text_of(unit));
  return texts;
}

Json verification_json(const Verification& verification) {
  Json units = Json::array();
  for (const CheckedUnit& checked : verification.units) {
    units.push_back(unit_json(checked, verification.is_as_it_should_be(checked)));
  }
  return {{"removal", verification.is_removal},
          {"executable", verification.executable},
          {"same", verification.differences().empty()},
          {"units", units},
          {"installed", texts_of(verification.installed)}};
}

}  // namespace eclipse_cli
