#include "report/verification_text.h"

#include <cstddef>

#include "base/printable.h"
#include "base/text.h"
#include "report/state_report.h"

using namespace eclipse_base;
using namespace eclipse_p2;
using namespace eclipse_verify;

namespace eclipse_report {

namespace {

constexpr std::size_t most_requirers = 3;
constexpr std::size_t most_listed = 20;

/// first_few(), printable.
std::string some_of(const std::vector<std::string>& texts, std::size_t most) {
  return printable(first_few(texts, most), {.longest = no_limit});
}

/// "; required by a, b and 2 more", or nothing.
std::string about_requirers(const std::vector<std::string>& requirers) {
  if (requirers.empty()) return "";
  return "; required by " + some_of(requirers, most_requirers);
}

/// That it was installed as a requirement, where that is known.
std::string about_root(const CheckedUnit& checked) {
  return (checked.is_root ? "" : ", but not by name") + about_requirers(checked.required_by);
}

/// The director does not replace it by the lower version.
std::string about_newer(const CheckedUnit& checked) {
  if (checked.newer.empty()) return "";
  return " in the newer version " + printable(checked.newer) + "; the session offers " + printable(checked.brought);
}

std::string difference(const CheckedUnit& checked, const Verification& verification) {
  std::string text = "  " + printable(text_of(checked.unit));
  if (verification.is_removal) {
    text += " is still installed" + about_root(checked);
  } else {
    text += verification.knows_all() ? " is not installed" : " is not installed by name";
    if (!checked.other_versions.empty()) text += ", but version " + some_of(checked.other_versions, most_listed) + " is";
    if (!checked.other_versions.empty() && !checked.brought.empty()) {
      text += "; the session offers " + printable(checked.brought);
    }
  }
  return text + " (" + some_of(checked.places, most_listed) + ")\n";
}

/// A run either installs or removes.
std::string not_removed(const Verification& verification) {
  std::string text;
  for (const CheckedUnit& checked : verification.unremoved) {
    text += "  " + printable(text_of(checked.unit)) + " is still installed, although its component is selected for removal (" +
            some_of(checked.places, most_listed) + "); only a session with mode uninstall removes it\n";
  }
  return text;
}

std::string missing(const Verification& verification) {
  std::string text;
  for (const UnitFile& file : verification.missing_files) {
    text += "  " + printable(text_of(file.unit)) + " is installed, but " + printable(file.path.string()) + " does not exist; " +
            fix_of_missing_file + "\n";
  }
  return text;
}

/// What is as it should be, but for another reason than expected; and what cannot be determined.
std::string notes_on(const Verification& verification) {
  std::string text;
  for (const CheckedUnit& checked : verification.units) {
    const bool is_as_expected = checked.is_root && checked.newer.empty();
    if (!checked.is_installed || is_as_expected || verification.is_removal) continue;
    text += "  " + printable(text_of(checked.unit)) + " is installed" + about_newer(checked) + about_root(checked) + " (" +
            some_of(checked.places, most_listed) + ")\n";
  }
  if (verification.knows_all()) return text;
  return text + "  Only units that were installed by name are known, not their requirements" +
         unread_profile(verification.installed.profile_error);
}

/// "the 1 unit", "all 3 units", or "1 of 3 units", with what is to come of them, and a verb.
std::string counted_units(const Verification& verification, std::size_t differences) {
  const std::size_t all = verification.units.size();
  const std::string to_be = verification.is_removal ? " to be removed" : " to be installed";
  if (differences > 0) {
    return std::to_string(differences) + " of " + counted(all, "unit") + to_be + (differences == 1 ? " is " : " are ");
  }
  return (all == 1 ? "the " : "all ") + counted(all, "unit") + to_be + (all == 1 ? " is " : " are ");
}

/// To be read before the name of the executable.
std::string summary(const Verification& verification, std::size_t differences) {
  if (verification.units.empty()) return "the session installs nothing into ";
  const bool is_installed = verification.is_removal == (differences > 0);
  const std::string word =
      is_installed ? (verification.is_removal ? "still installed in " : "installed in ") : "not installed in ";
  return counted_units(verification, differences) + word;
}

std::string unremoved_count(const Verification& verification) {
  const std::size_t count = verification.unremoved.size();
  if (count == 0) return "";
  return "; " + counted(count, "unit") + " selected for removal " + (count == 1 ? "is" : "are") + " still installed";
}

std::string missing_count(const Verification& verification) {
  const std::size_t count = verification.missing_files.size();
  return count == 0 ? "" : "; " + counted(count, "file") + " of installed units " + (count == 1 ? "does" : "do") + " not exist";
}

}  // namespace

std::string verification_text(const Verification& verification) {
  const auto differences = verification.differences();
  std::string text = verification.is_same() ? "Same: " : "Different: ";
  text += summary(verification, differences.size()) + printable(verification.executable);
  if (verification.source == Source::profile) text += ", according to its p2 profile";
  text += missing_count(verification) + unremoved_count(verification) + "\n";
  for (const CheckedUnit& checked : differences) text += difference(checked, verification);
  return text + missing(verification) + not_removed(verification) + notes_on(verification);
}

std::string reasons_text(const eclipse_plan::Plan& plan, const std::string& indent) {
  std::string text;
  for (const std::string& reason : plan.reasons) text += "\n" + indent + printable(reason);
  return text;
}

}  // namespace eclipse_report
