// What happens when a signal asks this program to end while it works on an Eclipse instance.
#ifndef ECLIPSE_INT_CLI_INTERRUPTION_H
#define ECLIPSE_INT_CLI_INTERRUPTION_H

#include <array>
#include <csignal>
#include <cstddef>
#include <string>

#include "standalone_host/session_run.h"

namespace eclipse_cli {

/// Thrown out of a run when a signal ends it. It stops a director that is running.
struct Interrupted {
  int signal;

  int exit_status() const { return 128 + signal; }
  /// Such as "SIGINT".
  std::string name() const;
};

/// How many signals the class below handles: SIGINT (Ctrl-C), SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM and SIGXCPU.
inline constexpr std::size_t ending_signals = 8;

/// While an object of this class exists, these signals do not end the program: a director that dies while it writes the p2
/// profile leaves an instance that no director can open. The first signal lets the running director end its command, and no
/// other is started; the second one stops the director. A signal that is ignored stays so. While a second object exists, only
/// signals that come in its lifetime count.
class Interruption {
 public:
  Interruption();
  ~Interruption();
  Interruption(const Interruption&) = delete;
  Interruption& operator=(const Interruption&) = delete;

  /// Whether a signal has come.
  static bool was_requested();

  /// Throws Interrupted after the first signal. For the moments in which no director runs.
  static void check();

  /// Reports the first signal on standard error, once, and throws Interrupted after the second one. For the moments in which a
  /// director runs.
  static void check_while_director_runs();

  /// Performs the check that fits each event.
  static eclipse_host::RunObserver observer();

 private:
  std::array<struct sigaction, ending_signals> before_{};
  int outer_signal_;
  bool outer_is_repeated_;
  bool outer_is_reported_;
};

}  // namespace eclipse_cli

#endif
