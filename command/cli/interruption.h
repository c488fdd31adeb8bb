// What happens when a signal asks this program to end while it works on an Eclipse.
#ifndef ECLIPSE_INT_CLI_INTERRUPTION_H
#define ECLIPSE_INT_CLI_INTERRUPTION_H

#include <array>
#include <csignal>
#include <string>

#include "standalone_host/session_run.h"

namespace eclipse_cli {

/// Thrown out of a run. It ends the director that is running.
struct Interrupted {
  int signal;

  int exit_status() const { return 128 + signal; }
  /// Such as "SIGINT".
  std::string name() const;
};

/// As long as an object of this class lives, SIGINT, SIGTERM, SIGHUP and SIGQUIT are only noted, so that no director is left
/// running. An ignored signal stays ignored.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// Whether a signal has come.
  static bool was_requested();

  /// Throws Interrupted once a signal has come.
  static void check();

  /// Checks at every event, where a run can be stopped.
  static eclipse_host::RunObserver observer();

 private:
  std::array<struct sigaction, 4> before_{};
};

}  // namespace eclipse_cli

#endif
