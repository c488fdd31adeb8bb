#include "preview/obstacle.h"

#include "base/text.h"
#include "dry_run/command_pieces.h"
#include "p2/director_start.h"
#include "p2/unit_list.h"

using eclipse_plan::Plan;
using eclipse_plan::PlannedCommand;
using eclipse_plan::PlannedRecord;
using eclipse_shell::ShellCause;

namespace eclipse_preview {

namespace {

/// Then the director still gets the other texts.
bool keeps_word_count(const PlannedCommand& command) {
  const auto& commands = command.shell.commands;
  return command.shell.error.empty() && commands.size() == 1 && commands.front().size() == command.intended.size() &&
         command.shell.redirections.size() == 1;
}

std::string change_by_shell(const ShellCause& cause) {
  return "the shell changes " + cause.origin + ": " + cause.remarks.front().effect;
}

/// Of a feature whose retry the plan leaves out.
std::string obstacle_in_name(const PlannedRecord& feature) {
  const std::string& name = feature.config.feature;
  if (eclipse_shell::as_word(name) != name) return "";  // the shell only removes quotes
  const auto cause = eclipse_shell::cause_in(eclipse_dry_run::feature_piece(name, {}, "column 2 of " + feature.place()));
  return cause ? change_by_shell(*cause) : "the shell changes the command";
}

/// Of those features of a command that contain nothing that the shell changes.
std::string obstacle_of_others(const PlannedCommand& command) {
  const bool is_executable = !command.causes.empty() && command.causes.front().text == command.intended.front();
  if (keeps_word_count(command) && !is_executable) return "";
  if (!command.causes.empty()) return change_by_shell(command.causes.front());
  return command.shell.error.empty() ? "the shell changes the command" : command.shell.error;
}

}  // namespace

Obstacles::Command Obstacles::looked_at(const PlannedCommand& command) {
  if (!command.executable_error.empty()) return {command.executable_error, {}, {}};
  if (command.is_too_long()) return {PlannedCommand::too_long, {}, {}};
  Command looked_at;
  for (const ShellCause& cause : command.causes) looked_at.of_text.try_emplace(cause.text, change_by_shell(cause));
  looked_at.of_others = obstacle_of_others(command);
  return looked_at;
}

Obstacles::Obstacles(const Plan& plan)
    : plan_(plan), is_retried_(!plan.is_removal && !plan.command->runs_as_intended()), all_(looked_at(*plan.command)) {
  // Commands that repeat a removal never run.
  if (!is_retried_) return;
  for (const PlannedCommand& retry : plan.retries) retries_.try_emplace(retry.number, looked_at(retry));
}

const Obstacles::Command& Obstacles::last_command_for(std::size_t number) const {
  for (const std::size_t tried : {number, plan_.representative_retry}) {
    if (const auto retry = retries_.find(tried); retry != retries_.end()) return retry->second;
  }
  return all_;
}

std::string Obstacles::of(const PlannedRecord& feature, std::size_t number) const {
  const auto& config = feature.config;
  if (!eclipse_p2::is_readable_in_locale(config.feature)) {
    return std::string("it has ") + eclipse_p2::unreadable_in_locale;
  }
  if (eclipse_p2::is_read_as_option(config.feature)) return "the director reads it as an option";
  if (is_retried_ && plan_.retries_left_out.contains(number)) return obstacle_in_name(feature);
  const Command& command = last_command_for(number);
  if (!command.of_all.empty()) return command.of_all;
  for (const std::string& text : {config.feature, config.repository, config.base_dir}) {
    if (const auto own = command.of_text.find(text); own != command.of_text.end()) return own->second;
  }
  return command.of_others;
}

}  // namespace eclipse_preview
