#include "cli/interruption.h"

namespace eclipse_cli {

namespace {

struct NamedSignal {
  int number;
  const char* name;
};

constexpr std::array<NamedSignal, 4> signals = {
    {{SIGINT, "SIGINT"}, {SIGTERM, "SIGTERM"}, {SIGHUP, "SIGHUP"}, {SIGQUIT, "SIGQUIT"}}};

volatile std::sig_atomic_t noted_signal = 0;

void note(int signal) { noted_signal = signal; }

}  // namespace

std::string Interrupted::name() const {
  for (const NamedSignal& known : signals) {
    if (known.number == signal) return known.name;
  }
  return "signal " + std::to_string(signal);
}

Interruption::Interruption() {
  noted_signal = 0;
  struct sigaction noting {};
  noting.sa_handler = note;
  noting.sa_flags = SA_RESTART;
  for (std::size_t i = 0; i < signals.size(); ++i) {
    sigaction(signals[i].number, nullptr, &before_[i]);
    if (before_[i].sa_handler != SIG_IGN) sigaction(signals[i].number, &noting, nullptr);
  }
}

Interruption::~Interruption() {
  for (std::size_t i = 0; i < signals.size(); ++i) sigaction(signals[i].number, &before_[i], nullptr);
}

bool Interruption::was_requested() { return noted_signal != 0; }

void Interruption::check() {
  if (noted_signal != 0) throw Interrupted{noted_signal};
}

eclipse_host::RunObserver Interruption::observer() {
  const auto check_at = [](const auto&...) { check(); };
  eclipse_host::RunObserver observer;
  observer.on_action = check_at;
  observer.on_log = check_at;
  observer.on_command = check_at;
  observer.command_progress.on_output = check_at;
  observer.command_progress.on_error_output = check_at;
  observer.command_progress.on_wait = check_at;
  observer.on_command_end = check_at;
  return observer;
}

}  // namespace eclipse_cli
