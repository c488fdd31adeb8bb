#include "cli/session_command.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "cli/json_result.h"
#include "cli/one_line.h"
#include "cli/standard_streams.h"
#include "dry_run/product_files.h"
#include "standalone_host/session_file.h"
#include "standalone_host/variables_file.h"

using namespace eclipse_base;
using namespace eclipse_dry_run;

using namespace eclipse_host;

namespace eclipse_cli {

namespace {

/// Whether two paths name the same file, be it there or not.
bool is_same_file(const std::string& one, const std::string& other) {
  std::error_code error;
  if (std::filesystem::equivalent(one, other, error)) return true;
  const auto canonical = [](const std::string& file) {
    std::error_code ignored;
    return std::filesystem::weakly_canonical(std::filesystem::absolute(file, ignored), ignored);
  };
  return canonical(one) == canonical(other);
}

bool is_missing(const std::string& file) {
  std::error_code error;
  return std::filesystem::status(file, error).type() == std::filesystem::file_type::not_found;
}

[[noreturn]] void refuse(const std::string& option, const std::string& output, const std::string& used) {
  throw FileError(output + ": " + option + " would overwrite " + used + ", which is used in this run; give it another file");
}

void refuse_same(const std::string& option, const std::string& output, const std::optional<std::string>& input) {
  if (input && is_same_file(output, *input)) refuse(option, output, *input);
}

/// The log is emptied before the product is read, and the Eclipse is to live on.
void refuse_product_file(const Plugin& plugin, const Session& session, const std::string& option, const std::string& output) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(output, error)) return;
  for (const std::string& used : product_files(plugin, session)) {
    if (std::filesystem::equivalent(output, used, error)) refuse(option, output, used);
  }
}

/// False, and complained of, when a file could not be written.
bool is_written(const std::function<void()>& write) {
  try {
    write();
    return true;
  } catch (const FileError& fault) {
    print_message(fault.what());
    return false;
  }
}

}  // namespace

SessionCommand::SessionCommand(const SessionOptions& options) : options_(options) {
  read_session_file(options.session, session_);
  read_variables();
  for (const std::string& setting : options.settings) {
    const std::size_t equals = setting.find('=');
    session_.variables[setting.substr(0, equals)] = setting.substr(equals + 1);
  }
}

void SessionCommand::check_mode() const {
  const std::string mode = session_.variable("KORU_MODE");
  if (std::find(modes.begin(), modes.end(), mode) != modes.end()) return;
  throw CLI::ValidationError("--set",
                             "KORU_MODE is \"" + mode + "\", which is no mode; set it to install, modify or uninstall");
}

Plugin SessionCommand::load_plugin() const {
  return options_.plugin ? Plugin(*options_.plugin) : Plugin::beside_this_program();
}

/// What is set already, by the session file, stays.
void SessionCommand::read_variables() {
  if (!options_.variables) return;
  // The first of a row of runs has nothing to read yet.
  const bool will_be_written = options_.write_variables && is_same_file(*options_.variables, *options_.write_variables);
  if (will_be_written && is_missing(*options_.variables)) return;
  Variables variables = read_variables_file(*options_.variables);
  if (const auto mode = variables.find("KORU_MODE"); mode != variables.end()) note_mode_of_variables(mode->second);
  session_.variables.merge(variables);
}

/// A session file always says its mode.
void SessionCommand::note_mode_of_variables(const std::string& mode) const {
  if (mode == session_.variable("KORU_MODE")) return;
  print_message("note: " + *options_.variables + ": KORU_MODE is \"" + on_one_line(mode) +
                "\" there and is not used; the mode is that of the session file, or of --set KORU_MODE=...");
}

/// Finds out before the run whether what is to be written can be, and is not read at the same time.
void SessionCommand::check_outputs(const Plugin& plugin) const {
  if (options_.write_variables) {
    refuse_same("--write-variables", *options_.write_variables, options_.session);
    refuse_same("--write-variables", *options_.write_variables, options_.plugin);
    refuse_product_file(plugin, session_, "--write-variables", *options_.write_variables);
    check_variables_file(*options_.write_variables, session_.variables);
  }
  if (!options_.log) return;
  for (const auto& input : {std::optional(options_.session), options_.variables, options_.write_variables, options_.plugin}) {
    refuse_same("--log", *options_.log, input);
  }
  refuse_product_file(plugin, session_, "--log", *options_.log);
}

/// A document and lines in between would be neither.
void SessionCommand::check_log_beside_json() const {
  if (!options_.json || !options_.log) return;
  struct stat output {};
  struct stat log {};
  if (fstat(STDOUT_FILENO, &output) != 0 || stat(options_.log->c_str(), &log) != 0) return;
  const bool is_null_device = S_ISCHR(log.st_mode) && isatty(STDOUT_FILENO) == 0;
  if (log.st_dev != output.st_dev || log.st_ino != output.st_ino || is_null_device) return;
  throw CLI::ValidationError("--log", *options_.log +
                                          " is standard output, which --json has for its document alone; give the "
                                          "log a file of its own");
}

/// The variables are kept also when the run failed or broke off, as an installer's are.
bool SessionCommand::write_files(const std::optional<LogFile>& log) const {
  const bool log_written = is_written([&] {
    if (log) log->check();
  });
  const bool variables_written = is_written([&] {
    if (options_.write_variables) write_variables_file(*options_.write_variables, session_.variables);
  });
  return log_written && variables_written;
}

void SessionCommand::tell_end(Account& account, const RunRecord& record, const std::optional<Supplement>& supplement,
                              int status) const {
  if (options_.json) {
    nlohmann::ordered_json result = json_result(record, status);
    if (supplement) supplement->add_to(result);
    print_json(std::cout, result);
  } else {
    account.end(record, session_.graphical, supplement ? supplement->finding() : InstanceFinding());
    if (supplement) std::cout << supplement->text() << std::flush;
  }
}

void SessionCommand::tell_interruption(Account& account, const RunSoFar& so_far, const Interrupted& interrupted) const {
  if (options_.json) {
    print_json(std::cout, interrupted_json(so_far, interrupted, session_.variables));
  } else {
    account.interrupt(interrupted.name(), so_far.running.has_value());
  }
}

/// A run breaks off only when the host itself fails, as for want of memory.
void SessionCommand::tell_break(const RunSoFar& so_far, const std::string& reason) const {
  print_message("the run broke off: " + reason);
  if (options_.json) print_json(std::cout, broken_off_json(so_far, reason, session_.variables));
}

int SessionCommand::end(Account& account, const RunRecord& record, const std::optional<Supplement>& supplement,
                        const std::optional<LogFile>& log) const {
  const bool files_written = write_files(log);
  const int status_of_run = record.failed() ? 1 : files_written ? 0 : 2;
  const int status = supplement ? supplement->exit_status(status_of_run) : status_of_run;
  tell_end(account, record, supplement, status);
  return status;
}

int SessionCommand::perform(const Performance& performance, const std::optional<Supplement>& supplement) {
  const Plugin plugin = load_plugin();
  check_log_beside_json();
  check_outputs(plugin);
  std::optional<LogFile> log;
  if (options_.log) log.emplace(*options_.log);

  Account account(std::cout, isatty(STDOUT_FILENO) != 0);
  RunObserver observer = options_.json ? RunObserver() : account.observer();
  if (log) observer.on_log = [&log](const std::string& line) { log->write(line); };
  if (!options_.json) account.begin(options_.session, session_);
  RunSoFar so_far(session_.variables);
  std::optional<RunRecord> record;
  // Also over the writing of what the run came to: it is done, and a signal that is late must not make it lose that.
  const Interruption interruption;
  try {
    record = performance(plugin, session_, Interruption::checking(so_far.keeping(observer)));
  } catch (const Interrupted& interrupted) {
    write_files(log);
    tell_interruption(account, so_far, interrupted);
    return interrupted.exit_status();
  } catch (const std::exception& error) {
    so_far.forget_running_output();
    write_files(log);
    tell_break(so_far, error.what());
    return 1;
  }
  return end(account, *record, supplement, log);
}

}  // namespace eclipse_cli
