#include "resolve/resolution.h"

#include <algorithm>
#include <iterator>
#include <memory>

#include "base/printable.h"
#include "base/text.h"
#include "instance/copy.h"
#include "p2/director_answer.h"
#include "p2/director_command.h"
#include "p2/instance_error.h"
#include "p2/instance_paths.h"
#include "p2/unit_list.h"
#include "shell/shell_reading.h"
#include "standalone_host/session_run.h"

using namespace eclipse_p2;
using namespace eclipse_instance;
using eclipse_plan::Plan;

namespace eclipse_resolve {

namespace {

using Texts = std::vector<std::string>;

std::string why_not_asked(const Plan& plan) {
  if (!plan.refusal.empty()) return eclipse_host::would_be_refused;
  if (!plan.command) return "the run has no command";
  if (plan.command->is_too_long()) return eclipse_plan::PlannedCommand::too_long;
  if (!plan.command->executable_error.empty()) return plan.command->executable_error;
  if (!plan.command->is_passed_on()) return "the shell would change or reject the command";
  return "";
}

class Questioner {
 public:
  Questioner(const Plan& plan, const UnitReplacement& update, const Progress& progress)
      : progress_(progress),
        update_(update),
        command_(*cut_director_command(plan.command->text)),
        instance_(instance_directory(command_.executable)),
        copy_(InstanceCopy::of(instance_, progress.on_copy)),
        most_((update.is_empty() ? 0 : 1) + 1 + (plan.retry_count > 1 ? plan.retry_count + 1 : 0)) {}

  bool is_on_copy() const { return copy_ != nullptr; }

  Verdict ask_for_update() { return ask_at_once(texts_of(update_.installed), list_of(update_.installed)); }

  /// The director does not know the instance as it is after the update, so the update is part of each question.
  Verdict ask(const Texts& features) {
    Texts all = texts_of(update_.installed);
    std::transform(features.begin(), features.end(), std::back_inserter(all), eclipse_shell::as_word);
    return ask_at_once(features, eclipse_base::joined(all, ","));
  }

 private:
  /// The one place where this module starts a director.
  Verdict ask_at_once(const Texts& features, const std::string& list) {
    progress_.on_question(features, ++number_, most_);
    DirectorCommand command = command_;
    command.features = list;
    command.replaced = list_of(update_.removed);
    const InstanceLogs logs(copy_ ? copy_->directory() : instance_);
    const std::string text = verify_only_command(command, copy_ ? copy_->configuration().string() : "");
    const auto result = eclipse_shell::run_in_shell(text, progress_.command);
    if (result.exit_code == 0) {
      const std::string error = why_not_an_answer(result.output);
      if (!error.empty())
        throw InstanceError(eclipse_base::in_quotes(command_.executable) + " does not resolve anything: " + error);
    }
    Verdict verdict{features, std::nullopt, result.exit_code};
    if (result.exit_code != 0) verdict.failure = explain(result, logs);
    if (verdict.failure && copy_) verdict.failure->log.reset();  // it goes with the copy
    return verdict;
  }

  const Progress& progress_;
  const UnitReplacement& update_;
  DirectorCommand command_;
  std::filesystem::path instance_;
  std::unique_ptr<InstanceCopy> copy_;
  std::size_t number_ = 0;
  std::size_t most_;
};

Texts features_of(const Plan& plan) {
  Texts features;
  for (const eclipse_plan::PlannedRecord* const record : plan.features()) features.push_back(record->config.feature);
  return features;
}

}  // namespace

Texts Resolution::resolving_alone() const {
  Texts features;
  for (const Verdict& verdict : each) {
    if (verdict.resolves()) features.push_back(verdict.features.front());
  }
  return features;
}

std::optional<Texts> Resolution::expected() const {
  if (update_fails()) return Texts();
  if (!all) return std::nullopt;
  if (all->resolves()) return all->features;
  // The retries of a removal are commands that no shell accepts.
  if (is_removal || all->failure->layer != Layer::director) return Texts();
  const Texts alone = resolving_alone();
  const bool may_conflict = alone.size() > 1 && !(those && those->resolves());
  return may_conflict ? std::nullopt : std::optional(alone);
}

Resolution resolve(const Plan& plan, const UnitReplacement& update, const Progress& progress) {
  Resolution resolution;
  resolution.is_removal = plan.is_removal;
  resolution.not_asked = why_not_asked(plan);
  if (!resolution.not_asked.empty()) return resolution;
  Questioner questioner(plan, update, progress);
  resolution.is_on_copy = questioner.is_on_copy();
  if (!update.is_empty()) resolution.update = questioner.ask_for_update();
  if (resolution.update_fails()) return resolution;
  const Texts features = features_of(plan);
  resolution.all = questioner.ask(features);
  // Another layer than the director says the same of every feature.
  if (!resolution.fails() || resolution.all->failure->layer != Layer::director || features.size() == 1) return resolution;
  for (const std::string& feature : features) resolution.each.push_back(questioner.ask({feature}));
  const Texts alone = resolution.resolving_alone();
  if (alone.size() > 1 && alone.size() < features.size()) resolution.those = questioner.ask(alone);
  return resolution;
}

}  // namespace eclipse_resolve
