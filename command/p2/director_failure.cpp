// An Eclipse log is text of this form; a new session is appended to a log that is there:
//
//   !SESSION time                          what is started, and below it lines that describe it
//   !ENTRY plug-in severity code time      something that happened
//   !SUBENTRY depth plug-in ...            a part of it
//   !MESSAGE text                          of the entry or part before it; the text may have more lines
//   !STACK code                            an exception: its class and message, then lines "\tat ...", and again for each cause
#include "p2/director_failure.h"

#include <algorithm>
#include <set>
#include <sstream>
#include <system_error>
#include <utility>

#include "base/file.h"
#include "base/limits.h"
#include "base/printable.h"
#include "base/text.h"
#include "p2/instance_paths.h"
#include "shell/exit_code.h"
#include "shell/shell_reading.h"

namespace fs = std::filesystem;
using eclipse_shell::CommandResult;
namespace exit_code = eclipse_shell::exit_code;

namespace eclipse_p2 {

namespace {

constexpr int highest_signal = 64;
constexpr std::size_t most_messages = 10;
constexpr std::size_t most_causes = 100;
constexpr std::size_t longest_cause = 4096;

// What the director prints after the reasons.
constexpr std::string_view see_log = "There were errors.";
// What is in the log when the director or another application could not be run to its end.
constexpr std::string_view application_error = "Application error";
constexpr std::string_view application_name = "Application \"";
constexpr std::string_view application_missing = "could not be found in the registry";

std::string shortened(const std::string& cause) {
  return cause.size() <= longest_cause ? cause : cause.substr(0, longest_cause) + "...";
}

/// Each cause once, in the order in which they come; of very many only the first, and of a long one its beginning.
class Causes {
 public:
  /// False for one that is not kept.
  bool add(const std::string& cause) {
    if (!known_.insert(cause).second || list_.size() == most_causes) return false;
    list_.push_back(shortened(cause));
    return true;
  }
  void continue_last(const std::string& line) {
    if (list_.back().size() < longest_cause) list_.back() = shortened(list_.back() + " " + line);
  }

  std::vector<std::string> list() const {
    std::vector<std::string> list = list_;
    const std::size_t more = known_.size() - list_.size();
    if (more != 0) list.push_back("and " + std::to_string(more) + " more");
    return list;
  }

 private:
  std::vector<std::string> list_;
  std::set<std::string> known_;
};

std::vector<std::string> printed_lines(const std::string& text) {
  std::vector<std::string> lines = eclipse_base::lines_of(text);
  for (std::string& line : lines) {
    if (line.ends_with('\r')) line.pop_back();
  }
  std::erase(lines, "");
  return lines;
}

/// A message of the launcher that is meant for a window.
std::string without_tags(std::string line) {
  constexpr std::string_view opening = "<title>";
  constexpr std::string_view closing = "</title>";
  const std::size_t end = line.find(closing);
  if (!line.starts_with(opening) || end == line.npos) return line;
  return line.replace(end, closing.size(), ": ").erase(0, opening.size());
}

/// The lines that were printed, without stack traces and other lines in the form of a log. Of many, only the first.
std::vector<std::string> messages_of(const CommandResult& result) {
  std::vector<std::string> messages;
  for (const std::string& line : printed_lines(result.output + result.error_output)) {
    if (messages.size() == most_messages) break;
    if (line.starts_with('\t') || line.starts_with('!')) continue;
    const std::string message = shortened(without_tags(line));
    if (std::find(messages.begin(), messages.end(), message) == messages.end()) messages.push_back(message);
  }
  return messages;
}

/// The lines that the director printed after the one that says that it failed.
std::vector<std::string> reasons_in(const std::string& output) {
  std::vector<std::string> lines = printed_lines(output);
  const auto failed = std::find(lines.begin(), lines.end(), installation_failed);
  if (failed == lines.end()) return {};
  Causes reasons;
  for (auto line = failed + 1; line != lines.end(); ++line) {
    if (!line->starts_with(see_log)) reasons.add(*line);
  }
  return reasons.list();
}

Failure of_shell(const CommandResult& result) {
  Failure failure{Layer::shell, "", messages_of(result), std::nullopt};
  if (result.exit_code == exit_code::not_found) {
    failure.meaning = "a program does not exist: the executable, or one that it starts";
  } else if (result.exit_code == exit_code::not_started) {
    failure.meaning = "the program cannot be started: it is a directory or not executable, or the command is too long";
  } else {
    failure.meaning = std::string("it ") + eclipse_shell::rejects_command;
  }
  return failure;
}

Failure of_instance(const CommandResult& result, const std::optional<fs::path>& log) {
  const auto content = log ? eclipse_base::read_end(*log, eclipse_base::largest::log) : eclipse_base::FileContent();
  const LoggedCauses logged = causes_in(content.bytes);
  Failure failure{Layer::director, "it could not complete the operation", logged.messages, log};
  if (logged.messages.empty()) failure.causes = reasons_in(result.output);
  if (logged.is_application_missing) {
    failure.layer = Layer::launcher;
    failure.meaning = "the instance has no such application";
  } else if (logged.is_application_error) {
    failure.meaning = "it aborted with an exception and printed no reason";
  } else if (failure.causes.empty()) {
    failure.layer = Layer::launcher;
    failure.meaning = "the application exited early and logged no reason";
    failure.causes = messages_of(result);
  }
  if (!content.error.empty()) failure.causes.push_back(log->filename().string() + " " + content.error);
  return failure;
}

/// Reads the log line by line.
class LogReader {
 public:
  void read(const std::string& line) {
    if (line.starts_with("!SESSION")) {
      *this = LogReader();
    } else if (line.starts_with("!ENTRY") || line.starts_with("!SUBENTRY")) {
      part_ = Part::none;
    } else if (line.starts_with("!MESSAGE ")) {
      read_message(line.substr(std::string_view("!MESSAGE ").size()));
    } else if (line.starts_with("!STACK")) {
      part_ = Part::stack;
    } else if (part_ == Part::stack) {
      read_stack(line);
    } else if (part_ == Part::message && !line.empty()) {
      messages_.continue_last(line);
    }
  }

  LoggedCauses causes() const { return {messages_.list(), is_application_error_, is_application_missing_}; }

 private:
  enum class Part { none, message, stack };

  void read_message(const std::string& message) {
    const bool is_error = message == application_error;
    is_application_error_ = is_application_error_ || is_error;
    part_ = !is_error && messages_.add(message) ? Part::message : Part::none;
  }

  void read_stack(const std::string& line) {
    if (line.empty() || line.starts_with('\t') || line.starts_with("Caused by: ") || line.starts_with("Root exception:")) {
      if (line.starts_with("Caused by: ")) messages_.add(line.substr(std::string_view("Caused by: ").size()));
      return;
    }
    messages_.add(line);
    if (line.find(application_name) != line.npos && line.find(application_missing) != line.npos) {
      is_application_missing_ = true;
    }
  }

  Part part_ = Part::none;
  Causes messages_;
  bool is_application_error_ = false;
  bool is_application_missing_ = false;
};

}  // namespace

InstanceLogs::InstanceLogs(const fs::path& instance) : directory_(instance / configuration_directory), before_(times()) {}

InstanceLogs::Times InstanceLogs::times() const {
  Times times;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(directory_, error)) {
    if (entry.path().extension() == ".log" && entry.is_regular_file(error))
      times[entry.path()] = fs::last_write_time(entry.path(), error);
  }
  return times;
}

std::optional<fs::path> InstanceLogs::written_since() const {
  std::optional<fs::path> newest;
  fs::file_time_type newest_time;
  for (const auto& [file, time] : times()) {
    const auto before = before_.find(file);
    if (before != before_.end() && before->second == time) continue;
    if (newest && time < newest_time) continue;
    newest = file;
    newest_time = time;
  }
  return newest;
}

LoggedCauses causes_in(std::string_view log) {
  LogReader reader;
  std::istringstream stream{std::string(log)};
  for (std::string line; std::getline(stream, line);) reader.read(line);
  return reader.causes();
}

std::string_view name_of(Layer layer) {
  switch (layer) {
    case Layer::shell:
      return "the shell";
    case Layer::launcher:
      return "the launcher";
    case Layer::director:
      return "the director";
    case Layer::unknown:
      break;
  }
  return "an unknown layer";
}

Failure explain(const CommandResult& result, const InstanceLogs& logs) {
  const std::optional<fs::path> log = logs.written_since();
  const bool nothing_printed = result.output.empty() && !result.error_output.empty();
  switch (result.exit_code) {
    case exit_code::not_started:
    case exit_code::not_found:
      return of_shell(result);
    case 1:
    case 2:
      if (!log && nothing_printed) return of_shell(result);
      break;
    case launcher_exit_code::application_failed:
      return of_instance(result, log);
    case launcher_exit_code::cannot_write:
      return {Layer::launcher, "the instance or its configuration cannot be written", messages_of(result), log};
    default:
      break;
  }
  Failure failure{Layer::unknown, "unknown exit code", messages_of(result), log};
  const int signal = result.exit_code - exit_code::signal_offset;
  if (signal > 0 && signal <= highest_signal) failure.meaning = "signal " + std::to_string(signal) + " ended the command";
  return failure;
}

std::string text_of(const Failure& failure, const std::string& indent) {
  using eclipse_base::printable;
  const bool is_known = failure.layer != Layer::unknown;
  std::string text = (is_known ? std::string(name_of(failure.layer)) + " failed: " : "") + printable(failure.meaning);
  for (const std::string& cause : failure.causes) text.append("\n").append(indent).append(printable(cause));
  if (failure.log) text.append("\n").append(indent).append("Log: ").append(printable(failure.log->string()));
  return text;
}

}  // namespace eclipse_p2
