// One check of a host: the promise, the harm if the host breaks it, and how to find out.
#ifndef ECLIPSE_INT_HOST_KIT_CHECK_H
#define ECLIPSE_INT_HOST_KIT_CHECK_H

#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "eclipse_int/host.h"

namespace host_kit {

enum class Level { must, should, may };

/// What a check works with.
struct Probe {
  session_t* session;
  session_t* other_session;  ///< null if the host gave only one
  std::string scratch;       ///< a directory of its own, without a slash at the end
  std::string log;           ///< the file of print_log(); empty if the host does not say
};

struct Check {
  std::string_view name;  ///< GROUP/POINT
  Level level;
  std::string_view title;    ///< what is checked, in one line
  std::string_view promise;  ///< the sentence of host.h, without its line breaks
  std::string_view harm;     ///< what happens if it is broken
  std::string_view fix;
  void (*perform)(const Probe&) = nullptr;  ///< throws Failure or Skipped; null for what is observed in the host's own run
  std::string_view after = {};              ///< the checks without which this one would say nothing new; "*" for all before it
  std::string_view if_it_ends = {};         ///< what a crash or an endless loop looks like here
};

/// The host does not keep the promise.
struct Failure {
  std::string expected;
  std::string actual;
  std::string likely_cause;  ///< may be empty
};

/// The check does not apply; says what the host would have to give.
struct Skipped {
  std::string reason;
};

/// The check for which an action throws: not performed by itself, but seen in the host's own run.
inline constexpr std::string_view exception_drill = "drill/exception";

/// All checks, in the order in which they are performed.
std::span<const Check> all_checks();

// ---- Expectations ----

std::string shown(bool value);
std::string shown(long long value);
std::string shown(const void* pointer);
/// In quotes and printable; of a long text only the beginning, and its length.
std::string shown(std::string_view text);
inline std::string shown(const std::string& text) { return shown(std::string_view(text)); }
inline std::string shown(const char* text) { return shown(std::string_view(text)); }
inline std::string shown(int value) { return shown(static_cast<long long>(value)); }

template <typename Value>
struct Guess {
  Value actual;
  std::string_view likely_cause;
};

/// Throws Failure unless the values are equal. `what` is the call, as its caller would write it.
template <typename Value>
void expect_equal(const std::string& what, const Value& expected, const Value& actual,
                  std::initializer_list<Guess<Value>> guesses = {}) {
  if (expected == actual) return;
  std::string likely_cause;
  for (const Guess<Value>& known : guesses) {
    if (known.actual == actual) likely_cause = known.likely_cause;
  }
  throw Failure{what + " gives " + shown(expected), shown(actual), likely_cause};
}

/// The same for texts, whose first difference matters if they are long.
void expect_text(const std::string& what, std::string_view expected, std::string_view actual,
                 std::initializer_list<Guess<std::string_view>> guesses = {});

/// Throws Failure unless `holds`.
void expect(bool holds, const std::string& expected, const std::string& actual, const std::string& likely_cause = "");

// ---- Files to check with ----

/// Writes a file; throws std::runtime_error if that fails.
void write_file(const std::string& path, std::string_view content);
/// The bytes of a file, empty if it cannot be read.
std::string content_of(const std::string& path);

}  // namespace host_kit

#endif
