#include "run/updated_run.h"

#include <filesystem>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/json_text.h"
#include "base/printable.h"
#include "dry_run/chosen_executable.h"
#include "instance/damage.h"
#include "instance/reversion.h"
#include "p2/installed_units.h"
#include "p2/instance_paths.h"
#include "p2/profile.h"
#include "p2/repository.h"
#include "p2/unit_change.h"
#include "plan/make_plan.h"
#include "plan/offer.h"
#include "report/json_parts.h"
#include "report/update_json.h"
#include "terminal/interruption.h"

using namespace eclipse_base;
using namespace eclipse_host;
using namespace eclipse_terminal;
using eclipse_update::Replacement;

namespace eclipse_run {

namespace {

/// A director that was stopped at the end may have replaced them nevertheless.
std::string failure_since(const eclipse_p2::ProfileState& before, const std::filesystem::path& instance) {
  std::string unchanged = "the director did not update the features, and nothing was changed";
  const auto newest = eclipse_p2::profile_file(instance);
  if (newest == before.file) return unchanged;
  const eclipse_p2::ProfileState now = eclipse_p2::read_profile_state(newest);
  if (!now.error.empty()) {
    return "the director failed, and " + eclipse_instance::text_of_newest_state(newest, now.error);
  }
  const auto change = eclipse_p2::change_between(eclipse_instance::installed_in(before), eclipse_instance::installed_in(now));
  return change.is_empty() ? unchanged : "the director failed, but it has changed the Eclipse instance: " + text_of(change);
}

}  // namespace

UpdatedRun::UpdatedRun(RunFunction run, ReportAdditions additions, const eclipse_update::UpdateOptions& update_options)
    : run_(std::move(run)), additions_(std::move(additions)), update_options_(update_options) {}

RunFunction UpdatedRun::function() {
  return [this](const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers) {
    run(plugin, session, record, observers);
  };
}

ReportAdditions UpdatedRun::additions() const {
  ReportAdditions additions = additions_;
  additions.text = [this] { return text(); };
  additions.add_to = [this](Json& json) { add_to(json); };
  additions.exit_status = [this](int status) { return was_run_ ? additions_.exit_status(status) : status; };
  return additions;
}

void UpdatedRun::run(const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers) {
  find_replacements(plugin, session);
  std::string refusal = refusal_for(replacements_, update_options_);
  record.variables_before = session.variables;
  if (refusal.empty() && update_options_.update && !replacements_.empty()) refusal = refusal_after_update(record, observers);
  was_run_ = refusal.empty();
  if (was_run_) return run_(plugin, session, record, observers);
  record.refusal = refusal;
}

/// A library that has the actions and nothing else cannot be asked, and a profile that cannot be read does not say.
void UpdatedRun::find_replacements(const Plugin& plugin, const Session& session) try {
  if (session.is_removal()) return;
  const std::string executable = eclipse_dry_run::chosen_executable(plugin, session);
  if (executable.empty()) return;
  const auto installed = eclipse_p2::recorded_units(eclipse_p2::instance_directory(executable));
  if (!installed) return;
  plan_ = eclipse_plan::make_plan(plugin, session, eclipse_plan::Retries::distinct, {Interruption::observer()});
  if (!plan_.command) return;
  eclipse_p2::Repositories repositories;
  replacements_ = eclipse_update::replacements_for(plan_, eclipse_plan::offered_to(plan_, repositories), *installed);
} catch (const PluginError&) {
}

std::string UpdatedRun::refusal_after_update(RunRecord& record, const RunObservers& observers) {
  const auto instance = eclipse_p2::instance_directory(plan_.executable);
  const auto before = eclipse_p2::read_profile_state(eclipse_p2::profile_file(instance));
  const auto& command = run_command("update", eclipse_update::update_command(plan_, replacements_), record, observers);
  was_updated_ = command.result.exit_code == 0;
  return was_updated_ ? "" : failure_since(before, instance);
}

std::string UpdatedRun::text() const {
  std::string text = was_updated_ ? "\nUpdated:\n" : "";
  for (const Replacement& each : replacements_) {
    if (!was_updated_) break;
    text += "  ~ " + printable(each.installed.id + " " + each.installed.version + " -> " + each.offered.version) + "\n";
  }
  return was_run_ ? text + additions_.text() : text;
}

void UpdatedRun::add_to(Json& json) const {
  if (!replacements_.empty()) {
    const bool is_started = update_options_.update && (was_run_ || !json.at("commands").empty());
    json["update"] =
        eclipse_report::update_json(replacements_, is_started ? eclipse_update::update_command(plan_, replacements_) : "");
  }
  if (was_run_) additions_.add_to(json);
}

}  // namespace eclipse_run
