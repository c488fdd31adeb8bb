// Runs an installer host with a libeclipse_int.so that checks it, and prints the report.
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <memory>
#include <utility>

#include "base/file.h"
#include "base/limits.h"
#include "base/printable.h"
#include "base/temporary_directory.h"
#include "base/text.h"
#include "cli/subcommands.h"
#include "host_kit/environment.h"
#include "run/usage_error.h"
#include "shell/exit_code.h"
#include "standalone_host/plugin.h"
#include "terminal/exit_status.h"
#include "terminal/standard_streams.h"

using namespace eclipse_run;
using namespace eclipse_terminal;

namespace environment = host_kit::environment;

namespace eclipse_cli {

namespace {

constexpr const char* check_host_examples =
    "  eclipse-int check-host -- ./installer --silent\n"
    "      Check an installer that loads the plug-in by its name.\n"
    "  eclipse-int check-host -- ./installer --plugin {plugin}\n"
    "      Check an installer that takes the path of the plug-in.\n"
    "  eclipse-int check-host --only get_file --in-process -- gdb --args ./installer\n"
    "      Debug one operation.\n"
    "  eclipse-int check-host --checks-only --junit host.xml -- ./installer\n"
    "      For continuous integration: end the installer after the checks, and write JUnit XML as well.\n"
    "  eclipse-int check-host --list\n"
    "      List all checks, with the promise that each one checks.\n";

constexpr const char* check_host_exit_status =
    "Exit status:\n"
    "  0  the host keeps every promise that it must keep\n"
    "  1  the host breaks such a promise, or it crashed\n"
    "  2  the host could not be checked, because it did not call the plug-in or there is an error in the arguments\n";

/// What stands for the library in the command of the host.
constexpr const char* placeholder = "{plugin}";

struct CheckHostOptions {
  std::vector<std::string> only;
  bool in_process = false;
  bool checks_only = false;
  bool drill = false;
  bool list = false;
  unsigned seconds = 0;  ///< 0 for that of the library
  std::string format = "text";
  std::string junit;
  std::string log;
  std::string waivers;
  std::vector<std::string> command;
};

std::filesystem::path checking_library() {
  return eclipse_host::own_library("host_kit/libeclipse_int.so", "reinstall the package eclipse-int");
}

int list_checks(const std::string& format) {
  void* const library = dlopen(checking_library().c_str(), RTLD_NOW | RTLD_LOCAL);
  void* const symbol = library == nullptr ? nullptr : dlsym(library, "eclipse_int_list_checks");
  if (symbol == nullptr) throw std::runtime_error(std::string("check-host: ") + dlerror());
  reinterpret_cast<void (*)(const char*)>(symbol)(format.c_str());
  return exit_success;
}

/// A directory for the report and the progress.
class ReportDirectory {
 public:
  std::string report() const { return directory_.path() / "report"; }
  std::string progress() const { return directory_.path() / "progress"; }

 private:
  eclipse_base::TemporaryDirectory directory_;
};

std::string absolute(const std::string& file) { return file.empty() ? "" : eclipse_base::absolute_path(file).string(); }

void set_environment(const CheckHostOptions& options, const ReportDirectory& directory, const std::filesystem::path& library) {
  const auto set = [](const char* name, const std::string& value) { setenv(name, value.c_str(), 1); };
  set(environment::only, eclipse_base::joined(options.only, ","));
  set(environment::in_process, options.in_process ? "1" : "");
  set(environment::end_host, options.checks_only ? "1" : "");
  set(environment::drill, options.drill ? "1" : "");
  set(environment::seconds, options.seconds == 0 ? "" : std::to_string(options.seconds));
  set(environment::format, options.format);
  set(environment::report, directory.report());
  set(environment::progress, directory.progress());
  set(environment::junit, absolute(options.junit));
  set(environment::log, absolute(options.log));
  set(environment::waivers, absolute(options.waivers));
  const char* const path = std::getenv("LD_LIBRARY_PATH");
  const std::string others = path == nullptr || *path == '\0' ? "" : ":" + std::string(path);
  set("LD_LIBRARY_PATH", library.parent_path().string() + others);
}

/// While the host runs, Ctrl-C is for it: it ends, and then this command does.
class InterruptionsIgnored {
 public:
  InterruptionsIgnored() {
    for (std::size_t i = 0; i < signals.size(); ++i) before_[i] = signal(signals[i], SIG_IGN);
  }
  ~InterruptionsIgnored() {
    for (std::size_t i = 0; i < signals.size(); ++i) signal(signals[i], before_[i]);
  }
  InterruptionsIgnored(const InterruptionsIgnored&) = delete;
  InterruptionsIgnored& operator=(const InterruptionsIgnored&) = delete;
  void end_in_child() const {
    for (std::size_t i = 0; i < signals.size(); ++i) signal(signals[i], before_[i]);
  }

 private:
  static constexpr std::array<int, 2> signals = {SIGINT, SIGQUIT};
  std::array<void (*)(int), 2> before_{};
};

/// Replaces this process by the host; returns the error if that fails. What the host prints goes to standard error: the report
/// is the output.
int become_host(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  for (const int reset : {SIGPIPE, SIGXFSZ}) signal(reset, SIG_DFL);
  if (dup2(STDERR_FILENO, STDOUT_FILENO) >= 0) execvp(arguments[0], arguments.data());
  return errno;
}

/// Takes the error of a host that cannot start to this process. One that starts closes its end.
class ErrorPipe {
 public:
  ErrorPipe() {
    if (pipe2(ends_.data(), O_CLOEXEC) != 0)
      throw std::runtime_error(std::string("check-host: cannot make a pipe: ") + std::strerror(errno));
  }
  ~ErrorPipe() {
    for (const int end : ends_) {
      if (end >= 0) close(end);
    }
  }
  ErrorPipe(const ErrorPipe&) = delete;
  ErrorPipe& operator=(const ErrorPipe&) = delete;

  void send(int error) const { [[maybe_unused]] const ssize_t written = write(ends_[1], &error, sizeof error); }

  /// 0 when there is none. Called once, by the process that does not send.
  int receive() {
    close(std::exchange(ends_[1], -1));
    int error = 0;
    return read(ends_[0], &error, sizeof error) == sizeof error ? error : 0;
  }

 private:
  std::array<int, 2> ends_{};
};

/// Runs the host until it ends, and returns its wait status.
int run_host(const std::vector<std::string>& command) {
  ErrorPipe pipe;
  const InterruptionsIgnored ignored;
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error(std::string("check-host: cannot start a process: ") + std::strerror(errno));
  if (child == 0) {
    ignored.end_in_child();
    pipe.send(become_host(command));
    _exit(eclipse_shell::exit_code::not_found);
  }
  const int error = pipe.receive();
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  if (error != 0) {
    throw UsageError("check-host: " + eclipse_base::printable(command[0]) + " cannot be started: " + std::strerror(error) +
                     "; correct COMMAND");
  }
  return status;
}

std::string how_it_ended(int status) {
  if (WIFSIGNALED(status))
    return "was ended by signal " + std::to_string(WTERMSIG(status)) + " (" + strsignal(WTERMSIG(status)) + ")";
  return "ended with exit status " + std::to_string(WEXITSTATUS(status));
}

std::string text_of(const std::string& file) {
  return eclipse_base::content_of(file, eclipse_base::largest::metadata, "check the host again");
}

/// Prints the report; returns the exit status.
int report(const ReportDirectory& directory, int status) {
  const std::string progress = std::filesystem::exists(directory.progress()) ? text_of(directory.progress()) : "";
  const std::string host = "check-host: the host " + how_it_ended(status);
  using namespace host_kit::progress;
  if (progress.starts_with(given_up)) throw UsageError("check-host: " + progress.substr(given_up.size()));
  if (progress.starts_with(checking)) {
    print_message(host + " during the check " + progress.substr(checking.size()));
    return exit_failure;
  }
  if (progress != all_hold && progress != has_errors) {
    print_message(host + (progress.empty()
                              ? " and did not load libeclipse_int.so from the directory of the checks.\nIf it loads "
                                "the plug-in by a path, write {plugin} instead of this path in its command. A "
                                "DT_RPATH, or a set-user-ID bit, makes the loader ignore LD_LIBRARY_PATH."
                              : ", and loaded the plug-in, but called none of its actions."));
    return exit_trouble;
  }
  std::cout << text_of(directory.report());
  if (WIFSIGNALED(status)) print_message(host + " after it was checked");
  return progress == has_errors || WIFSIGNALED(status) ? exit_failure : exit_success;
}

int check_host_command(const CheckHostOptions& options) {
  if (options.list && options.format != "text" && options.format != "names") {
    throw UsageError("--format " + options.format + ": --list has only text and names; choose one of them");
  }
  if (options.list) return list_checks(options.format);
  if (options.format == "names") throw UsageError("--format names needs --list; add it");
  if (options.command.empty()) throw UsageError("COMMAND: missing; write the command that starts the host after \"--\"");
  const std::filesystem::path library = checking_library();
  std::vector<std::string> command;
  for (const std::string& word : options.command)
    command.push_back(eclipse_base::replaced(word, placeholder, library.string()));
  const ReportDirectory directory;
  set_environment(options, directory, library);
  return report(directory, run_host(command));
}

void add_host_report_options(const Parser& parser, CheckHostOptions& options) {
  parser
      .add_option("--format", options.format,
                  "Print the report as text, tap or junit; with --list, text or names\n[default: text]")
      .type_name("FORMAT")
      .one_of({"text", "tap", "junit", "names"});
  parser.add_option("--junit", options.junit, "Write the report to FILE as well, in JUnit XML").type_name("FILE");
  parser
      .add_option("--log", options.log,
                  "Read the log of the host from FILE [default: searched for in the open\nfiles and the output of the host]")
      .type_name("FILE");
  parser.add_option("--waivers", options.waivers, "Accept the failures that FILE lists, each with a reason: NAME REASON")
      .type_name("FILE");
}

}  // namespace

Subcommand add_check_host(const Parser& program) {
  const Parser parser = program.add_subcommand("check-host",
                                               "Check whether an installer host keeps the promises of the host interface:\n"
                                               "run it with a library that checks it in place of the plug-in");
  const auto options = std::make_shared<CheckHostOptions>();
  parser
      .add_option("COMMAND", options->command,
                  "The command that runs the host, after \"--\"; {plugin} in it becomes\nthe path of the library")
      .option_text("ARGS...");
  parser
      .add_option("--only", options->only,
                  "Perform this check, or the checks of this group; may be repeated\n[default: all checks]")
      .type_name("NAME")
      .one_value_each();
  parser.add_flag("--list", options->list, "List all checks with their levels, what they check and the promise, and exit");
  parser.add_flag("--in-process", options->in_process,
                  "Perform the checks in the process of the host, for a debugger\n[default: each in a forked child]");
  parser.add_flag("--checks-only", options->checks_only,
                  "End the host after the checks, before the first action does anything");
  parser.add_flag(
      "--drill", options->drill,
      "Fault injection: after the checks, let the first action throw an\nexception, as it does when memory runs out, "
      "and see whether the host\ncatches it");
  parser.add_option("--seconds", options->seconds, "End a check that takes longer than N seconds, 1 to 3600\n[default: 10]")
      .type_name("N")
      .between(1, 3600);
  add_host_report_options(parser, *options);
  parser.set_help("eclipse-int check-host [OPTIONS] -- COMMAND ARGS...", check_host_examples, check_host_exit_status);
  return {parser, [options] { return check_host_command(*options); }};
}

}  // namespace eclipse_cli
