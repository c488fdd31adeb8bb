#include "run/planned_session.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "dry_run/plugin_functions.h"
#include "instance/copy.h"
#include "p2/installed_units.h"
#include "p2/instance_paths.h"
#include "p2/profile.h"
#include "p2/repository.h"
#include "plan/make_plan.h"
#include "plan/offer.h"
#include "run/asked_resolution.h"
#include "run/instance_safety.h"
#include "run/session_command.h"
#include "run/session_variables.h"
#include "terminal/interruption.h"

using eclipse_p2::ProfileStates;
using eclipse_p2::Repositories;
using eclipse_plan::Plan;
using eclipse_plan::Retries;
using eclipse_report::LintSummary;
using eclipse_report::PlanReport;
using eclipse_resolve::Resolution;
using eclipse_terminal::Interruption;

namespace eclipse_run {

namespace {

/// Throws Interrupted.
Resolution resolve_unless_interrupted(const Plan& plan, const eclipse_p2::UnitReplacement& update) {
  // The director works on a copy of the profile, and nothing in the instance changes. Without one it works on the instance.
  const bool is_on_copy = eclipse_instance::InstanceCopy::is_possible_for(eclipse_p2::instance_directory(plan.executable));
  const auto lock = lock_instance(is_on_copy ? "" : plan.executable);
  const Interruption interruption;
  Resolution resolution = asked_resolution(plan, update);
  Interruption::check();
  return resolution;
}

/// What lint says of a session that is run as it is planned.
LintSummary summary_of_lint(const eclipse_host::Plugin& plugin, Repositories& repositories, ProfileStates& states,
                            const SessionCommand& command, const PlanOptions& options) {
  eclipse_lint::Settings settings;
  settings.configuration = options.configuration;
  using eclipse_p2::Replaces;
  if (options.update.update) settings.replaces = options.update.downgrade ? Replaces::all : Replaces::older;
  settings.add_variables = [&](eclipse_host::Session& linted) { linted.variables = command.session().variables; };
  LintSummary summary;
  const eclipse_dry_run::PluginFunctions library(plugin);
  for (auto& finding : eclipse_lint::lint_session(library, repositories, states, command.document(), settings)) {
    if (finding.reason) continue;
    ++summary.counts[finding.severity];
    if (finding.severity == eclipse_lint::Severity::error) summary.errors.push_back(std::move(finding));
  }
  return summary;
}

std::vector<std::string> features_to_update(const eclipse_preview::Preview& preview) {
  std::vector<std::string> features;
  for (const auto& feature : preview.features) {
    if (feature.change == eclipse_preview::Change::other_version) features.push_back(feature.feature);
  }
  return features;
}

/// The director knows better than the preview.
void mark_failing(eclipse_preview::Preview& preview, const Resolution& resolution) {
  std::vector<std::string> failing;
  if (resolution.update_fails()) failing = features_to_update(preview);
  for (const auto& verdict : resolution.each) {
    if (!verdict.resolves()) failing.push_back(verdict.features.front());
  }
  if (resolution.all && resolution.fails() && resolution.each.empty()) failing = resolution.all->features;
  for (auto& feature : preview.features) {
    if (std::find(failing.begin(), failing.end(), feature.feature) == failing.end()) continue;
    feature.change = eclipse_preview::Change::fail;
    if (feature.remark.empty() || feature.is_updated) feature.remark = "see what the director says below";
  }
}

/// "FILE:LINE" with the full path of the file.
std::string full_place(const std::string& place) {
  std::error_code error;
  return std::filesystem::absolute(place, error).lexically_normal().string();
}

/// Lint looks at requirements and artifacts, which the preview does not.
void mark_failing(eclipse_preview::Preview& preview, const eclipse_lint::Findings& errors) {
  std::map<std::string, const std::string*> messages;
  for (const auto& finding : errors) {
    for (const std::string& place : finding.failing) messages.emplace(full_place(place), &finding.message);
  }
  if (messages.empty()) return;
  for (auto& feature : preview.features) {
    const auto message = messages.find(full_place(feature.place));
    const bool stays_as_it_is =
        feature.change == eclipse_preview::Change::keep || feature.change == eclipse_preview::Change::fail;
    if (message == messages.end() || stays_as_it_is) continue;
    feature.change = eclipse_preview::Change::fail;
    feature.remark = *message->second;
  }
}

/// What the run would replace, or why it would be refused.
void add_update(PlanReport& report, const eclipse_plan::Offer& offer, const eclipse_p2::InstalledUnits& installed,
                const eclipse_update::UpdateOptions& update_options) {
  report.replacements = eclipse_update::replacements_for(report.plan, offer, installed);
  report.refusal = eclipse_update::refusal_for(report.replacements, update_options);
  if (!update_options.update || !report.refusal.empty() || report.replacements.empty()) return;
  report.update_command = eclipse_update::update_command(report.plan, report.replacements);
  for (auto& feature : report.preview->features) {
    if (feature.change != eclipse_preview::Change::other_version) continue;
    feature.is_updated = true;
    feature.remark = "updated";
  }
}

/// What the run would change in the instance.
void look_at_instance(PlanReport& report, Repositories& repositories, ProfileStates& states,
                      const eclipse_update::UpdateOptions& update_options) {
  const auto installed = eclipse_p2::recorded_units(eclipse_p2::instance_directory(report.plan.executable), states);
  const auto offer = eclipse_plan::offered_to(report.plan, repositories);
  report.preview = eclipse_preview::preview(report.plan, offer, installed, repositories);
  if (installed) add_update(report, offer, *installed, update_options);
}

}  // namespace

PlanReport planned_session(const SessionOptions& options, const PlanOptions& plan_options) {
  const SessionCommand command(options);
  check_mode(command.session());
  const eclipse_host::Plugin plugin = command.load_plugin();
  command.warn_of_unreadable_descriptors(plugin);
  PlanReport report;
  report.integrates = !command.session().declines_integration();
  report.plan = eclipse_plan::make_plan(plugin, command.session(), plan_options.all_retries ? Retries::all : Retries::distinct);
  ProfileStates states;
  if (report.plan.command) report.damage = damage_at_rest(report.plan.executable, states);
  Repositories repositories;
  if (report.plan.command) look_at_instance(report, repositories, states, plan_options.update);
  report.lint = summary_of_lint(plugin, repositories, states, command, plan_options);
  if (report.preview) mark_failing(*report.preview, report.lint.errors);
  if (plan_options.resolves) report.resolution = resolve_unless_interrupted(report.plan, report.replaced_units());
  if (report.resolution && report.preview) mark_failing(*report.preview, *report.resolution);
  return report;
}

}  // namespace eclipse_run
