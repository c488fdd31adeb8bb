// The library that a host loads in place of the plug-in: it has the same actions. The first one that the host calls checks
// the host; then each does what the plug-in does, and what the host answers is observed.
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <mutex>
#include <new>
#include <sstream>

#include "base/text.h"
#include "host_kit/environment.h"
#include "host_kit/observed.h"
#include "host_kit/report.h"

#define EXPORTED __attribute__((visibility("default")))

namespace host_kit {

namespace {

std::string setting(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

void write_progress(std::string_view text) {
  const std::string file = setting(environment::progress);
  if (!file.empty()) std::ofstream(file) << text;
}

eclipse_int::HostCheckOptions options_of_environment() {
  eclipse_int::HostCheckOptions options;
  const std::string only = setting(environment::only);
  if (!only.empty()) options.only = eclipse_base::split(only, ',');
  options.in_process = setting(environment::in_process) == "1";
  options.log = setting(environment::log);
  const std::string seconds = setting(environment::seconds);
  if (!seconds.empty()) options.seconds = static_cast<unsigned>(std::strtoul(seconds.c_str(), nullptr, 10));
  const std::string format = setting(environment::format);
  if (!format.empty()) options.format = format;
  return options;
}

/// The one check of this process, over all the actions that its host calls.
class HostCheck {
 public:
  int call(Action action, session_t* session) {
    const bool is_first = begin(session);
    if (is_first && setting(environment::drill) == "1") throw_out_of_action();
    if (ends_host()) end_host(0);
    const int result = action(session);
    report();
    return result;
  }

  /// Reports that the host did not catch the exception of the drill.
  void note_termination() {
    drill_.outcome = Outcome::fails;
    drill_.failure = {"the host catches an exception that comes out of an action", "std::terminate() was called",
                      "there is no try block around the call, or a function between is noexcept"};
    report();
  }

 private:
  /// Throws what comes out of an action when memory runs out. If nobody catches it, the process ends.
  [[noreturn]] void throw_out_of_action();

  /// Checks the host in the first action that it calls, and a second session as soon as there is one. True in the first.
  bool begin(session_t* session) {
    const std::lock_guard lock(mutex_);
    const bool is_first = session_ == nullptr && !has_begun_;
    if (is_first) {
      has_begun_ = true;
      session_ = session;
      check(selected_of_environment(), nullptr);
    } else if (session != session_ && session_ != nullptr && session != nullptr && !has_other_session_) {
      has_other_session_ = true;
      check_sessions(session);
    }
    return is_first;
  }

  std::vector<const Check*> selected_of_environment() {
    try {
      const std::string waivers = setting(environment::waivers);
      if (!waivers.empty()) waivers_ = read_waivers(waivers);
      write_ = report_writer(options_of_environment().format);
      selected_ = selected_checks(options_of_environment().only);
    } catch (const std::exception& error) {
      give_up(error.what());
    }
    return selected_;
  }

  void check(const std::vector<const Check*>& checks, session_t* other) {
    try {
      eclipse_int::HostCheckOptions options = options_of_environment();
      options.other_session = other;
      results_ = perform_checks(session_, options, checks,
                                [](const Check& check) { write_progress(std::string(progress::checking).append(check.name)); });
      write_report();
    } catch (const std::exception& error) {
      give_up(error.what());
    }
  }

  /// Repeats the checks that had no second session.
  void check_sessions(session_t* other) {
    eclipse_int::HostCheckOptions options = options_of_environment();
    options.other_session = other;
    for (Result& result : results_) {
      if (result.check->name == "env/sessions-apart") result = perform_checks(session_, options, {result.check}).front();
    }
  }

  void report() {
    const std::lock_guard lock(mutex_);
    write_report();
  }

  void write_report() {
    std::vector<Result> all = results_;
    if (const Check* const check = selected(exception_drill)) {
      all.push_back(drill_);
      all.back().check = check;
    }
    const char* const without_calls =
        ends_host() ? "not observed with --checks-only" : "the host did not call these operations after the checks";
    for (Result& result : observed_results(selected_, results_, without_calls)) all.push_back(std::move(result));
    waive(all, waivers_);
    std::ostringstream text;
    write_(text, all);
    write_to(setting(environment::report), text.str());
    const std::string junit = setting(environment::junit);
    if (!junit.empty()) {
      std::ofstream file(junit);
      write_junit(file, all);
    }
    write_progress(has_error(all) ? progress::has_errors : progress::all_hold);
  }

  const Check* selected(std::string_view name) const {
    const auto found =
        std::find_if(selected_.begin(), selected_.end(), [&](const Check* check) { return check->name == name; });
    return found == selected_.end() ? nullptr : *found;
  }

  /// Each report replaces the one before. Standard error gets only the first.
  void write_to(const std::string& file, const std::string& text) {
    if (!file.empty()) {
      std::ofstream(file) << text;
    } else if (!is_printed_) {
      std::cerr << text << std::flush;
    }
    is_printed_ = true;
  }

  static bool ends_host() { return setting(environment::end_host) == "1"; }

  /// A host that cannot be checked must not go on: its user wants no installation.
  [[noreturn]] static void give_up(const std::string& why) {
    write_progress(std::string(progress::given_up).append(why));
    if (setting(environment::progress).empty()) std::cerr << "eclipse_int: the host cannot be checked: " << why << std::endl;
    end_host(2);
  }

  [[noreturn]] static void end_host(int status) {
    std::cout.flush();
    std::fflush(nullptr);
    _exit(status);
  }

  std::mutex mutex_;
  session_t* session_ = nullptr;
  bool has_begun_ = false;
  bool has_other_session_ = false;
  bool is_printed_ = false;
  WriteReport write_ = write_text;
  std::vector<const Check*> selected_;
  std::map<std::string, std::string> waivers_;
  std::vector<Result> results_;
  Result drill_{nullptr, Outcome::skipped, {}, "only with --drill, which lets the first action throw std::bad_alloc", 0, ""};
};

HostCheck& host_check() {
  static HostCheck check;
  return check;
}

std::terminate_handler terminate_before = nullptr;

void HostCheck::throw_out_of_action() {
  terminate_before = std::set_terminate([] {
    host_check().note_termination();
    if (terminate_before != nullptr) terminate_before();
    std::abort();
  });
  drill_.outcome = Outcome::holds;
  report();
  throw std::bad_alloc();
}

__attribute__((constructor)) void note_loading() {
  if (!setting(environment::progress).empty()) write_progress(progress::loaded);
}

}  // namespace

}  // namespace host_kit

// The eight actions of the plug-in, and the list of checks for the command.
extern "C" {

using host_kit::host_check;

EXPORTED int eclipse_integration_required(session_t* session) {
  return host_check().call(host_kit::plugin_eclipse_integration_required, session);
}
EXPORTED int find_eclipse_ide(session_t* session) { return host_check().call(host_kit::plugin_find_eclipse_ide, session); }
EXPORTED int define_eclipse_path(session_t* session) {
  return host_check().call(host_kit::plugin_define_eclipse_path, session);
}
EXPORTED int verify_user_defined_eclipse_path(session_t* session) {
  return host_check().call(host_kit::plugin_verify_user_defined_eclipse_path, session);
}
EXPORTED int user_eclipse_version(session_t* session) {
  return host_check().call(host_kit::plugin_user_eclipse_version, session);
}
EXPORTED int verify_eclipse_version(session_t* session) {
  return host_check().call(host_kit::plugin_verify_eclipse_version, session);
}
EXPORTED int perform_integration(session_t* session) {
  return host_check().call(host_kit::plugin_perform_integration, session);
}
EXPORTED int perform_unintegration(session_t* session) {
  return host_check().call(host_kit::plugin_perform_unintegration, session);
}

/// Prints all checks to standard output; `format` is "text" or "names".
EXPORTED void eclipse_int_list_checks(const char* format) { host_kit::write_list(std::cout, format); }
}
