#include "cli/session_command.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <system_error>

#include "cli/account.h"
#include "cli/json_result.h"
#include "cli/log_file.h"
#include "cli/standard_streams.h"
#include "host/session_file.h"
#include "host/variables_file.h"

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

void refuse_same(const std::string& option, const std::string& output, const std::optional<std::string>& input) {
  if (!input || !is_same_file(output, *input)) return;
  throw FileFault(output + ": " + option + " would overwrite " + *input + ", which is used in this run; give it another file");
}

/// False, and complained of, when a file could not be written.
bool is_written(const std::function<void()>& write) {
  try {
    write();
    return true;
  } catch (const FileFault& fault) {
    complain(fault.what());
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
  session_.variables.merge(read_variables_file(*options_.variables));
}

/// Finds out before the run whether what is to be written can be, and is not read at the same time.
void SessionCommand::check_outputs() const {
  if (options_.write_variables) {
    refuse_same("--write-variables", *options_.write_variables, options_.session);
    refuse_same("--write-variables", *options_.write_variables, options_.plugin);
    check_variables_file(*options_.write_variables);
  }
  if (!options_.log) return;
  for (const auto& input : {std::optional(options_.session), options_.variables, options_.write_variables, options_.plugin}) {
    refuse_same("--log", *options_.log, input);
  }
}

/// Nothing when the run broke off, which it does only when the host itself fails, as for want of memory.
std::optional<RunRecord> SessionCommand::run(const Plugin& plugin, const Performance& performance,
                                             const RunObserver& observer) {
  try {
    return performance(plugin, session_, observer);
  } catch (const std::exception& error) {
    complain(std::string("the run broke off: ") + error.what());
    return std::nullopt;
  }
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

int SessionCommand::perform(const Performance& performance, const std::optional<Supplement>& supplement) {
  const Plugin plugin = load_plugin();
  check_outputs();
  std::optional<LogFile> log;
  if (options_.log) log.emplace(*options_.log);

  Account account(std::cout, isatty(STDOUT_FILENO) != 0);
  RunObserver observer = options_.json ? RunObserver() : account.observer();
  if (log) observer.on_log = [&log](const std::string& line) { log->write(line); };
  if (!options_.json) account.begin(options_.session, session_);
  const std::optional<RunRecord> record = run(plugin, performance, observer);

  const bool files_written = write_files(log);
  if (!record) return 1;
  const int status_of_run = record->failed() ? 1 : files_written ? 0 : 2;
  const int status = supplement ? supplement->exit_status(status_of_run) : status_of_run;
  if (options_.json) {
    nlohmann::ordered_json result = json_result(*record, status);
    if (supplement) supplement->add_to(result);
    print_json(std::cout, result);
  } else {
    account.end(*record, session_.graphical);
    if (supplement) std::cout << supplement->text();
  }
  return status;
}

}  // namespace eclipse_cli
