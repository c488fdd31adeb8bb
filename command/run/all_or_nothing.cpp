#include "run/all_or_nothing.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <utility>

#include "base/json_text.h"
#include "base/printable.h"
#include "base/temporary_directory.h"
#include "instance/damage.h"
#include "instance/profile_history.h"
#include "instance/repair.h"
#include "instance/run_journal.h"
#include "p2/director_command.h"
#include "p2/instance_paths.h"
#include "plan/make_plan.h"
#include "report/history_report.h"
#include "report/json_parts.h"
#include "report/outcome.h"
#include "report/state_report.h"
#include "run/run_recording.h"
#include "terminal/exit_status.h"
#include "terminal/interruption.h"
#include "terminal/standard_streams.h"
#include "verify/verification.h"

using namespace eclipse_base;
using namespace eclipse_host;
using namespace eclipse_p2;
using namespace eclipse_instance;
using namespace eclipse_report;
using namespace eclipse_terminal;

namespace eclipse_run {

namespace {

void restore(Session& session, const std::map<std::string, std::string>& before, const std::string& name) {
  const auto found = before.find(name);
  if (found == before.end()) {
    session.variables.erase(name);
  } else {
    session.variables[name] = found->second;
  }
}

}  // namespace

AllOrNothing::AllOrNothing(RunFunction run, ReportAdditions additions)
    : run_(std::move(run)), additions_(std::move(additions)) {}

RunFunction AllOrNothing::function() {
  return [this](const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers) {
    run(plugin, session, record, observers);
  };
}

ReportAdditions AllOrNothing::additions() const {
  ReportAdditions additions = additions_;
  additions.finding = [this] {
    InstanceFinding finding = additions_.finding();
    finding.differs = finding.differs || !is_whole_;
    return finding;
  };
  additions.text = [this] { return additions_.text() + text(); };
  additions.add_to = [this](Json& json) {
    additions_.add_to(json);
    add_to(json);
  };
  additions.exit_status = [this](int status) {
    if (interrupted_) return interrupted_->exit_status();
    return is_whole_ ? additions_.exit_status(status) : exit_failure;
  };
  additions.text_when_ended = [this] { return text(); };
  additions.add_to_when_ended = [this](Json& json) { add_to(json); };
  return additions;
}

void AllOrNothing::run(const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers) {
  record.variables_before = session.variables;
  plan_ = eclipse_plan::make_plan(plugin, session, eclipse_plan::Retries::distinct, {Interruption::observer()});
  if (!plan_.command) return run_(plugin, session, record, observers);
  Repositories repositories;
  offer_ = eclipse_plan::offered_to(plan_, repositories);
  instance_ = instance_directory(plan_.executable);
  before_ = newest_time(instance_);
  record.refusal = why_there_is_no_way_back();
  if (!record.refusal.empty()) return;
  was_damaged_ = instance_damage(plan_.executable).has_value();
  try {
    run_(plugin, session, record, observers);
  } catch (...) {
    if (!has_all()) go_back(session, record);
    throw;
  }
  if (!is_whole(record)) go_back(session, record);
}

/// What would be missing on the way back, which nobody wants to find out there.
std::string AllOrNothing::why_there_is_no_way_back() const {
  const std::string reason = "--all-or-nothing needs a state of the p2 profile to go back to: ";
  if (before_.empty()) {
    const std::string error = profile_units_error(instance_);
    return reason + (error.empty() ? "that of \"" + plan_.executable + "\" is not known" : error);
  }
  const ProfileState state = state_of_time(instance_, before_);
  if (!state.is_readable()) return reason + state.file.string() + " " + state.error;
  try {
    const TemporaryDirectory for_the_way_back;
  } catch (const std::exception& error) {
    return "--all-or-nothing needs a directory for temporary files: " + std::string(error.what());
  }
  return "";
}

/// A director reports success for a removal although a unit stays, and when the disk is full, so its word is not enough.
bool AllOrNothing::is_whole(const RunRecord& record) const { return !record.failed() && has_all(); }

bool AllOrNothing::has_all() const {
  eclipse_p2::ProfileStates states;
  if (!was_damaged_ && instance_damage(plan_.executable, states)) return false;
  const auto verification = eclipse_verify::verify_by_profile(plan_, offer_, states);
  return verification && verification->differences().empty();
}

/// Also after a signal: the first one that comes from now on lets the director end, the second one stops it.
void AllOrNothing::go_back(Session& session, RunRecord& record) {
  is_whole_ = false;
  error_ = contradiction_of(record, instance_, before_);
  if (!error_.empty()) return;
  const Interruption interruption;
  try {
    repair();
    revert_unless_unchanged();
  } catch (const Interrupted& interrupted) {
    error_ = interrupted.name() + " stopped the director on the way back";
    interrupted_ = interrupted;
  } catch (const std::exception& error) {
    error_ = error.what();
  }
  if (!error_.empty()) return;
  record.reverted_to = before_;
  restore(session, record.variables_before, eclipse_host::cached_executable);
}

/// No director can start from what one has left that was stopped while it wrote.
void AllOrNothing::repair() {
  const RepairPlan plan = plan_repair(instance_);
  const std::string too_much = too_much_reverted(plan);
  if (!too_much.empty()) throw RepairError(too_much);
  const auto to_rename = states_to_rename(plan.states, plan.to);
  if (plan.to_restore) restored_ = restore(*plan.to_restore, instance_);
  for (const ProfileState& state : to_rename) renamed_.push_back(rename_aside(state));
}

std::string AllOrNothing::goal() const {
  return std::string("all features were ") + (plan_.is_removal ? "removed" : "installed");
}

void AllOrNothing::revert_unless_unchanged() {
  const std::string after = newest_time(instance_);
  if (after == before_) return;
  const ProfileState newest = state_of_time(instance_, after);
  const ProfileState target = state_of_time(instance_, before_);
  error_ = why_not_revertible(newest, target);
  if (!error_.empty()) return;
  change_ = change_between(installed_in(newest), installed_in(target));
  if (change_->is_empty()) return;
  print_message("not " + goal() + "; reverting");
  std::vector<std::string> urls = plan_.repository_urls();
  for (std::string& url : read_run_journal(instance_).repositories()) urls.push_back(std::move(url));
  reversion_ = revert(plan_.executable, before_, urls, Interruption::observer().command_progress);
  error_ = reversion_->error;
}

std::string AllOrNothing::text() const {
  if (is_whole_) return "";
  std::string text = "\nAll or nothing:\n";
  text += restored_.empty() ? "  Not " + goal() : "  A director has damaged the Eclipse instance";
  text += was_reverted() ? ", so the instance is as it was before the run: the state " + dated(before_) + ".\n"
                         : ".\n  Error: the instance is not as it was before the run: " + printable(error_) + "\n";
  for (const auto& file : renamed_) text += "  Renamed a damaged state of the profile to " + printable(file.string()) + "\n";
  for (const auto& file : restored_) text += "  Restored: " + printable(file.string()) + "\n";
  if (reversion_) text += "  Command: " + printable(reversion_->command) + "\n";
  if (reversion_ && reversion_->failure) text += "  Why: " + text_of(*reversion_->failure, "    ") + "\n";
  return change_ && was_reverted() ? text + "  Reverting changed:\n" + change_text(*change_, "    ") : text;
}

void AllOrNothing::add_to(Json& json) const {
  if (!plan_.command) return;
  const bool has_failed = reversion_ && reversion_->failure;
  json["allOrNothing"] = {{"whole", is_whole_},
                          {"before", text_or_null(before_)},
                          {"revertedTo", was_reverted() ? Json(before_) : Json()},
                          {"renamed", paths_json(renamed_)},
                          {"restored", paths_json(restored_)},
                          {"change", change_ ? change_json(*change_) : Json()},
                          {"command", reversion_ ? Json(reversion_->command) : Json()},
                          {"failure", has_failed ? failure_json(*reversion_->failure) : Json()},
                          {"error", text_or_null(error_)}};
}

}  // namespace eclipse_run
