#include "report/command_failures.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <tuple>

#include "p2/instance_paths.h"

using eclipse_host::CommandRecord;
using eclipse_p2::cut_director_command;
using eclipse_p2::DirectorCommand;
using eclipse_p2::Failure;
using eclipse_p2::Layer;

namespace eclipse_report {

namespace {

using Feature = std::tuple<bool, std::string, std::string>;  ///< whether it is removed, the executable, its name

std::set<Feature> succeeded_features(const std::vector<CommandRecord>& commands) {
  std::set<Feature> succeeded;
  for (const CommandRecord& command : commands) {
    const auto director = cut_director_command(command.command);
    if (!director || !command.has_ended || command.result.exit_code != 0) continue;
    for (const std::string& feature : features_of(*director)) {
      succeeded.emplace(director->is_removal, director->executable, feature);
    }
  }
  return succeeded;
}

/// The retries of a removal are commands that no shell accepts, so they say nothing of their features.
bool is_settled_by_retries(const std::vector<CommandRecord>& commands, const CommandFailures& failures, std::size_t command) {
  if (commands[command].is_retry) return false;
  for (std::size_t retry = command + 1; retry < commands.size() && commands[retry].is_retry; ++retry) {
    const Failure* const failure = failures.of(retry);
    if (failure != nullptr && failure->layer != Layer::shell) return true;
  }
  return false;
}

void add_reason(std::vector<FailureReason>& reasons, const FailureReason& more) {
  const auto is_it = [&](const FailureReason& known) {
    return known.exit_code == more.exit_code && is_same_reason(*known.failure, *more.failure);
  };
  const auto found = std::find_if(reasons.begin(), reasons.end(), is_it);
  if (found == reasons.end()) return reasons.push_back(more);
  for (const std::string& feature : more.features) {
    if (std::find(found->features.begin(), found->features.end(), feature) == found->features.end()) {
      found->features.push_back(feature);
    }
  }
}

}  // namespace

eclipse_host::RunObserver CommandFailures::observer() {
  eclipse_host::RunObserver observer;
  observer.on_command = [this](const std::string& command) {
    logs_.emplace(eclipse_p2::instance_directory(eclipse_p2::executable_started_by(command)));
  };
  observer.on_command_end = [this](const CommandRecord& record) {
    failures_.emplace_back();
    if (record.result.exit_code != 0) failures_.back() = explain(record.result, *logs_);
  };
  return observer;
}

const Failure* CommandFailures::of(std::size_t command) const {
  return command < failures_.size() && failures_[command] ? &*failures_[command] : nullptr;
}

bool CommandFailures::last_is_repeated() const {
  const Failure* const before = failures_.size() < 2 ? nullptr : of(failures_.size() - 2);
  return before != nullptr && last() != nullptr && is_same_reason(*before, *last());
}

bool is_same_reason(const Failure& one, const Failure& other) {
  return one.layer == other.layer && one.meaning == other.meaning && one.causes == other.causes;
}

std::vector<FailureReason> failure_reasons(const std::vector<CommandRecord>& commands, const CommandFailures& failures) {
  const std::set<Feature> succeeded = succeeded_features(commands);
  std::vector<FailureReason> reasons;
  for (std::size_t i = 0; i < commands.size(); ++i) {
    if (failures.of(i) == nullptr || is_settled_by_retries(commands, failures, i)) continue;
    const auto director = cut_director_command(commands[i].command).value_or(DirectorCommand());
    std::vector<std::string> features = features_of(director);
    const bool had_features = !features.empty();
    std::erase_if(features, [&](const std::string& feature) {
      return succeeded.contains({director.is_removal, director.executable, feature});
    });
    if (had_features && features.empty()) continue;
    add_reason(reasons, {failures.of(i), commands[i].result.exit_code, features});
  }
  return reasons;
}

}  // namespace eclipse_report
