#include "report/run_report.h"

#include <unistd.h>

#include <algorithm>
#include <iomanip>
#include <sstream>
#include <utility>

#include "base/printable.h"
#include "base/text.h"
#include "report/printed_lines.h"
#include "shell/command_runner.h"
#include "terminal/interruption.h"
#include "terminal/standard_streams.h"

using namespace eclipse_shell;
using namespace eclipse_base;

namespace eclipse_report {

namespace {

using namespace eclipse_host;
using namespace eclipse_terminal;

constexpr std::string_view output_indent = "    ";
constexpr PrintableForm output_form = {.tab = "    ", .line_feed = "\n"};
constexpr const char* held_outputs =
    "the director has ended, but a background process that it started keeps its output open; waiting for that process";
constexpr std::size_t most_held = 1'048'576;
constexpr int most_waits = 8;  ///< for a reader, after a signal, four a second

std::string in_seconds(double seconds) {
  std::ostringstream text;
  text << std::fixed << std::setprecision(1) << seconds << " s";
  return text.str();
}

std::string choice_of(const Session& session) {
  if (session.chooses_internal()) return "internal (provided by a component)";
  if (session.chooses_users_own()) return "user (" + printable(session.variable("USER_DEFINED_ECLIPSE_PATH")) + ")";
  const std::string choice = session.variable("ECLIPSE_INTEGRATION_CHOICE");
  return choice.empty() ? "not chosen" : printable(choice);
}

std::string state_of(const CatalogueComponent& component) {
  std::string state = component.installed ? "installed" : "not installed";
  if (component.selected_for_install) state += ", selected to be installed";
  if (component.selected_for_removal) state += ", selected to be removed";
  return state;
}

/// Whether a text is a line of what a command printed.
bool is_printed(const std::string& text, const CommandResult& result) {
  bool is_found = false;
  for (const std::string* const output : {&result.output, &result.error_output}) {
    for_each_line(*output, [&](std::string_view line) { is_found = is_found || trimmed(line) == trimmed(text); });
  }
  return is_found;
}

/// Why a command failed. A cause is left out when the command printed it: its output is right above.
std::string reason_text(eclipse_p2::Failure failure, const CommandResult& result) {
  std::erase_if(failure.causes, [&](const std::string& cause) { return is_printed(cause, result); });
  return "    Why: " + text_of(failure, "      ") + "\n";
}

}  // namespace

RunReport::RunReport(const CommandFailures& failures)
    : is_terminal_(isatty(STDOUT_FILENO) != 0), failures_(failures), output_(output_form), error_output_(output_form) {}

void RunReport::begin(const std::string& file, const Session& session) {
  std::string text = "Session " + printable(file) + "\n";
  text += "  Mode: " + printable(session.variable("KORU_MODE")) + "\n";
  text += "  Eclipse: " + choice_of(session) + "\n";
  for (const auto& component : session.components) {
    const std::string code = component->code.empty() ? "without a code" : printable(component->code);
    text += "  Component " + code + ": " + state_of(*component) + "\n";
  }
  if (session.components.empty()) text += "  No components\n";
  print(text + "\n");
}

RunObserver RunReport::observer() {
  RunObserver observer;
  observer.on_action = [this](const std::string& action) { print("Action " + action + "\n"); };
  observer.on_command = [this](const std::string& command) {
    print("  Command: " + printable(command, {.longest = eclipse_shell::longest_command}) + "\n");
    director_runs_ = true;
    is_held_ = is_shown_ = false;
    line_.clear();
    held_.clear();
  };
  observer.command_progress.on_output = [this](std::string_view piece) { print_output(output_.add(piece)); };
  observer.command_progress.on_error_output = [this](std::string_view piece) { print_output(error_output_.add(piece)); };
  observer.command_progress.on_wait = [this](double seconds) { print_waiting(seconds); };
  observer.command_progress.on_held_outputs = [this] { print(std::string(output_indent) + held_outputs + "\n"); };
  observer.on_command_end = [this](const CommandRecord& record) { print_end_of_command(record.result); };
  return observer;
}

void RunReport::add(const std::string& text) { print(text); }

void RunReport::end(const RunRecord& record, const Session& session, const InstanceFinding& finding) {
  run_has_ended_ = true;
  print("\n" + outcome_text(record, failures_, session, finding));
}

void RunReport::interrupt(const std::string& signal, bool director_was_running) {
  print_held_output();
  director_runs_ = false;
  run_has_ended_ = true;
  print("\nInterrupted by " + signal + "\n" +
        (director_was_running ? "  The running director was stopped; changes that it had already made may remain.\n"
                              : "  No director was stopped, and no other command of the session was started.\n"));
}

/// A run that is interrupted while nobody reads its report ends all the same. A director can end only when its output is read
/// on, so that after the signal, and after the run, a few more seconds are enough for a reader.
void RunReport::write(const std::string& text) {
  int waits = 0;
  write_to_output(text, [&] {
    if (director_runs_) {
      Interruption::check_while_director_runs();
    } else if (!run_has_ended_) {
      Interruption::check();
    }
    return !Interruption::was_requested() || ++waits != most_waits;
  });
}

void RunReport::print(const std::string& text) {
  write(without_waiting() + (in_line_ ? "\n" : "") + text);
  in_line_ = false;
}

/// The reasons of a failure are in the outcome, once for all commands.
void RunReport::print_output(std::string_view output) {
  std::string text = without_waiting();
  for (const char byte : output) {
    if (is_held_) {
      held_ += byte;
      continue;
    }
    is_held_ = byte == '\n' && !is_shown_ && line_ == eclipse_p2::installation_failed;
    if (byte == '\n') {
      line_.clear();
    } else if (line_.size() <= eclipse_p2::installation_failed.size()) {
      line_ += byte;
    }
    if (!in_line_ && byte != '\n') text += output_indent;
    text += byte;
    in_line_ = byte != '\n';
  }
  write(text);
  if (held_.size() > most_held) print_held_output();
}

void RunReport::print_held_output() {
  is_held_ = false;
  is_shown_ = true;
  const std::string held = std::exchange(held_, "");
  print_output(held);
}

void RunReport::print_waiting(double seconds) {
  if (!is_terminal_ || in_line_) return;
  const std::string text = std::string(output_indent) + "running for " + in_seconds(seconds);
  write(without_waiting() + text);
  waiting_width_ = text.size();
}

void RunReport::print_end_of_command(const CommandResult& result) {
  director_runs_ = false;
  print_output(output_.end() + error_output_.end());
  const eclipse_p2::Failure* const failure = failures_.last();
  const bool is_explained = failure != nullptr && failure->layer == eclipse_p2::Layer::director && !failure->causes.empty();
  if (is_held_ && !is_explained) print_held_output();
  const std::string code = result.exit_code == 0 ? "Succeeded" : "Failed with exit code " + std::to_string(result.exit_code);
  print("  " + code + " after " + in_seconds(result.seconds) + "\n");
  if (failure == nullptr || is_held_) return;
  print(failures_.last_is_repeated() ? "    Why: same reason\n" : reason_text(*failure, result));
}

RunObserver messages_about_silence() {
  RunObserver observer;
  observer.command_progress.on_held_outputs = [] { print_message(held_outputs); };
  return observer;
}

/// The text that erases the line with the elapsed time.
std::string RunReport::without_waiting() {
  if (waiting_width_ == 0) return "";
  std::string text = "\r" + std::string(waiting_width_, ' ') + "\r";
  waiting_width_ = 0;
  return text;
}

}  // namespace eclipse_report
