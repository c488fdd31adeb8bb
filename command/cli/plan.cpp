#include "plan/make_plan.h"

#include <algorithm>
#include <array>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>

#include "base/printable.h"
#include "base/text.h"
#include "cli/configuration_options.h"
#include "cli/instance_safety.h"
#include "cli/interruption.h"
#include "cli/plan_json.h"
#include "cli/plan_text.h"
#include "cli/resolution_json.h"
#include "cli/resolution_text.h"
#include "cli/run_json.h"
#include "cli/session_command.h"
#include "cli/session_variables.h"
#include "cli/standard_streams.h"
#include "cli/subcommands.h"
#include "cli/updated_run.h"
#include "dry_run/plugin_functions.h"
#include "lint/lint.h"
#include "p2/instance_copy.h"
#include "p2/profile.h"
#include "p2/profile_repair.h"
#include "p2/repository.h"
#include "plan/offer.h"
#include "preview/preview.h"
#include "shell/command_runner.h"
#include "update/update.h"

namespace eclipse_cli {

namespace {

using namespace eclipse_base;
using eclipse_lint::Severity;
using eclipse_p2::Repositories;
using eclipse_plan::Plan;
using eclipse_plan::Retries;
using eclipse_resolve::Resolution;
using eclipse_update::Replacement;

/// Throws Interrupted.
Resolution resolve_unless_interrupted(const Plan& plan) {
  // The director works on a copy of the profile, and nothing in the instance changes. Without one it works on the instance.
  const bool is_on_copy = eclipse_p2::InstanceCopy::is_possible_for(eclipse_p2::instance_directory(plan.executable));
  const auto lock = lock_instance(is_on_copy ? "" : plan.executable, 0);
  const Interruption interruption;
  Resolution resolution = resolve_with_progress(plan);
  Interruption::check();
  return resolution;
}

constexpr std::array severities = {Severity::error, Severity::warning, Severity::note};

using FindingCounts = std::map<Severity, std::size_t>;

/// How many findings of each severity lint shows for a session, with the variables that the plan has.
FindingCounts lint_counts(const eclipse_host::Plugin& plugin, Repositories& repositories, const SessionCommand& command,
                          const ConfigurationOptions& configuration) {
  eclipse_lint::Settings settings;
  settings.configuration = configuration_choice(configuration);
  settings.add_variables = [&](eclipse_host::Session& linted) { linted.variables = command.session().variables; };
  FindingCounts counts = {{Severity::error, 0}, {Severity::warning, 0}, {Severity::note, 0}};
  const eclipse_dry_run::PluginFunctions library(plugin);
  for (const auto& finding : eclipse_lint::lint_session(library, repositories, command.document(), settings)) {
    if (!finding.reason) ++counts[finding.severity];
  }
  return counts;
}

struct PlanReport {
  Plan plan;
  std::optional<eclipse_preview::Preview> preview;
  FindingCounts findings;  ///< of lint
  std::optional<Resolution> resolution;
  std::optional<eclipse_p2::InstanceDamage> damage;
  std::vector<Replacement> replacements;
  std::string refusal;         ///< of the run, because of these
  std::string update_command;  ///< that replaces them; empty when none is run
};

std::string lint_text(const PlanReport& report, const std::string& file) {
  std::vector<std::string> counts;
  for (const Severity severity : severities) {
    const std::size_t count = report.findings.at(severity);
    if (count > 0) counts.push_back(counted(count, name_of(severity)));
  }
  if (counts.empty()) return "\nlint: no findings\n";
  return "\nlint: " + joined(counts) + " (eclipse-int lint " + printable(file) + " shows them)\n";
}

std::string update_text(const PlanReport& report) {
  if (!report.refusal.empty()) return "\nThe run would be refused\n  " + printable(report.refusal) + "\n";
  if (report.update_command.empty()) return "";
  return "\nCommand of the update, before all others\n  " +
         printable(report.update_command, {.longest = eclipse_shell::longest_command}) + "\n";
}

void print_text(const PlanReport& report, const SessionOptions& options, bool is_verbose) {
  std::cout << (is_verbose ? detailed_plan_text : plan_text)(report.plan, report.preview, options.session);
  std::cout << update_text(report);
  if (report.resolution) {
    std::cout << "\nResolution (the director was asked, and changed nothing)\n" << resolution_text(*report.resolution);
  }
  std::cout << lint_text(report, options.session);
}

void print(const PlanReport& report) {
  nlohmann::ordered_json json = plan_json(report.plan, report.preview);
  for (const Severity severity : severities) json["lint"][std::string(name_of(severity))] = report.findings.at(severity);
  if (report.resolution) json["resolution"] = resolution_json(*report.resolution);
  if (!report.replacements.empty()) {
    json["update"] = update_json(report.replacements, report.update_command);
    json["update"]["refusal"] = report.refusal.empty() ? nlohmann::ordered_json() : nlohmann::ordered_json(report.refusal);
  }
  add_damage(json, report.damage);
  print_json(json);
}

/// Whether something that the plan shows would fail, or would not be as it shows. The errors that lint counts may be about what
/// an update replaces.
bool fails(const PlanReport& report) {
  const auto will_fail = [](const eclipse_preview::PreviewedFeature& feature) {
    return feature.change == eclipse_preview::Change::fail;
  };
  const bool a_feature_fails = report.preview && std::ranges::any_of(report.preview->features, will_fail);
  const bool command_is_changed = report.plan.command && !report.plan.command->runs_as_intended();
  const bool does_not_resolve = report.resolution && report.resolution->fails();
  return a_feature_fails || command_is_changed || does_not_resolve;
}

int exit_status(const PlanReport& report) {
  const bool is_refused = !report.plan.refusal.empty() || !report.refusal.empty();
  return is_refused || report.damage || fails(report) ? 1 : 0;
}

/// The director knows better than the preview.
void mark_failing(eclipse_preview::Preview& preview, const Resolution& resolution) {
  std::vector<std::string> failing;
  for (const auto& verdict : resolution.each) {
    if (!verdict.resolves()) failing.push_back(verdict.features.front());
  }
  if (resolution.fails() && resolution.each.empty()) failing = resolution.all->features;
  for (auto& feature : preview.features) {
    if (std::find(failing.begin(), failing.end(), feature.feature) == failing.end()) continue;
    feature.change = eclipse_preview::Change::fail;
    if (feature.remark.empty()) feature.remark = "the director says why below";
  }
}

/// What the run would replace, or why it would be refused.
void add_update(PlanReport& report, const eclipse_plan::Offer& offer, const eclipse_p2::InstalledUnits& installed,
                const eclipse_update::Wishes& wishes) {
  report.replacements = eclipse_update::replacements_for(report.plan, offer, installed);
  report.refusal = eclipse_update::refusal_for(report.replacements, wishes);
  if (!wishes.update || !report.refusal.empty() || report.replacements.empty()) return;
  report.update_command = eclipse_update::update_command(report.plan, report.replacements);
  for (auto& feature : report.preview->features) {
    if (feature.change == eclipse_preview::Change::other_version) feature.remark = "updated";
  }
}

/// What the run would change in the instance.
void look_at_instance(PlanReport& report, Repositories& repositories, const eclipse_update::Wishes& wishes) {
  const auto installed = eclipse_p2::recorded_units(eclipse_p2::instance_directory(report.plan.executable));
  const auto offer = eclipse_plan::offered_to(report.plan, repositories);
  report.preview = eclipse_preview::preview(report.plan, offer, installed, repositories);
  if (installed) add_update(report, offer, *installed, wishes);
}

int plan_session(const SessionOptions& options, const PlanOptions& wanted) {
  const SessionCommand command(options);
  check_mode(command.session());
  const eclipse_host::Plugin plugin = command.load_plugin();
  command.warn_of_unreadable_descriptors(plugin);
  PlanReport report;
  report.plan = eclipse_plan::make_plan(plugin, command.session(), wanted.all_retries ? Retries::all : Retries::distinct);
  if (report.plan.command) report.damage = eclipse_p2::instance_damage_at_rest(report.plan.executable);
  Repositories repositories;
  if (report.plan.command) look_at_instance(report, repositories, wanted.update);
  report.findings = lint_counts(plugin, repositories, command, wanted.configuration);
  if (wanted.resolves) report.resolution = resolve_unless_interrupted(report.plan);
  if (report.resolution && report.preview) mark_failing(*report.preview, *report.resolution);
  if (options.json) {
    print(report);
  } else {
    print_text(report, options, wanted.is_verbose || wanted.all_retries);
  }
  print_damage(report.damage);
  return exit_status(report);
}

}  // namespace

int plan(const SessionOptions& options, const PlanOptions& wanted) {
  try {
    return plan_session(options, wanted);
  } catch (const Interrupted& interrupted) {
    print_message("interrupted by " + interrupted.name());
    return interrupted.exit_status();
  }
}

}  // namespace eclipse_cli
