#include "run/verified_run.h"

#include <nlohmann/json.hpp>

#include "base/json_text.h"
#include "base/printable.h"
#include "p2/instance_error.h"
#include "p2/removal.h"
#include "p2/unit_change.h"
#include "plan/make_plan.h"
#include "report/json_parts.h"
#include "report/verification_json.h"
#include "report/verification_text.h"
#include "terminal/exit_status.h"
#include "terminal/interruption.h"
#include "terminal/standard_streams.h"

using namespace eclipse_p2;
using namespace eclipse_host;
using namespace eclipse_verify;
using namespace eclipse_base;
using namespace eclipse_report;
using namespace eclipse_terminal;

namespace eclipse_run {

namespace {

std::string lines(const std::string& title, const std::vector<Unit>& units) {
  std::string text;
  for (const Unit& unit : units) text += "    " + printable(text_of(unit)) + "\n";
  return text.empty() ? "" : "  " + title + ":\n" + text;
}

std::vector<Unit> units_of(const std::vector<CheckedUnit>& checked) {
  std::vector<Unit> units;
  units.reserve(checked.size());
  for (const CheckedUnit& one : checked) units.push_back(one.unit);
  return units;
}

}  // namespace

RunFunction VerifiedRun::function() {
  return [this](const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers) {
    run(plugin, session, record, observers);
  };
}

ReportAdditions VerifiedRun::additions() const {
  return {[this] { return finding(); }, [this] { return text(); }, [this](Json& json) { add_to(json); },
          [this](int status) { return exit_status(status); }};
}

void VerifiedRun::run(const Plugin& plugin, Session& session, RunRecord& record, const RunObservers& observers) {
  plan_ = eclipse_plan::make_plan(plugin, session, eclipse_plan::Retries::distinct, {Interruption::observer()});
  Repositories repositories;
  offer_ = eclipse_plan::offered_to(plan_, repositories);
  if (plan_.command) ask_before();
  run_session(plugin, session, record, observers);
  if (is_verifiable(plan_)) {
    ask_after();
  } else if (!record.commands.empty()) {
    errors_.emplace_back(
        "the run had commands that were not planned, because a file could not be read or was changed; "
        "run: eclipse-int verify");
  }
  if (is_instance_missing()) errors_.emplace_back(no_instance);
}

void VerifiedRun::ask_before() {
  try {
    before_ = verify_by_director(plan_, offer_, Interruption::observer().command_progress);
    warn_of_removal();
  } catch (const InstanceError& error) {
    errors_.push_back(std::string("before the run: ") + error.what());
  }
}

/// Before the run, while it can still be stopped.
void VerifiedRun::warn_of_removal() const {
  for (const CheckedUnit& checked : before_->not_there()) {
    print_message("warning: " + printable(text_of(checked.unit)) + " (" + printable(checked.places.front()) +
                  ") is not installed" + (before_->knows_all() ? ", " : " by name, ") + eclipse_p2::removes_none +
                  (before_->knows_all() ? "" : ", unless it is installed as a requirement"));
  }
  for (const CheckedUnit& checked : before_->staying()) {
    print_message("warning: " + printable(text_of(checked.unit)) + " (" + printable(checked.places.front()) +
                  ") is required by " + printable(checked.required_by.front()) +
                  ", so the director does not remove it, even when it reports success");
  }
}

/// The run is done, so its report is printed even when the query is interrupted.
void VerifiedRun::ask_after() {
  try {
    after_ = verify_by_director(plan_, offer_, Interruption::observer().command_progress);
  } catch (const Interrupted& interrupted) {
    errors_.push_back("after the run: " + interrupted.name() + " interrupted the query for installed units");
  } catch (const InstanceError& error) {
    errors_.push_back(std::string("after the run: ") + error.what());
  }
}

InstanceFinding VerifiedRun::finding() const {
  InstanceFinding finding;
  if (!after_) return finding;
  finding.differs = !after_->is_same();
  finding.has = [this](const std::string& feature) { return after_->has(feature); };
  return finding;
}

std::string VerifiedRun::text() const {
  std::string text = "\nVerification:\n";
  if (is_instance_missing()) return text + "  Error: " + no_instance + reasons_text(plan_, "    ") + "\n";
  if (!is_verifiable(plan_) && errors_.empty()) text += "  The session runs no command, so there is nothing to verify.\n";
  text += changes();
  for (const std::string& error : errors_)
    text += "  Error: " + printable(error, {.line_feed = "\n", .longest = no_limit}) + "\n";
  return after_ ? text + verification_text(*after_) : text;
}

std::string VerifiedRun::changes() const {
  if (!before_ || !after_) return "";
  const UnitChange change = change_between(before_->installed, after_->installed);
  const std::string changes = lines("Installed", change.installed) + lines("Removed", change.removed) +
                              lines("Now installed by name (before: as a requirement)", change.now_by_name) +
                              lines("Still installed, but no longer by name", change.no_longer_by_name);
  return changes.empty() ? "  Nothing was installed or removed.\n" : changes;
}

void VerifiedRun::add_to(Json& json) const {
  Json& verification = json["verification"];
  verification["planned"] = plan_.command.has_value();
  if (!plan_.command) verification["reasons"] = plan_.reasons;
  if (before_) verification["notRemovable"] = texts_of(units_of(before_->not_there()));
  if (before_) verification["staying"] = texts_of(units_of(before_->staying()));
  if (before_) verification["before"] = texts_of(before_->installed.roots);
  if (after_) verification["after"] = verification_json(*after_);
  if (before_ && after_) {
    add_named_units(verification, change_between(before_->installed, after_->installed));
  }
  verification["errors"] = errors_;
}

int VerifiedRun::exit_status(int status_of_run) const {
  if (status_of_run == exit_failure || (after_ && !after_->is_same())) return exit_failure;
  return errors_.empty() ? status_of_run : exit_trouble;
}

}  // namespace eclipse_run
