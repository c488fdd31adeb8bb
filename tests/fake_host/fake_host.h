// A host for tests: fields go in, ordered records come out, and what a test did not foresee fails it.
#ifndef ECLIPSE_INT_TESTS_FAKE_HOST_FAKE_HOST_H
#define ECLIPSE_INT_TESTS_FAKE_HOST_FAKE_HOST_H

#include <algorithm>
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "fake_host/temporary_directory.h"
#include "standalone_host/session.h"

namespace fake {

using Texts = std::vector<std::string>;

struct PackageFields {
  std::string prefix{};
  Texts files{};
  std::string root{};
};

struct ComponentFields {
  std::string code;
  std::string installBase{};
  std::string installDir{};
  bool install = false;
  bool remove = false;
  bool installed = false;
  std::optional<PackageFields> package{};
  Texts capabilities{};
};

/// Adds a component to a session: to its catalogue and, for each of its capabilities, to the capability map.
eclipse_host::CatalogueComponent* add_component(eclipse_host::Session& session, const ComponentFields& fields);

/// A session on the operations of the stand-alone host, with the log, the commands and the variable writes recorded instead of
/// carried out or shown, and with a temporary directory as its file system. The fields of eclipse_host::Session go in, and
/// these:
///
/// It is strict. Each of these fails the running test: a command that no result is left for, a result that no command asked
/// for, a log line that begins with none of the plug-in's prefixes, a buffer of get_file() that is not freed exactly once.
class FakeHost : public eclipse_host::Session {
 public:
  FakeHost();
  ~FakeHost();
  FakeHost(const FakeHost&) = delete;
  FakeHost& operator=(const FakeHost&) = delete;

  eclipse_host::CatalogueComponent* add(const ComponentFields& fields) { return add_component(*this, fields); }

  /// Every component of the session, as TSD::components() gives them.
  std::vector<Component*> catalogue();

  /// What the commands come to, one after another. Each command takes the first away.
  std::deque<eclipse_shell::CommandResult> results;

  /// Sees each call of a host operation before it is carried out, and after it is recorded. What it throws comes out of it.
  std::function<void(const eclipse_host::HostCall&)> before_call = [](const eclipse_host::HostCall&) {};

  /// All that the plug-in did, in order: log lines as they are, variable writes as "NAME=value", commands as "$ command".
  Texts events;
  Texts log;
  Texts writes;
  Texts commands;
  /// Every call of a host operation, as "operation(argument, argument)".
  Texts calls;

  /// The calls whose operation begins with one of these.
  Texts calls_of(const Texts& operations) const;

  TemporaryDirectory directory;

 private:
  eclipse_shell::CommandResult next_result(const std::string& command);
  void record_log(const std::string& line);
  void record_call(const eclipse_host::HostCall& call);

  eclipse_host::ActiveSession active_{*this};
};

/// The texts of several lists, one list after another.
template <typename... Lists>
Texts in_order(const Lists&... lists) {
  Texts all;
  (all.insert(all.end(), lists.begin(), lists.end()), ...);
  return all;
}

/// The first texts of a list, or all when there are fewer.
inline Texts first(const Texts& texts, std::size_t count) {
  return {texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(std::min(count, texts.size()))};
}

/// The last texts of a list, or all when there are fewer.
inline Texts last(const Texts& texts, std::size_t count) {
  return {texts.end() - static_cast<std::ptrdiff_t>(std::min(count, texts.size())), texts.end()};
}

/// A failed command that printed this.
inline eclipse_shell::CommandResult fails(int exit_code, const std::string& output) { return {output, "", exit_code, 0}; }

/// A command that succeeded and printed this.
inline eclipse_shell::CommandResult succeeds(const std::string& output = "") { return {output, "", 0, 0}; }

}  // namespace fake

#endif
