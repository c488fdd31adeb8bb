#include "preview/obstacle.h"

#include <algorithm>

#include "base/text.h"

using eclipse_plan::Plan;
using eclipse_plan::PlannedCommand;
using eclipse_plan::PlannedRecord;
using eclipse_shell::ShellCause;

namespace eclipse_preview {

namespace {

/// The last command that is tried for a feature. Commands that repeat a removal never run.
const PlannedCommand& last_command_for(const Plan& plan, std::size_t number) {
  if (plan.is_removal || plan.command->runs_as_intended()) return *plan.command;
  const PlannedCommand* command = &*plan.command;
  for (const PlannedCommand& retry : plan.retries) {
    if (retry.number == number) return retry;
    if (retry.number == plan.representative_retry) command = &retry;
  }
  return *command;
}

/// Then the director still gets the other texts.
bool keeps_word_count(const PlannedCommand& command) {
  const auto& commands = command.shell.commands;
  return command.shell.error.empty() && commands.size() == 1 && commands.front().size() == command.intended.size() &&
         command.shell.redirections.size() == 1;
}

bool is_of(const ShellCause& cause, const PlannedRecord& feature) {
  const auto& config = feature.config;
  return cause.text == config.feature || cause.text == config.repository || cause.text == config.base_dir;
}

std::string change_by_shell(const ShellCause& cause) {
  return "the shell changes " + cause.origin + ": " + cause.remarks.front().effect;
}

}  // namespace

std::string obstacle_for(const Plan& plan, const PlannedRecord& feature, std::size_t number) {
  const PlannedCommand& command = last_command_for(plan, number);
  if (command.runs_as_intended()) return "";
  if (!command.executable_error.empty()) return command.executable_error;
  if (command.is_too_long()) return "the command is too long to be started";
  const auto own = std::find_if(command.causes.begin(), command.causes.end(),
                                [&](const ShellCause& cause) { return is_of(cause, feature); });
  if (own != command.causes.end()) return change_by_shell(*own);
  const bool is_executable = !command.causes.empty() && command.causes.front().text == command.intended.front();
  if (keeps_word_count(command) && !is_executable) return "";
  if (!command.causes.empty()) return change_by_shell(command.causes.front());
  return command.shell.error.empty() ? "the shell changes the command" : command.shell.error;
}

}  // namespace eclipse_preview
