#include "cli/verification_account.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "cli/one_line.h"

using namespace eclipse_p2;

using namespace eclipse_verify;

namespace eclipse_cli {

namespace {

using Json = nlohmann::ordered_json;

std::string listed(const std::vector<std::string>& texts) {
  std::string list;
  for (const std::string& text : texts) list += (list.empty() ? "" : ", ") + on_one_line(text);
  return list;
}

constexpr std::size_t most_requirers = 3;

/// "; a, b and 2 more require it", or nothing.
std::string about_requirers(const std::vector<std::string>& requirers) {
  if (requirers.empty()) return "";
  const std::size_t shown = std::min(requirers.size(), most_requirers);
  std::string text = "; " + listed({requirers.begin(), requirers.begin() + static_cast<std::ptrdiff_t>(shown)});
  if (requirers.size() > shown) text += " and " + std::to_string(requirers.size() - shown) + " more";
  return text + (requirers.size() == 1 ? " requires it" : " require it");
}

/// That it came along with others, where that is known.
std::string about_root(const CheckedUnit& checked) {
  return (checked.is_root ? "" : ", but not by name") + about_requirers(checked.required_by);
}

std::string difference(const CheckedUnit& checked, const Verification& verification) {
  std::string text = "  " + on_one_line(text_of(checked.unit));
  if (verification.is_removal) {
    text += " is still installed" + about_root(checked);
  } else {
    text += verification.knows_all() ? " is not installed" : " is not installed by name";
    if (!checked.other_versions.empty()) text += ", but in version " + listed(checked.other_versions);
  }
  return text + " (" + listed(checked.places) + ")\n";
}

/// What is as it should be, but not as one may think; and what cannot be told.
std::string notes_on(const Verification& verification) {
  std::string text;
  for (const CheckedUnit& checked : verification.units) {
    if (!checked.is_installed || checked.is_root || verification.is_removal) continue;
    text += "  " + on_one_line(text_of(checked.unit)) + " is installed" + about_root(checked) + " (" + listed(checked.places) +
            ")\n";
  }
  if (verification.knows_all()) return text;
  return text +
         "  Only what was installed by name is known, not what came along with it: the instance's p2 profile cannot be read.\n";
}

Json unit_json(const CheckedUnit& checked, bool same) {
  return {{"unit", text_of(checked.unit)},
          {"places", checked.places},
          {"installed", checked.is_installed},
          {"byName", checked.is_root},
          {"requiredBy", checked.required_by},
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
           instance + "\n" + notes_on(verification);
  }
  std::string text = "Different: of the units" + those + " (" + all + "), " + std::to_string(differences.size()) +
                     (verification.is_removal ? " still installed in " : " not installed in ") + instance + "\n";
  for (const CheckedUnit& checked : differences) text += difference(checked, verification);
  return text + notes_on(verification);
}

std::string reasons_of(const eclipse_plan::Plan& plan, const std::string& indent) {
  std::string text;
  for (const std::string& reason : plan.reasons) text += "\n" + indent + on_one_line(reason);
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
          {"roots", texts_of(verification.installed.roots)},
          {"knowsAll", verification.knows_all()}};
}

}  // namespace eclipse_cli
