#include "update/update.h"

#include <algorithm>
#include <set>

#include "base/text.h"
#include "p2/director_command.h"
#include "p2/installation.h"
#include "shell/shell_reading.h"

using namespace eclipse_p2;
using eclipse_plan::Plan;

namespace eclipse_update {

namespace {

constexpr std::size_t most_named = 3;

std::string text_about(const Replacement& replacement) {
  return replacement.installed.id + " " + replacement.installed.version + " is installed, and the session brings " +
         (replacement.is_downgrade ? "only " : "") + replacement.offered.version;
}

std::string texts_about(const std::vector<Replacement>& replacements, bool is_downgrade) {
  std::vector<std::string> texts;
  for (const Replacement& replacement : replacements) {
    if (replacement.is_downgrade == is_downgrade) texts.push_back(text_about(replacement));
  }
  return texts.empty() ? "" : eclipse_base::first_few(texts, most_named);
}

}  // namespace

std::vector<Replacement> replacements_for(const Plan& plan, const eclipse_plan::Offer& offer, const InstalledUnits& installed) {
  std::vector<Replacement> replacements;
  if (plan.is_removal || !installed.all) return replacements;
  const InstallationForecast forecast(offer.units, offer.is_all, *installed.all);
  std::set<std::string> known;
  for (const eclipse_plan::PlannedRecord* const record : plan.features()) {
    for (const Unit& unit : units_named(eclipse_shell::as_word(record->config.feature))) {
      const Installation step = forecast.of(unit);
      if (step.step != InstallStep::conflict || !known.insert(unit.id).second) continue;
      replacements.push_back({{unit.id, step.installed}, {unit.id, step.version}, record->place(), step.installed_newer});
    }
  }
  return replacements;
}

std::string refusal_for(const std::vector<Replacement>& replacements, const Wishes& wishes) {
  const std::string older = texts_about(replacements, false);
  const std::string newer = texts_about(replacements, true);
  if (!older.empty() && !wishes.update) {
    return older + "; the director does not replace it, but --update does" +
           (newer.empty() ? "" : " (with --allow-downgrade, since " + newer + ")");
  }
  if (!newer.empty() && wishes.update && !wishes.downgrade) return newer + "; --allow-downgrade goes back to it";
  return "";
}

std::string update_command(const Plan& plan, const std::vector<Replacement>& replacements) {
  std::vector<Unit> removed;
  std::vector<Unit> installed;
  for (const Replacement& replacement : replacements) {
    removed.push_back(replacement.installed);
    installed.push_back(replacement.offered);
  }
  return replace_command(plan.executable, plan.repository_urls(), removed, installed);
}

}  // namespace eclipse_update
