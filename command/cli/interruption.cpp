#include "cli/interruption.h"

#include <utility>

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

/// Tells first, since what is told is part of what is known when it is interrupted.
template <typename... Arguments>
void add_check(std::function<void(Arguments...)>& callback) {
  callback = [told = std::move(callback)](Arguments... arguments) {
    told(arguments...);
    Interruption::check();
  };
}

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

void Interruption::check() {
  if (noted_signal != 0) throw Interrupted{noted_signal};
}

eclipse_host::RunObserver Interruption::checking(eclipse_host::RunObserver observer) {
  add_check(observer.on_action);
  add_check(observer.on_command);
  add_check(observer.command_progress.on_output);
  add_check(observer.command_progress.on_error_output);
  add_check(observer.command_progress.on_wait);
  add_check(observer.on_command_end);
  return observer;
}

}  // namespace eclipse_cli
