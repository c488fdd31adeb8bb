// Running commands.
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "host_kit/checks/groups.h"

namespace host_kit {

namespace {

constexpr std::string_view runs_promise =
    "Runs a command line through the shell, waits until it ends, stores its exit code in `exit_status` (the code itself, not "
    "what wait() stores) and returns what it printed to standard output.";
constexpr std::string_view bytes_promise = "Every byte of the output counts: line feeds at its end and zero bytes, too.";
constexpr std::string_view killed_promise = "So a command that was killed or could not be started must not store 0.";
constexpr std::string_view code_promise = "As shells do, store 128 plus the number of the signal, and 127 or 126.";
constexpr std::string_view leaves_promise = "A command leaves neither an open file nor a child that nobody has waited for.";
constexpr std::string_view output_harm = "The summary and the log do not have what the director said.";
constexpr std::string_view is_lost = "A failed installation is taken for a success, or the reverse.";
constexpr std::string_view use_wexitstatus =
    "Store WIFEXITED(s) ? WEXITSTATUS(s) : 128 + WTERMSIG(s) of the status that pclose() or waitpid() gave.";
constexpr std::string_view use_fread = "Read with fread() or read() until the end, and append with the count.";

constexpr int untouched = -77;

struct CommandResult {
  std::string output;
  int exit_code = untouched;
};

CommandResult run(const std::string& command) {
  CommandResult result;
  result.output = get_command_output(command, &result.exit_code, true, "");
  return result;
}

void expect_exit_code(const std::string& command, int expected) {
  expect_equal("the exit status of " + shown(command), expected, run(command).exit_code,
               {{untouched, "nothing is stored"},
                {expected * 256, "this is what wait() stores; use WEXITSTATUS()"},
                {-1, "the exit status is lost: another part of the host, or an ignored SIGCHLD, reaps the child"},
                {expected - 256, "the code is read as a signed character"},
                {0, "a failure is not noticed, or the status of another command of the line is taken"},
                {1, "only whether the command failed is stored"}});
}

constexpr Check exit_codes_are_stored{
    .name = "command/exit-code",
    .level = Level::must,
    .title = "The exit code of a command that fails is stored.",
    .promise = runs_promise,
    .harm = is_lost,
    .fix = use_wexitstatus,
    .perform =
        [](const Probe&) {
          expect_exit_code("exit 3", 3);
          expect_exit_code("exit 255", 255);
          expect_exit_code("(exit 13) 2>&1", 13);
        },
    .after = "command/success command/shell",
};

constexpr Check success_is_stored{
    .name = "command/success",
    .level = Level::must,
    .title = "The exit code of a command that succeeds is stored as 0.",
    .promise =
        "The plug-in passes the same `exit_status` to every command of a run, so if a host stores nothing there, the "
        "code of the previous command remains.",
    .harm = "After one failure, every later command counts as failed.",
    .fix = "Store the exit code of each command, 0 as well.",
    .perform = [](const Probe&) { expect_exit_code("true", 0); },
};

constexpr Check missing_program_is_127{
    .name = "command/missing-program",
    .level = Level::should,
    .title = "The exit code for a missing program is 127.",
    .promise = code_promise,
    .harm = "Nobody can tell a missing director from a failed one.",
    .fix = "Let the shell run the command, and store its exit code.",
    .perform = [](const Probe& probe) { expect_exit_code(probe.scratch + "/missing 2>/dev/null", 127); },
    .after = "command/exit-code",
};

constexpr Check killed_is_a_failure{
    .name = "command/killed",
    .level = Level::must,
    .title = "The exit code of a command that a signal ended is not 0.",
    .promise = killed_promise,
    .harm = "A director that was killed for lack of memory counts as a success.",
    .fix = use_wexitstatus,
    .perform =
        [](const Probe&) {
          const int code = run("kill -KILL $$").exit_code;
          expect(code != 0 && code != untouched, "the exit status of a command that was killed is not 0", shown(code),
                 code == 0 ? "WEXITSTATUS() without WIFEXITED()" : "nothing is stored");
        },
    .after = "command/exit-code",
};

constexpr Check killed_is_128_and_signal{
    .name = "command/killed-code",
    .level = Level::should,
    .title = "The exit code of a command that signal N ended is 128 + N.",
    .promise = code_promise,
    .harm = "Nobody can tell which signal ended the director.",
    .fix = use_wexitstatus,
    .perform =
        [](const Probe&) {
          expect_equal("the exit status of a command that SIGKILL ended", 128 + SIGKILL, run("kill -KILL $$").exit_code,
                       {{SIGKILL, "what wait() stores: add 128 to WTERMSIG()"},
                        {-1, "every signal is stored as -1"},
                        {1, "only whether the command failed is stored"}});
        },
    .after = "command/killed",
};

constexpr Check command_runs_in_a_shell{
    .name = "command/shell",
    .level = Level::must,
    .title = "The shell runs the command.",
    .promise =
        "The command line contains redirections, and its parts (the executable's path, features, repositories) are not "
        "quoted, except for the URLs of archives: the shell interprets its metacharacters in them.",
    .harm = "The director gets \"2>&1\" as an argument, and refuses to run.",
    .fix = "Run the command line with \"/bin/sh -c\", as popen() does.",
    .perform =
        [](const Probe& probe) {
          expect_text("the output of a command with quotes, a variable and a pipe", "A B",
                      run("X='a b'; printf %s \"$X\" | tr ab AB").output, {{"", "the command is not run by a shell"}});
          run("echo text > " + probe.scratch + "/redirected");
          expect_text("what a command redirects to a file", "text\n", content_of(probe.scratch + "/redirected"));
        },
};

constexpr Check error_output_is_redirected{
    .name = "command/errors-redirected",
    .level = Level::must,
    .title = "Error output that the command redirects is in the output.",
    .promise = runs_promise,
    .harm = output_harm,
    .fix = "Leave redirections to the shell.",
    .perform =
        [](const Probe&) {
          expect_text("the output of \"(printf out; printf error 1>&2) 2>&1\"", "outerror",
                      run("(printf out; printf error 1>&2) 2>&1").output, {{"out", "the redirection is ignored"}});
        },
    .after = "command/shell",
};

constexpr Check error_output_is_apart{
    .name = "command/errors-apart",
    .level = Level::should,
    .title = "Error output that the command does not redirect is not in the output.",
    .promise = runs_promise,
    .harm = "What a command prints to standard error appears twice, or in a different order than with 2>&1.",
    .fix = "Capture standard output alone. The plug-in redirects what it wants.",
    .perform =
        [](const Probe&) {
          expect_text("the output of \"printf out; printf error 1>&2\"", "out", run("printf out; printf error 1>&2").output,
                      {{"outerror", "standard error is captured, too"}, {"errorout", "standard error is captured, too"}});
        },
    .after = "command/errors-redirected",
};

constexpr Check output_is_exact{
    .name = "command/exact-output",
    .level = Level::must,
    .title = "The output of a command is returned byte for byte.",
    .promise = bytes_promise,
    .harm = output_harm,
    .fix = use_fread,
    .perform =
        [](const Probe&) {
          expect_text("the output of printf 'a\\r\\n  b\\377\\t'", "a\r\n  b\xFF\t", run("printf 'a\\r\\n  b\\377\\t'").output,
                      {{"a\r\n  b\xFF\t\n", "a line feed is added"},
                       {"a\n  b\xFF\t", "carriage returns are removed"},
                       {"a\r\n  b\xFF", "white space at the end is removed"}});
        },
    .after = "command/shell",
};

constexpr Check last_line_feed_is_kept{
    .name = "command/last-line-feed",
    .level = Level::must,
    .title = "The line feed at the end of the output is kept.",
    .promise = bytes_promise,
    .harm = "In the summary, the outputs of two features run into each other.",
    .fix = use_fread,
    .perform =
        [](const Probe&) {
          expect_text("the output of printf 'a\\n\\n'", "a\n\n", run("printf 'a\\n\\n'").output,
                      {{"a", "line feeds at the end are removed, as $(...) does"}, {"a\n", "one line feed is removed"}});
        },
    .after = "command/shell",
};

constexpr Check zero_byte_is_in_the_output{
    .name = "command/zero-byte-in-output",
    .level = Level::should,
    .title = "Zero bytes in the output are kept.",
    .promise = bytes_promise,
    .harm = output_harm,
    .fix = use_fread,
    .perform =
        [](const Probe&) {
          expect_text("the output of printf 'a\\000b'", std::string_view("a\0b", 3), run("printf 'a\\000b'").output,
                      {{"a", "the output is appended as a C string, as fgets() reads it"}, {"ab", "zero bytes are removed"}});
        },
    .after = "command/shell",
};

constexpr Check large_output_is_whole{
    .name = "command/large-output",
    .level = Level::must,
    .title = "A very large output is returned whole.",
    .promise = runs_promise,
    .harm = "A director with much output waits forever, or the end of its output, which has the cause, is missing.",
    .fix = "Read the output before waiting for the end of the command.",
    .perform =
        [](const Probe&) {
          const CommandResult result = run("head -c 2000000 /dev/zero | tr '\\000' x; exit 4");
          expect_text("the output of a command that prints 2000000 bytes", std::string(2'000'000, 'x'), result.output);
          expect_equal("its exit status", 4, result.exit_code);
        },
    .after = "command/exit-code",
    .if_it_ends = "the host waits for the end of the command before it reads, so that the pipe is full",
};

constexpr Check output_of_a_failure_is_kept{
    .name = "command/output-of-failure",
    .level = Level::must,
    .title = "The output of a command that fails is returned, too.",
    .promise = runs_promise,
    .harm = "The summary has the heading of the failure, but no reason.",
    .fix = "Return the output whatever the exit code.",
    .perform =
        [](const Probe&) {
          expect_text("the output of \"printf reason; exit 1\"", "reason", run("printf reason; exit 1").output,
                      {{"", "the output of a command that failed is dropped"}});
        },
    .after = "command/shell",
};

constexpr Check host_waits{
    .name = "command/waits",
    .level = Level::must,
    .title = "The call returns only when the command has ended.",
    .promise = runs_promise,
    .harm = "The next director starts while the first still writes to the instance.",
    .fix = "Call waitpid() or pclose() after the end of the output.",
    .perform =
        [](const Probe& probe) {
          const std::string file = probe.scratch + "/done";
          // The command closes its output first, which is not a reason to continue.
          run("exec > /dev/null; sleep 0.3; echo done > " + file);
          expect_text("what a command wrote to a file before it ended, when get_command_output() has returned,", "done\n",
                      content_of(file),
                      {{"", "the host continues at the end of the output, without waiting for the end of the command"}});
        },
    .after = "command/shell",
};

constexpr Check long_command_runs{
    .name = "command/long",
    .level = Level::must,
    .title = "A very long command runs.",
    .promise = runs_promise,
    .harm = "With many features, a truncated command installs only some of them, or the wrong one.",
    .fix = "Pass the whole text to the shell.",
    .perform =
        [](const Probe& probe) {
          write_file(probe.scratch + "/count", "printf %s $#");
          std::string command = "sh " + probe.scratch + "/count";
          for (int i = 0; i < 5'000; ++i) command += " org.example.feature";
          const CommandResult result = run(command);
          expect_text("the output of a command of " + std::to_string(command.size()) + " bytes", "5000", result.output,
                      {{"", "the command is copied into a buffer of a fixed size, or was not started"}});
        },
    .after = "command/shell",
    .if_it_ends = "the command is copied past the end of a buffer",
};

void expect_not_started(const std::string& what, const std::string& command, const std::string& likely_cause) {
  const CommandResult result = run(command);
  expect(result.exit_code != untouched && result.exit_code != 0, "an exit status other than 0 for " + what,
         result.exit_code == 0 ? "0" : "nothing was stored", likely_cause);
}

constexpr Check too_long_command_fails{
    .name = "command/too-long",
    .level = Level::must,
    .title = "A command that is too long to be started fails.",
    .promise = killed_promise,
    .harm = "An installation of very many features that was never started counts as a success.",
    .fix = "Store 126 or 127 if the command cannot be started.",
    .perform =
        [](const Probe&) {
          expect_not_started("a command of 300000 bytes, which cannot be started", "true " + std::string(300'000, 'x'),
                             "the host does not notice that the command was not started");
        },
    .after = "command/exit-code command/long",
};

constexpr Check zero_byte_is_not_cut_off{
    .name = "command/zero-byte",
    .level = Level::must,
    .title = "A command with a zero byte is not run, and fails.",
    .promise =
        "Cut off there, it would be another command, which might well succeed; treat it as a command that could not "
        "be started.",
    .harm = "A damaged descriptor makes the host run a different command from the one in the log.",
    .fix = "If the command has a zero byte, run nothing, store 126 and return an empty text.",
    .perform =
        [](const Probe& probe) {
          const std::string file = probe.scratch + "/started";
          std::string command = "echo > " + file + "; true x";
          command[command.size() - 1] = '\0';
          const CommandResult result = run(command + "; false");
          expect(!std::filesystem::exists(file), "a command with a zero byte is not run",
                 "what is before the zero byte was run", "c_str() is passed to the shell without a check for zero bytes");
          expect(result.exit_code != untouched && result.exit_code != 0,
                 "an exit status other than 0 for a command with a zero byte",
                 result.exit_code == 0 ? "0" : "nothing was stored");
        },
    .after = "command/success",
};

std::size_t open_files() {
  std::size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) ++count;
  return count;
}

constexpr Check no_file_is_left_open{
    .name = "command/no-open-file-left",
    .level = Level::must,
    .title = "A command leaves no file open in the host.",
    .promise = leaves_promise,
    .harm = "After some hundred directors, the installer cannot open files any more.",
    .fix = "Close what was opened, even if the command fails.",
    .perform =
        [](const Probe& probe) {
          run("true");  // what a host opens once
          const std::size_t before = open_files();
          for (int i = 0; i < 5; ++i) run("true");
          for (int i = 0; i < 5; ++i) run(probe.scratch + "/missing 2>/dev/null");
          const std::size_t after = open_files();
          expect(after <= before, "as many open files after ten commands as before", std::to_string(after - before) + " more",
                 "pclose() or close() is missing");
        },
    .after = "command/success",
};

/// The children of this process that have ended, and that nobody waited for.
std::size_t zombies() {
  const std::string ended_child = " Z " + std::to_string(getpid()) + " ";
  std::size_t count = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    if (entry.path().filename().string().find_first_not_of("0123456789") != std::string::npos) continue;
    // "NUMBER (NAME) STATE PARENT ...", and a name may have anything in it. If the process has just ended, nothing can be read.
    std::string status;
    std::ifstream file(entry.path() / "stat");
    std::getline(file, status, '\0');
    const std::size_t end_of_name = status.rfind(')');
    if (end_of_name != std::string::npos && status.compare(end_of_name + 1, ended_child.size(), ended_child) == 0) ++count;
  }
  return count;
}

constexpr Check no_child_is_left{
    .name = "command/no-child-left",
    .level = Level::must,
    .title = "A command leaves no zombie process.",
    .promise = leaves_promise,
    .harm = "Zombie processes of directors fill the process table.",
    .fix = "Call waitpid() or pclose() for each command.",
    .perform =
        [](const Probe&) {
          const std::size_t before = zombies();
          for (int i = 0; i < 3; ++i) run("exit 1");
          const std::size_t after = zombies();
          expect(after <= before, "no child that has ended is left after three commands",
                 std::to_string(after - before) + " left", "waitpid() or pclose() is missing");
        },
    .after = "command/success",
};

/// Standard input from which a text can be read, as from that of an installer whose user types.
class TypedInput {
 public:
  explicit TypedInput(std::string_view text) : kept_(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 10)) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    if (write(ends[1], text.data(), text.size()) > 0) dup2(ends[0], STDIN_FILENO);
    close(ends[0]);
    close(ends[1]);
  }
  ~TypedInput() {
    if (kept_ < 0) return;
    dup2(kept_, STDIN_FILENO);
    close(kept_);
  }
  TypedInput(const TypedInput&) = delete;
  TypedInput& operator=(const TypedInput&) = delete;

 private:
  int kept_;
};

constexpr Check standard_input_is_empty{
    .name = "command/empty-input",
    .level = Level::should,
    .title = "The standard input of a command is empty.",
    .promise =
        "Its standard input should be empty: a director that asks for a password would otherwise wait for a terminal "
        "that nobody watches.",
    .harm = "The installer hangs, and nobody sees why.",
    .fix = "Redirect the standard input of the command from /dev/null.",
    .perform =
        [](const Probe&) {
          const TypedInput input("for the host\n");
          expect_text("the output of \"cat\", which copies its standard input", "", run("cat").output,
                      {{"for the host\n", "the command inherits the standard input of the host"}});
        },
    .after = "command/shell",
};

constexpr Check ignored_sigchld_loses_nothing{
    .name = "command/ignored-sigchld",
    .level = Level::may,
    .title = "The exit code is right although the host ignores SIGCHLD.",
    .promise =
        "While a host ignores SIGCHLD, the kernel keeps no exit codes; a host that does so turns it off for the command.",
    .harm = "None, unless the host ignores SIGCHLD: then every exit code is lost.",
    .fix = "Set SIGCHLD to SIG_DFL around the command.",
    .perform =
        [](const Probe&) {
          const auto before = signal(SIGCHLD, SIG_IGN);
          const CommandResult result = run("exit 3");
          signal(SIGCHLD, before);
          expect_equal("the exit status of \"exit 3\" while SIGCHLD is ignored", 3, result.exit_code);
        },
    .after = "command/exit-code",
};

}  // namespace

std::vector<Check> command_checks() {
  return {success_is_stored,
          exit_codes_are_stored,
          missing_program_is_127,
          killed_is_a_failure,
          killed_is_128_and_signal,
          command_runs_in_a_shell,
          error_output_is_redirected,
          error_output_is_apart,
          output_is_exact,
          last_line_feed_is_kept,
          zero_byte_is_in_the_output,
          large_output_is_whole,
          output_of_a_failure_is_kept,
          host_waits,
          long_command_runs,
          too_long_command_fails,
          zero_byte_is_not_cut_off,
          no_file_is_left_open,
          no_child_is_left,
          standard_input_is_empty,
          ignored_sigchld_loses_nothing};
}

}  // namespace host_kit
