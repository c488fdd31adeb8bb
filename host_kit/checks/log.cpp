// The log. Where a host writes it is not known, so it is looked for.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <optional>

#include "host_kit/checks/groups.h"

namespace host_kit {

namespace {

/// While it lives, standard output and error go to a file.
class CapturedOutputs {
 public:
  explicit CapturedOutputs(std::string file) : file_(std::move(file)) {
    flush();
    const int captured = open(file_.c_str(), O_CREAT | O_TRUNC | O_RDWR | O_APPEND | O_CLOEXEC, 0600);
    for (std::size_t i = 0; i < 2; ++i) {
      const int stream = static_cast<int>(i) + STDOUT_FILENO;
      kept_[i] = fcntl(stream, F_DUPFD_CLOEXEC, 10);
      dup2(captured, stream);
    }
    close(captured);
  }
  ~CapturedOutputs() {
    flush();
    for (std::size_t i = 0; i < 2; ++i) {
      const int stream = static_cast<int>(i) + STDOUT_FILENO;
      if (kept_[i] < 0) continue;
      dup2(kept_[i], stream);
      close(kept_[i]);
    }
  }
  CapturedOutputs(const CapturedOutputs&) = delete;
  CapturedOutputs& operator=(const CapturedOutputs&) = delete;

  std::string text() const {
    flush();
    return content_of(file_);
  }

 private:
  static void flush() {
    std::cout.flush();
    std::fflush(nullptr);
  }

  std::string file_;
  int kept_[2];
};

/// The regular files that this process has open for writing.
std::vector<std::string> files_being_written() {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int descriptor = std::stoi(entry.path().filename().string());
    struct stat status;
    const int mode = fcntl(descriptor, F_GETFL);
    if (mode < 0 || (mode & O_ACCMODE) == O_RDONLY || fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) continue;
    if (descriptor > STDERR_FILENO) files.push_back(entry.path().string());
  }
  return files;
}

/// What the log has after these calls of print_log(), from the line on that has the marker.
template <typename Write>
std::string logged(const Probe& probe, const Write& write) {
  static constexpr std::string_view marker = "eclipse_int: check of the log";
  const CapturedOutputs outputs(probe.scratch + "/outputs");
  print_log("eclipse_int: check of the log");  // without arguments, so that a host is found out that does not format
  write();
  const std::string printed = outputs.text();
  std::vector<std::string> places;
  if (probe.log.empty()) {
    for (const std::string& file : files_being_written()) places.push_back(content_of(file));
    places.push_back(printed);
  } else {
    places.push_back(content_of(probe.log));
  }
  for (const std::string& place : places) {
    const std::size_t found = place.rfind(marker);
    if (found != std::string::npos) return place.substr(found + marker.size());
  }
  throw Skipped{probe.log.empty() ? "the log was not found: name its file with --log FILE (HostCheckOptions::log)"
                                  : "the log file " + shown(probe.log) + " does not contain what was logged"};
}

/// A logger may put a time or a level before each line, so only the end of the line is compared.
void expect_logged(const std::string& log, const std::string& what, const std::string& line) {
  expect(log.find(line) != std::string::npos, what + " appears in the log as " + shown(line),
         shown(log.substr(log.find('\n') + 1)),
         log.size() < line.size() ? "the end is missing: a buffer of a fixed size?" : "");
}

constexpr Check formats_as_printf{
    .name = "log/formats",
    .level = Level::must,
    .title = "print_log() formats its arguments as printf() does.",
    .promise = "The arguments are those of printf; the host adds the line feed at the end.",
    .harm = "The log does not show what was run.",
    .fix = "Pass the format and a va_list to vsnprintf() or vasprintf().",
    .perform =
        [](const Probe& probe) {
          const std::string log =
              logged(probe, [] { print_log("eclipse_int: order: %d feature: %s of %lld", -5, "name", 1LL << 40); });
          expect_logged(log, "a line with numbers", "eclipse_int: order: -5 feature: name of 1099511627776");
        },
    .if_it_ends = "the arguments are passed on without a va_list, or a va_list is used twice without va_copy",
};

constexpr Check text_is_not_a_format{
    .name = "log/text-not-format",
    .level = Level::must,
    .title = "Percent signs in an argument are text.",
    .promise =
        "A text that comes from the host or from a file is never part of `format`, only an argument for \"%s\"; the "
        "output of a director contains line feeds.",
    .harm = "A percent sign in the output of a director crashes the installer, or writes to its memory.",
    .fix = "Format once. Pass the result to fputs() or to printf(\"%s\\n\", ...), never as a format.",
    .perform =
        [](const Probe& probe) {
          const std::string log = logged(probe, [] { print_log("eclipse_int: out: %s", "%s%n%d 100%"); });
          expect_logged(log, "the argument \"%s%n%d 100%\"", "eclipse_int: out: %s%n%d 100%");
        },
    .after = "log/formats",
    .if_it_ends = "the formatted line is used as a format again",
};

constexpr Check long_line_is_whole{
    .name = "log/long-line",
    .level = Level::must,
    .title = "A very long line is logged whole.",
    .promise = "Appends one line to the installer's log.",
    .harm = "The end of the output of a failed director, which has the cause, is missing.",
    .fix = "Let vasprintf() allocate, or call vsnprintf() a second time with the length that it returned.",
    .perform =
        [](const Probe& probe) {
          const std::string text(1'000'000, 'x');
          const std::string log = logged(probe, [&] { print_log("eclipse_int: out: %s<", text.c_str()); });
          const auto kept = std::count(log.begin(), log.end(), 'x');
          expect(log.find(text + "<") != std::string::npos, "a line of 1000000 bytes is in the log",
                 std::to_string(kept) + " bytes of it", "a buffer of a fixed size, or vsnprintf() without a second call");
        },
    .after = "log/formats",
    .if_it_ends = "the line is written past the end of a buffer (vsprintf)",
};

constexpr Check line_feed_is_added{
    .name = "log/line-feed-added",
    .level = Level::must,
    .title = "Each line of the log ends in one line feed.",
    .promise = "The arguments are those of printf; the host adds the line feed at the end.",
    .harm = "Lines run into each other, or are split.",
    .fix = "Add one line feed to each line.",
    .perform =
        [](const Probe& probe) {
          const std::string log = logged(probe, [] {
            print_log("eclipse_int: one");
            print_log("eclipse_int: two");
          });
          const std::size_t one = log.find("eclipse_int: one");
          const std::size_t two = log.find("eclipse_int: two");
          expect(one != std::string::npos && two != std::string::npos && one < two, "two lines, in the order of the calls",
                 shown(log));
          const auto feeds =
              std::count(log.begin() + static_cast<std::ptrdiff_t>(one), log.begin() + static_cast<std::ptrdiff_t>(two), '\n');
          expect_equal("the number of line feeds between two lines", 1LL, static_cast<long long>(feeds),
                       {{0, "the host adds no line feed"}, {2, "the host adds two line feeds"}});
        },
    .after = "log/formats",
};

/// Written as "\n" they are as good: then each line of the log is one that a program has logged.
constexpr Check inner_line_feeds_are_kept{
    .name = "log/line-feeds-kept",
    .level = Level::should,
    .title = "Line feeds in an argument are kept.",
    .promise =
        "A text that comes from the host or from a file is never part of `format`, only an argument for \"%s\"; the "
        "output of a director contains line feeds.",
    .harm = "The output of a director becomes one line, or only its first line remains.",
    .fix = "Write the text as it is, or its line feeds as \"\\n\".",
    .perform =
        [](const Probe& probe) {
          const std::string log = logged(probe, [] { print_log("eclipse_int: out: %s", "first\n\n  second"); });
          if (log.find("eclipse_int: out: first\\n\\n  second") != log.npos) return;
          expect_logged(log, "a text with line feeds", "eclipse_int: out: first\n\n  second");
        },
    .after = "log/formats",
};

}  // namespace

std::vector<Check> log_checks() {
  return {formats_as_printf, text_is_not_a_format, long_line_is_whole, line_feed_is_added, inner_line_feeds_are_kept};
}

}  // namespace host_kit
