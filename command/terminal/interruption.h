// What happens when a signal asks this program to end while it works on an Eclipse instance.
#ifndef ECLIPSE_INT_TERMINAL_INTERRUPTION_H
#define ECLIPSE_INT_TERMINAL_INTERRUPTION_H

#include <array>
#include <csignal>
#include <cstddef>
#include <string>

#include "shell/exit_code.h"
#include "standalone_host/session_run.h"

namespace eclipse_terminal {

/// Thrown out of a run when a signal ends it. It stops a director that is running.
struct Interrupted {
  int signal;

  int exit_status() const { return eclipse_shell::exit_code::signal_offset + signal; }
  /// Such as "SIGINT".
  std::string name() const;
  /// Such as "interrupted by SIGINT".
  std::string text() const { return "interrupted by " + name(); }
};

/// How many signals the class below handles: SIGINT (Ctrl-C), SIGTERM, SIGHUP, SIGQUIT, SIGUSR1, SIGUSR2, SIGALRM, SIGXCPU,
/// SIGVTALRM, SIGPROF, SIGIO, SIGPWR and SIGSTKFLT: all that end a program by default, but for those of a crash and
/// for real-time signals, which nobody sends to a program that does not ask for them.
inline constexpr std::size_t ending_signals = 13;

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
  /// Whether a second one has come.
  static bool was_repeated();

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

}  // namespace eclipse_terminal

#endif
