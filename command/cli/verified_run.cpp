#include "cli/verified_run.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>

#include "cli/interruption.h"
#include "cli/one_line.h"
#include "cli/standard_streams.h"
#include "cli/verification_account.h"

using namespace eclipse_p2;

using namespace eclipse_host;
using namespace eclipse_verify;

namespace eclipse_cli {

namespace {

using Json = nlohmann::ordered_json;

std::string lines(const std::string& title, const std::vector<Unit>& units) {
  std::string text;
  for (const Unit& unit : units) text += "    " + on_one_line(text_of(unit)) + "\n";
  return text.empty() ? "" : "  " + title + ":\n" + text;
}

std::vector<Unit> units_of(const std::vector<CheckedUnit>& checked) {
  std::vector<Unit> units;
  units.reserve(checked.size());
  for (const CheckedUnit& one : checked) units.push_back(one.unit);
  return units;
}

}  // namespace

Performance VerifiedRun::performance() {
  return [this](const Plugin& plugin, Session& session, const RunObserver& observer) { return run(plugin, session, observer); };
}

Supplement VerifiedRun::supplement() const {
  return {[this] { return finding(); }, [this] { return text(); }, [this](Json& result) { add_to(result); },
          [this](int status) { return exit_status(status); }};
}

RunRecord VerifiedRun::run(const Plugin& plugin, Session& session, const RunObserver& observer) {
  plan_ = eclipse_plan::make_plan(plugin, session, eclipse_plan::Retries::telling);
  if (plan_.command) ask_before();
  RunRecord record = run_session(plugin, session, explaining(observer));
  if (plan_.command) ask_after();
  if (lacks_instance()) faults_.push_back(no_instance);
  return record;
}

void VerifiedRun::ask_before() {
  try {
    before_ = verify(plan_, Interruption::checking({}).command_progress);
    warn_of_removal();
  } catch (const InstanceError& fault) {
    faults_.push_back(std::string("before the run, ") + fault.what());
  }
}

/// Told before the run, while it can still be stopped.
void VerifiedRun::warn_of_removal() const {
  for (const CheckedUnit& checked : before_->not_there()) {
    print_message(
        "warning: " + on_one_line(text_of(checked.unit)) + " (" + on_one_line(checked.places.front()) + ") is not installed" +
        (before_->knows_all() ? ", so the director removes none of the units"
                              : " by name; if it did not come along with another unit either, the director removes none"));
  }
  for (const CheckedUnit& checked : before_->staying()) {
    print_message("warning: " + on_one_line(text_of(checked.unit)) + " (" + on_one_line(checked.places.front()) +
                  ") is required by " + on_one_line(checked.required_by.front()) +
                  ", so the director leaves it there, also when it succeeds");
  }
}

RunObserver VerifiedRun::explaining(const RunObserver& observer) {
  RunObserver explaining = observer;
  explaining.on_command = [this, told = observer.on_command](const std::string& command) {
    logs_.emplace(eclipse_p2::instance_directory(plan_.executable));
    told(command);
  };
  explaining.on_command_end = [this, told = observer.on_command_end](const CommandRecord& record) {
    explain_end(record);
    told(record);
  };
  return explaining;
}

void VerifiedRun::explain_end(const CommandRecord& record) {
  ++commands_;
  if (record.result.exit_code == 0) return;
  failures_.push_back({commands_, record.result.exit_code, explain(record.result, *logs_)});
}

/// The run is done, and its account is not lost when the question is interrupted.
void VerifiedRun::ask_after() {
  try {
    after_ = verify(plan_, Interruption::checking({}).command_progress);
  } catch (const Interrupted& interrupted) {
    faults_.push_back("after the run, " + interrupted.name() + " ended the question for what is installed");
  } catch (const InstanceError& fault) {
    faults_.push_back(std::string("after the run, ") + fault.what());
  }
}

InstanceFinding VerifiedRun::finding() const {
  InstanceFinding finding;
  if (!after_) return finding;
  finding.differs = !after_->differences().empty();
  finding.has = [this](const std::string& feature) { return after_->has(feature); };
  return finding;
}

std::string VerifiedRun::text() const {
  std::string text = failures() + "\nVerification:\n";
  if (lacks_instance()) return text + "  Fault: " + no_instance + reasons_of(plan_, "    ") + "\n";
  if (!plan_.command) text += "  The session has no command to run, so there is nothing to verify.\n";
  text += changes();
  for (const std::string& fault : faults_) text += "  Fault: " + fault + "\n";
  return after_ ? text + account_of(*after_) : text;
}

std::string VerifiedRun::changes() const {
  if (!before_ || !after_) return "";
  const Change change = change_between(before_->installed, after_->installed);
  const std::string changes = lines("Came in", change.came_in) + lines("Went out", change.went_out) +
                              lines("Now installed by name, and there before", change.now_by_name) +
                              lines("No longer installed by name, but still there", change.no_longer_by_name);
  return changes.empty() ? "  Nothing came in and nothing went out.\n" : changes;
}

/// The retries of a removal all fail in the same way, so those that follow each other are told once.
std::string VerifiedRun::failures() const {
  std::string text;
  for (auto first = failures_.begin(), next = first; first != failures_.end(); first = next) {
    const std::string reason = ", exit code " + std::to_string(first->exit_code) + ", from " + text_of(first->failure, "    ");
    const auto is_same = [&](const ExplainedFailure& other) {
      return other.exit_code == first->exit_code && text_of(other.failure) == text_of(first->failure);
    };
    next = std::find_if_not(first + 1, failures_.end(), is_same);
    text += "  Command " + std::to_string(first->command);
    if (next - first > 1) text += " to " + std::to_string((next - 1)->command);
    text += reason + "\n";
  }
  return text.empty() ? "" : "\nWhy commands failed:\n" + text;
}

void VerifiedRun::add_to(Json& result) const {
  Json failures = Json::array();
  for (const auto& [command, exit_code, failure] : failures_) {
    failures.push_back({{"command", command},
                        {"exitCode", exit_code},
                        {"layer", name_of(failure.layer)},
                        {"meaning", failure.meaning},
                        {"causes", failure.causes},
                        {"log", failure.log ? Json(failure.log->string()) : Json()}});
  }
  Json& verification = result["verification"];
  verification["planned"] = plan_.command.has_value();
  if (!plan_.command) verification["reasons"] = plan_.reasons;
  if (before_) verification["notRemovable"] = texts_of(units_of(before_->not_there()));
  if (before_) verification["staying"] = texts_of(units_of(before_->staying()));
  if (before_) verification["before"] = texts_of(before_->installed.roots);
  if (after_) verification["after"] = verification_json(*after_);
  if (before_ && after_) {
    const Change change = change_between(before_->installed, after_->installed);
    verification["cameIn"] = texts_of(change.came_in);
    verification["wentOut"] = texts_of(change.went_out);
    verification["nowByName"] = texts_of(change.now_by_name);
    verification["noLongerByName"] = texts_of(change.no_longer_by_name);
  }
  verification["faults"] = faults_;
  verification["failures"] = failures;
}

int VerifiedRun::exit_status(int status_of_run) const {
  if (status_of_run == 1 || (after_ && !after_->differences().empty())) return 1;
  return faults_.empty() ? status_of_run : 2;
}

}  // namespace eclipse_cli
