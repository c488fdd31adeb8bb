#include "cli/account.h"

#include <array>
#include <cstdio>

#include "cli/one_line.h"
#include "shell/command_runner.h"

using namespace eclipse_shell;

namespace eclipse_cli {

namespace {

using namespace eclipse_host;

constexpr std::string_view output_indent = "    ";

std::string in_seconds(double seconds) {
  std::array<char, 64> text;
  std::snprintf(text.data(), text.size(), "%.1f s", seconds);
  return text.data();
}

std::string choice_of(const Session& session) {
  const std::string choice = session.variable("ECLIPSE_INTEGRATION_CHOICE");
  if (choice == "internal") return "internal (the one that a component brings)";
  if (choice == "user") return "user (" + on_one_line(session.variable("USER_DEFINED_ECLIPSE_PATH")) + ")";
  return choice.empty() ? "not chosen" : on_one_line(choice);
}

std::string state_of(const CatalogueComponent& component) {
  std::string state = component.installed ? "installed" : "not installed";
  if (component.selected_for_install) state += ", selected to be installed";
  if (component.selected_for_removal) state += ", selected to be removed";
  return state;
}

}  // namespace

void Account::begin(const std::string& file, const Session& session) {
  std::string text = "Session " + on_one_line(file) + "\n";
  text += "  Mode: " + on_one_line(session.variable("KORU_MODE")) + "\n";
  text += "  Eclipse: " + choice_of(session) + "\n";
  for (const auto& component : session.components) {
    const std::string code = component->code.empty() ? "without a code" : on_one_line(component->code);
    text += "  Component " + code + ": " + state_of(*component) + "\n";
  }
  if (session.components.empty()) text += "  No components\n";
  tell(text + "\n");
}

RunObserver Account::observer() {
  RunObserver observer;
  observer.on_action = [this](const std::string& action) { tell("Action " + action + "\n"); };
  observer.on_command = [this](const std::string& command) {
    tell("  Command: " + on_one_line(command, eclipse_shell::longest_command) + "\n");
  };
  observer.command_progress.on_output = [this](std::string_view piece) { tell_output(piece); };
  observer.command_progress.on_error_output = [this](std::string_view piece) { tell_output(piece); };
  observer.command_progress.on_wait = [this](double seconds) { tell_waiting(seconds); };
  observer.on_command_end = [this](const CommandRecord& record) { tell_end_of_command(record.result); };
  return observer;
}

void Account::end(const RunRecord& record, bool graphical, const InstanceFinding& finding) {
  tell("\n" + outcome_of(record, graphical, finding));
}

void Account::interrupt(const std::string& signal, bool director_was_running) {
  tell("\nInterrupted by " + signal + "\n" +
       (director_was_running ? "  The director that was running was ended; what it had done by then may have stayed.\n"
                             : "  No command of the session was running.\n"));
}

void Account::tell(const std::string& text) {
  out_ << without_waiting() << (in_line_ ? "\n" : "") << text << std::flush;
  in_line_ = false;
}

void Account::tell_output(std::string_view piece) {
  std::string text = without_waiting();
  for (const char byte : piece) {
    if (!in_line_ && byte != '\n') text += output_indent;
    text += byte;
    in_line_ = byte != '\n';
  }
  out_ << text << std::flush;
}

void Account::tell_waiting(double seconds) {
  if (!is_terminal_ || in_line_) return;
  const std::string text = std::string(output_indent) + "running for " + in_seconds(seconds);
  out_ << without_waiting() << text << std::flush;
  waiting_width_ = text.size();
}

void Account::tell_end_of_command(const CommandResult& result) {
  const std::string code = result.exit_code == 0 ? "Succeeded" : "Failed with exit code " + std::to_string(result.exit_code);
  tell("  " + code + " after " + in_seconds(result.seconds) + "\n");
}

/// What takes the line with the elapsed time away.
std::string Account::without_waiting() {
  if (waiting_width_ == 0) return "";
  std::string text = "\r" + std::string(waiting_width_, ' ') + "\r";
  waiting_width_ = 0;
  return text;
}

}  // namespace eclipse_cli
