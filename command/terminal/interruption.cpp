#include "terminal/interruption.h"

#include <time.h>

#include <atomic>

#include "terminal/standard_streams.h"

namespace eclipse_terminal {

namespace {

struct NamedSignal {
  int number;
  const char* name;
};

/// Those that people and other programs send to end a program.
constexpr std::array<NamedSignal, ending_signals> signals = {{{SIGINT, "SIGINT"},
                                                              {SIGTERM, "SIGTERM"},
                                                              {SIGHUP, "SIGHUP"},
                                                              {SIGQUIT, "SIGQUIT"},
                                                              {SIGUSR1, "SIGUSR1"},
                                                              {SIGUSR2, "SIGUSR2"},
                                                              {SIGALRM, "SIGALRM"},
                                                              {SIGXCPU, "SIGXCPU"},
                                                              {SIGVTALRM, "SIGVTALRM"},
                                                              {SIGPROF, "SIGPROF"},
                                                              {SIGIO, "SIGIO"},
                                                              {SIGPWR, "SIGPWR"},
                                                              {SIGSTKFLT, "SIGSTKFLT"}}};

/// One request to end may arrive as two signals: timeout(1) sends its signal to the process and to its group, and a terminal
/// that is closed sends SIGHUP, as its shell does.
constexpr long long one_request_milliseconds = 200;

// What the signal handler leaves behind.
volatile std::sig_atomic_t first_signal = 0;
volatile std::sig_atomic_t is_repeated = 0;
std::atomic<long long> first_time = 0;
static_assert(std::atomic<long long>::is_always_lock_free);

bool is_reported = false;  ///< that the director is waited for

long long milliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * 1000LL + now.tv_nsec / 1'000'000;
}

void note(int signal) {
  if (first_signal == 0) {
    first_time = milliseconds();
    first_signal = signal;
  } else if (milliseconds() - first_time >= one_request_milliseconds) {
    is_repeated = 1;
  }
}

}  // namespace

std::string Interrupted::name() const {
  for (const NamedSignal& known : signals) {
    if (known.number == signal) return known.name;
  }
  return "signal " + std::to_string(signal);
}

Interruption::Interruption()
    : outer_signal_(first_signal), outer_is_repeated_(is_repeated != 0), outer_is_reported_(is_reported) {
  first_signal = 0;
  is_repeated = 0;
  is_reported = false;
  struct sigaction noting {};
  noting.sa_handler = note;
  noting.sa_flags = SA_RESTART;
  sigfillset(&noting.sa_mask);
  for (std::size_t i = 0; i < signals.size(); ++i) {
    sigaction(signals[i].number, nullptr, &before_[i]);
    if (before_[i].sa_handler != SIG_IGN) sigaction(signals[i].number, &noting, nullptr);
  }
}

Interruption::~Interruption() {
  for (std::size_t i = 0; i < signals.size(); ++i) sigaction(signals[i].number, &before_[i], nullptr);
  if (outer_signal_ == 0) return;
  first_signal = outer_signal_;
  is_repeated = outer_is_repeated_ ? 1 : 0;
  is_reported = outer_is_reported_;
}

bool Interruption::was_requested() { return first_signal != 0; }

bool Interruption::was_repeated() { return is_repeated != 0; }

void Interruption::check() {
  if (first_signal != 0) throw Interrupted{first_signal};
}

void Interruption::check_while_director_runs() {
  if (is_repeated != 0) {
    print_notice("interrupted again; stopping the director");
    throw Interrupted{first_signal};
  }
  if (first_signal == 0 || is_reported) return;
  is_reported = true;
  print_notice(Interrupted{first_signal}.text() +
               "; waiting for the director to end its command (interrupt again to stop it now)");
}

eclipse_host::RunObserver Interruption::observer() {
  const auto check_at = [](const auto&...) { check(); };
  const auto check_director = [](const auto&...) { check_while_director_runs(); };
  eclipse_host::RunObserver observer;
  observer.on_action = check_at;
  observer.on_log = check_at;
  observer.on_command = check_at;
  observer.command_progress.on_output = check_director;
  observer.command_progress.on_error_output = check_director;
  observer.command_progress.on_wait = check_director;
  observer.on_command_end = check_at;
  return observer;
}

}  // namespace eclipse_terminal
