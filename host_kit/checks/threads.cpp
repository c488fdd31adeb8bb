// Operations that get no session, called by several threads at the same time.
#include <array>
#include <mutex>
#include <optional>
#include <thread>

#include "host_kit/checks/groups.h"

namespace host_kit {

namespace {

constexpr std::string_view thread_promise =
    "The plug-in has no state of its own, so several threads may call it at the same time, each with a session of its own, "
    "if the operations of the host allow it.";
constexpr std::string_view mixed_sessions =
    "None in a host with one thread; in one with several, paths and texts of one session get into the other.";
constexpr std::string_view use_local_variables = "Work on local variables; return a std::string of the call's own.";

constexpr int threads = 4;

/// Calls `act(number)` so many times on several threads, each with its own number, and throws the first Failure.
template <typename Act>
void on_threads(int rounds, const Act& act) {
  std::mutex mutex;
  std::optional<Failure> failure;
  std::array<std::thread, threads> running;
  for (int number = 0; number < threads; ++number) {
    running[static_cast<std::size_t>(number)] = std::thread([&, number] {
      try {
        for (int round = 0; round < rounds; ++round) act(number);
      } catch (const Failure& found) {
        const std::lock_guard lock(mutex);
        if (!failure) failure = found;
      }
    });
  }
  for (std::thread& thread : running) thread.join();
  if (failure) {
    throw Failure{failure->expected + ", on four threads", failure->actual,
                  "a static buffer, or another global that is not locked"};
  }
}

std::string own_name(int number) {
  return "name" + std::string(static_cast<std::size_t>(number) * 20 + 1, static_cast<char>('a' + number));
}

constexpr Check texts_and_paths_on_threads{
    .name = "threads/texts-and-paths",
    .level = Level::may,
    .title = "Several threads can use the operations on texts and paths at the same time.",
    .promise = thread_promise,
    .harm = mixed_sessions,
    .fix = use_local_variables,
    .perform =
        [](const Probe&) {
          on_threads(300, [](int number) {
            const std::string name = own_name(number);
            const std::string text = "/opt/" + name + "/file";
            expect_text("path()", text, path(text));
            expect_text("get_dirname()", "/opt/" + name, get_dirname(text));
            expect_text("get_basename()", name, get_basename("/opt/" + name));
            expect_text("join()", name + "," + name, join(std::vector<std::string>{name, name}, ","));
            expect_text("replaceAllSubstrings()", name + "<p>" + name, replaceAllSubstrings(name + "\n" + name, "\n", "<p>"));
          });
        },
    .after = "*",
    .if_it_ends = "a static buffer, or another global that is not locked",
};

constexpr Check files_on_threads{
    .name = "threads/files",
    .level = Level::may,
    .title = "Several threads can use the operations on files at the same time.",
    .promise = thread_promise,
    .harm = mixed_sessions,
    .fix = use_local_variables,
    .perform =
        [](const Probe& probe) {
          for (int number = 0; number < threads; ++number) write_file(probe.scratch + "/" + own_name(number), own_name(number));
          on_threads(300, [&](int number) {
            const std::string path = probe.scratch + "/" + own_name(number);
            char* const text = get_file(path, 0, nullptr);
            const std::string content = text == nullptr ? "" : text;
            std::free(text);
            expect_text("get_file()", own_name(number), content);
            expect_equal("is_file()", true, is_file(path));
          });
        },
    .after = "*",
    .if_it_ends = "a static buffer, or another global that is not locked",
};

constexpr Check commands_on_threads{
    .name = "threads/commands",
    .level = Level::may,
    .title = "Several threads can run commands at the same time.",
    .promise = thread_promise,
    .harm = "None in a host with one thread; in one with several, a run gets the output or the exit code of another.",
    .fix = "Wait for the command that was started, with waitpid() and its number, not for any child.",
    .perform =
        [](const Probe&) {
          on_threads(3, [](int number) {
            int exit_code = -1;
            const std::string name = own_name(number);
            // Their outputs end at once, and they end one after another: while the first does, all threads wait.
            const std::string rest =
                "; exec >&-; sleep 0.0" + std::to_string(2 * (threads - number)) + "; exit " + std::to_string(number);
            const std::string output = get_command_output("printf " + name + rest, &exit_code, true, "");
            expect_text("the output of a command", name, output);
            expect_equal("its exit status", number, exit_code, {{-1, "nothing is stored"}});
          });
        },
    .after = "*",
    .if_it_ends = "wait() or waitpid(-1) takes the end of another thread's command",
};

}  // namespace

std::vector<Check> thread_checks() { return {texts_and_paths_on_threads, files_on_threads, commands_on_threads}; }

}  // namespace host_kit
