#include "terminal/interruption.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <csignal>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "terminal/redirected_stream.h"

namespace {

using namespace eclipse_terminal;
using terminal_test::written_to;

const std::vector<std::pair<int, std::string>> ending = {
    {SIGINT, "SIGINT"},   {SIGTERM, "SIGTERM"}, {SIGHUP, "SIGHUP"},      {SIGQUIT, "SIGQUIT"},     {SIGUSR1, "SIGUSR1"},
    {SIGUSR2, "SIGUSR2"}, {SIGALRM, "SIGALRM"}, {SIGXCPU, "SIGXCPU"},    {SIGVTALRM, "SIGVTALRM"}, {SIGPROF, "SIGPROF"},
    {SIGIO, "SIGIO"},     {SIGPWR, "SIGPWR"},   {SIGSTKFLT, "SIGSTKFLT"}};

/// The name of the signal that it throws; empty when it throws nothing.
std::string thrown_by(const std::function<void()>& action) {
  try {
    action();
  } catch (const Interrupted& interrupted) {
    return interrupted.name();
  }
  return "";
}

/// Long enough after the first signal for a second one to be another request.
void wait_for_another_request() { poll(nullptr, 0, 210); }

TEST(Signals, SignalsHaveNamesAndExitStatuses) {
  for (const auto& [number, name] : ending) {
    EXPECT_EQ(Interrupted{number}.name(), name);
    EXPECT_EQ(Interrupted{number}.text(), "interrupted by " + name);
    EXPECT_EQ(Interrupted{number}.exit_status(), 128 + number);
  }
  EXPECT_EQ(Interrupted{SIGSEGV}.name(), "signal 11");
}

TEST(Signals, EachEndingSignalIsNotedAndHandledAsBeforeLater) {
  ASSERT_EQ(ending.size(), ending_signals);
  for (const auto& [number, name] : ending) {
    struct sigaction before {};
    sigaction(number, nullptr, &before);
    {
      const Interruption interruption;
      EXPECT_FALSE(Interruption::was_requested());
      EXPECT_EQ(thrown_by(Interruption::check), "");
      raise(number);
      EXPECT_TRUE(Interruption::was_requested());
      EXPECT_FALSE(Interruption::was_repeated());
      EXPECT_EQ(thrown_by(Interruption::check), name);
    }
    struct sigaction after {};
    sigaction(number, nullptr, &after);
    EXPECT_EQ(after.sa_handler, before.sa_handler) << name;
  }
}

TEST(Signals, WhileASignalIsNotedOthersWait) {
  const Interruption interruption;
  struct sigaction handling {};
  sigaction(SIGTERM, nullptr, &handling);
  EXPECT_EQ(handling.sa_flags & SA_RESTART, SA_RESTART);
  for (const auto& [number, name] : ending) EXPECT_EQ(sigismember(&handling.sa_mask, number), 1) << name;
}

TEST(Signals, AnIgnoredSignalStaysIgnored) {
  const auto before = std::signal(SIGHUP, SIG_IGN);
  {
    const Interruption interruption;
    raise(SIGHUP);
    EXPECT_FALSE(Interruption::was_requested());
    raise(SIGTERM);
    EXPECT_EQ(thrown_by(Interruption::check), "SIGTERM");
  }
  EXPECT_EQ(std::signal(SIGHUP, before), SIG_IGN);
}

TEST(Signals, TwoSignalsAtOnceAreOneRequest) {
  const Interruption interruption;
  raise(SIGTERM);
  raise(SIGINT);
  EXPECT_FALSE(Interruption::was_repeated());
  EXPECT_EQ(thrown_by(Interruption::check), "SIGTERM");
}

TEST(Signals, TheFirstSignalIsReportedOnceAndTheSecondStopsTheDirector) {
  const Interruption interruption;
  std::string thrown;
  const auto check = [&] { thrown = thrown_by(Interruption::check_while_director_runs); };
  EXPECT_EQ(written_to(STDERR_FILENO, check), "");
  raise(SIGTERM);
  EXPECT_EQ(written_to(STDERR_FILENO, check),
            "eclipse-int: interrupted by SIGTERM; waiting for the director to end its command (interrupt again to stop it "
            "now)\n");
  EXPECT_EQ(written_to(STDERR_FILENO, check), "");
  EXPECT_EQ(thrown, "");
  wait_for_another_request();
  raise(SIGINT);
  EXPECT_TRUE(Interruption::was_repeated());
  EXPECT_EQ(written_to(STDERR_FILENO, check), "eclipse-int: interrupted again; stopping the director\n");
  EXPECT_EQ(thrown, "SIGTERM") << "the first one";
  {
    const Interruption inner;
    EXPECT_FALSE(Interruption::was_requested());
    EXPECT_FALSE(Interruption::was_repeated());
    raise(SIGUSR1);
    EXPECT_EQ(thrown_by(Interruption::check), "SIGUSR1");
  }
  EXPECT_TRUE(Interruption::was_repeated());
  EXPECT_EQ(thrown_by(Interruption::check), "SIGTERM") << "as before the inner one";
}

TEST(Signals, WhatWasReportedStaysReportedAfterAnInnerOne) {
  const Interruption interruption;
  raise(SIGTERM);
  const auto check = [] { EXPECT_EQ(thrown_by(Interruption::check_while_director_runs), ""); };
  const std::string waiting = written_to(STDERR_FILENO, check);
  EXPECT_NE(waiting, "");
  {
    const Interruption inner;
    raise(SIGTERM);
    EXPECT_EQ(written_to(STDERR_FILENO, check), waiting);
  }
  EXPECT_EQ(written_to(STDERR_FILENO, check), "");
  EXPECT_FALSE(Interruption::was_repeated());
}

TEST(Signals, AfterAnInnerOneASignalThatOnlyThatHadStaysRequested) {
  const Interruption interruption;
  {
    const Interruption inner;
    raise(SIGTERM);
  }
  EXPECT_EQ(thrown_by(Interruption::check), "SIGTERM");
}

TEST(Signals, TheObserverChecksAtEachEvent) {
  const auto observer = Interruption::observer();
  const auto events = [&](const std::string& name) {
    EXPECT_EQ(thrown_by([&] { observer.on_action({}); }), name);
    EXPECT_EQ(thrown_by([&] { observer.on_log({}); }), name);
    EXPECT_EQ(thrown_by([&] { observer.on_command({}); }), name);
    EXPECT_EQ(thrown_by([&] { observer.on_command_end({}); }), name);
  };
  const Interruption interruption;
  events("");
  raise(SIGTERM);
  events("SIGTERM");
}

TEST(Signals, TheObserverWaitsForADirectorAtEachOfItsEvents) {
  const auto observer = Interruption::observer();
  const std::vector<std::function<void()>> events = {[&] { observer.command_progress.on_output("o"); },
                                                     [&] { observer.command_progress.on_error_output("e"); },
                                                     [&] { observer.command_progress.on_wait(1); }};
  for (const auto& event : events) {
    const Interruption interruption;
    EXPECT_EQ(written_to(STDERR_FILENO, event), "");
    raise(SIGTERM);
    EXPECT_NE(written_to(STDERR_FILENO, event), "");
    EXPECT_EQ(written_to(STDERR_FILENO, event), "");
  }
}

}  // namespace
