#include "update/update.h"

#include <algorithm>
#include <set>

#include "base/text.h"
#include "p2/director_command.h"
#include "p2/installation.h"
#include "plan/brought_units.h"

using namespace eclipse_p2;
using eclipse_plan::Plan;

namespace eclipse_update {

namespace {

std::string text_about(const Replacement& replacement) {
  return replacement.installed.id + " " + replacement.installed.version + " is installed, and the session offers " +
         (replacement.is_downgrade ? "only " : "") + replacement.offered.version;
}

std::string texts_about(const std::vector<Replacement>& replacements, bool is_downgrade) {
  std::vector<std::string> texts;
  for (const Replacement& replacement : replacements) {
    if (replacement.is_downgrade == is_downgrade) texts.push_back(text_about(replacement));
  }
  return texts.empty() ? "" : eclipse_base::first_few(texts);
}

std::string texts_about_rivals(const std::vector<Replacement>& replacements) {
  std::vector<std::string> texts;
  for (const Replacement& replacement : replacements) {
    if (replacement.rival.empty()) continue;
    texts.push_back("the session offers " + replacement.offered.id + " in the versions " + replacement.offered.version + " (" +
                    replacement.place + ") and " + replacement.rival);
  }
  return texts.empty() ? "" : eclipse_base::first_few(texts);
}

}  // namespace

std::vector<Replacement> replacements_for(const Plan& plan, const eclipse_plan::Offer& offer, const InstalledUnits& installed) {
  if (!installed.all) return {};
  std::vector<Replacement> replacements;
  std::set<std::string> known;
  for (const auto& unit : eclipse_plan::units_brought_by(plan, offer, *installed.all)) {
    const Installation& step = unit.brought.step;
    const std::string& id = unit.named.id;
    if (step.step != InstallStep::conflict || !known.insert(id).second) continue;
    replacements.push_back({{id, step.installed}, {id, step.version}, unit.record->place(), step.installed_newer, unit.rival});
  }
  return replacements;
}

std::string refusal_for(const std::vector<Replacement>& replacements, const UpdateOptions& update_options) {
  const std::string older = texts_about(replacements, false);
  const std::string newer = texts_about(replacements, true);
  const std::string contradictions = texts_about_rivals(replacements);
  if (!contradictions.empty() && (update_options.update || !older.empty()))
    return contradictions + "; leave out all but one of the lines";
  if (!older.empty() && !update_options.update) {
    return older + "; the director would not replace the installed version; use --update" +
           (newer.empty() ? "" : " (with --allow-downgrade, since " + newer + ")");
  }
  if (!newer.empty() && update_options.update && !update_options.downgrade)
    return newer + "; --allow-downgrade goes back to it";
  return "";
}

UnitReplacement units_in(const std::vector<Replacement>& replacements) {
  UnitReplacement units;
  for (const Replacement& replacement : replacements) {
    units.removed.push_back(replacement.installed);
    units.installed.push_back(replacement.offered);
  }
  return units;
}

std::string update_command(const Plan& plan, const std::vector<Replacement>& replacements) {
  return replace_command(plan.executable, plan.repository_urls(), units_in(replacements));
}

}  // namespace eclipse_update
