// Faults by counting: in every session the n-th host call throws, then the n-th is answered badly, then the n-th allocation
// fails; then n + 1, until the run is shorter than n.
//
// Memory that is not given back is noticed after each fault, by its count, as far as it comes from operator new; what comes
// from elsewhere is for the leak sanitizer, in the preset that has it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <new>
#include <stdexcept>

#include "differential/observed_session.h"
#include "fake_host/allocations.h"
#include "fake_host/file_buffers.h"
#include "fake_host/temporary_directory.h"
#include "faults/fault_sessions.h"

using differential::ObservedSession;
using differential::PlannedSession;
using differential::Step;
using differential::StepRecord;
using differential::Texts;
using eclipse_host::HostCall;

using fake::Extent;
using fake::FailingAllocations;
using fake::held_allocations;
using fake::UncountedAllocations;

namespace faults {
namespace {

/// What can be seen of a run, which may have been cut short.
struct Outcome {
  std::vector<StepRecord> records;
  Texts writes;
  std::exception_ptr exception;  ///< what came out of the library
  std::size_t answers = 0;       ///< calls that could have been answered badly, where that was tried
};

Texts calls_of(const Outcome& run) {
  Texts calls;
  for (const StepRecord& record : run.records) calls.insert(calls.end(), record.calls.begin(), record.calls.end());
  return calls;
}

bool begins_with(const Texts& all, const Texts& first) {
  return first.size() <= all.size() && std::equal(first.begin(), first.end(), all.begin());
}

/// A run of a session, whose seams can be changed before it begins.
class Trial {
 public:
  explicit Trial(const PlannedSession& plan) : session(plan), plan_(plan) {
    session.on_variable = [this](const std::string& name, const std::string& value) {
      const UncountedAllocations own;
      run_.writes.push_back(name + "=" + value);
    };
  }

  /// Takes the steps until an exception comes out of one.
  Outcome finish(const exports::Table& library) {
    try {
      for (const Step& step : plan_.steps) {
        begin(step);
        session.records.back().result = step.take(library, session);
      }
    } catch (...) {
      run_.exception = std::current_exception();
    }
    const UncountedAllocations own;
    run_.records = session.records;
    return std::move(run_);
  }

  ObservedSession session;

 private:
  void begin(const Step& step) {
    const UncountedAllocations own;
    session.begin(step);
  }

  const PlannedSession& plan_;
  Outcome run_;
};

class Faults : public testing::Test {
 protected:
  static void TearDownTestSuite() { std::cout << injected_in_all_ << " faults injected\n"; }

  Faults() { differential::write_files(sessions_.front()); }

  ~Faults() override { injected_in_all_ += injected_; }

  /// After each fault.
  void count_and_settle() {
    ++injected_;
    const fake::BufferAccount buffers = fake::settle_file_buffers();
    EXPECT_EQ(buffers.never_freed, 0U);
    EXPECT_EQ(buffers.freed_again, 0U);
  }

  const std::vector<PlannedSession> sessions_ = fault_sessions();
  std::size_t injected_ = 0;

 private:
  const fake::TemporaryDirectory directory_;
  static inline std::size_t injected_in_all_ = 0;
};

TEST_F(Faults, AreInjectedInEveryActionAndBothFallbacks) {
  Texts steps;
  Texts log;
  for (const PlannedSession& plan : sessions_) {
    const Outcome run = Trial(plan).finish(exports::plug_in());
    ASSERT_FALSE(run.exception);
    for (const StepRecord& record : run.records) {
      steps.push_back(record.step);
      log.insert(log.end(), record.log.begin(), record.log.end());
    }
  }
  fake::settle_file_buffers();
  for (const exports::Action& action : exports::actions) {
    EXPECT_GT(std::count(steps.begin(), steps.end(), action.name), 1) << action.name;
  }
  for (const std::string fallback : {"eclipse_int: failed to integrate all plug-ins at once, integrating individually",
                                     "eclipse_int: failed to unintegrate all plug-ins at once, unintegrating individually"}) {
    EXPECT_NE(std::find(log.begin(), log.end(), fallback), log.end()) << fallback;
  }
}

TEST_F(Faults, BuffersThatAreNotFreedAreNoticed) {
  ObservedSession session(sessions_.front());
  session.begin({"get_file", {}});
  char* const buffer = get_file("instance/configuration/config.ini", 0, nullptr);
  ASSERT_NE(buffer, nullptr);
  if (fake::file_buffers_are_watched()) {
    EXPECT_EQ(fake::settle_file_buffers(), (fake::BufferAccount{1, 1, 0}));  // gives the memory back
  } else {
    std::free(buffer);
  }
}

// ---- Host calls that throw ----

/// Of no known kind, so that nobody can catch it by that.
struct HostError {};

/// The run of a session in which the `nth` host call throws. That it came out as it went in means that it is the same object.
Outcome run_with_throwing_call(const PlannedSession& plan, std::size_t nth, const std::exception_ptr& exception) {
  Trial trial(plan);
  std::size_t calls = 0;
  trial.session.on_call = [&, record = trial.session.on_call](const HostCall& call) {
    record(call);
    if (++calls == nth) std::rethrow_exception(exception);
  };
  return trial.finish(exports::plug_in());
}

TEST_F(Faults, ThrownByEveryHostCallComeOutAsTheyWentIn) {
  const std::vector<std::exception_ptr> exceptions = {std::make_exception_ptr(HostError()),
                                                      std::make_exception_ptr(std::runtime_error("a host's"))};
  for (const PlannedSession& plan : sessions_) {
    const Outcome good = Trial(plan).finish(exports::plug_in());
    const Texts good_calls = calls_of(good);
    for (std::size_t nth = 1; nth <= good_calls.size(); ++nth) {
      for (const std::exception_ptr& exception : exceptions) {
        const std::size_t held = held_allocations();
        {
          const Outcome run = run_with_throwing_call(plan, nth, exception);
          EXPECT_TRUE(run.exception == exception) << "another exception came out, or none";
          const Texts expected(good_calls.begin(), good_calls.begin() + static_cast<std::ptrdiff_t>(nth));
          EXPECT_EQ(calls_of(run), expected) << "the plug-in went on after the call that threw";
          EXPECT_TRUE(begins_with(good.writes, run.writes)) << differential::readable(run.writes);
        }
        EXPECT_EQ(held_allocations(), held) << "not all memory was given back";
        count_and_settle();
        ASSERT_FALSE(HasFailure()) << "call " << nth << ", " << good_calls[nth - 1] << " threw in\n" << readable(plan);
      }
    }
  }
  std::cout << injected_ << " host calls threw\n";
}

// ---- Host calls that are answered badly ----

/// The run of a session in which the `nth` of the calls that have a bad answer gets it, or each from that one on.
Outcome run_with_bad_answer(const PlannedSession& plan, const exports::Table& library, std::size_t nth, Extent extent) {
  Trial trial(plan);
  std::size_t answers = 0;
  trial.session.answers_badly = [&](const HostCall&) {
    ++answers;
    return extent == Extent::once ? answers == nth : answers >= nth;
  };
  Outcome run = trial.finish(library);
  run.answers = answers;
  return run;
}

/// Compares what came of such a bad answer with the model. False when the run had no such call.
bool compare_with_bad_answer(const PlannedSession& plan, std::size_t nth, Extent extent) {
  const Outcome run = run_with_bad_answer(plan, exports::plug_in(), nth, extent);
  if (run.answers < nth) return false;
  const Outcome expected = run_with_bad_answer(plan, exports::model(), nth, extent);
  EXPECT_FALSE(run.exception);
  EXPECT_EQ(run.writes, expected.writes);
  EXPECT_EQ(differential::difference(run.records, expected.records), "");
  return true;
}

TEST_F(Faults, AnsweredBadlyComeToTheSameAsWithTheModel) {
  for (const PlannedSession& plan : sessions_) {
    for (const Extent extent : {Extent::once, Extent::from_then_on}) {
      const std::size_t held = held_allocations();
      for (std::size_t nth = 1; compare_with_bad_answer(plan, nth, extent); ++nth) {
        EXPECT_EQ(held_allocations(), held) << "not all memory was given back";
        count_and_settle();
        ASSERT_FALSE(HasFailure()) << "answer " << nth << (extent == Extent::once ? " was" : " and all behind it were")
                                   << " bad in\n"
                                   << readable(plan);
      }
    }
  }
  std::cout << injected_ << " host calls were answered badly\n";
}

// ---- Allocations that fail ----

/// The run of a session in which an allocation fails. What the test itself remembers is not what is tried here.
Outcome run_with_failing_allocation(const PlannedSession& plan, std::size_t nth, Extent extent, bool& happened) {
  Trial trial(plan);
  trial.session.on_log = [&, record = trial.session.on_log](const std::string& line) {
    const UncountedAllocations own;
    record(line);
  };
  trial.session.run_command = [&, run = trial.session.run_command](const std::string& command) {
    const UncountedAllocations own;
    return run(command);
  };
  FailingAllocations failing(nth, extent);
  Outcome run = trial.finish(exports::plug_in());
  happened = failing.happened();
  return run;
}

void expect_out_of_memory(const std::exception_ptr& exception) {
  ASSERT_TRUE(exception) << "the action returned as if nothing had happened";
  EXPECT_THROW(std::rethrow_exception(exception), std::bad_alloc);
}

TEST_F(Faults, InEveryAllocationComeOutAsWantOfMemory) {
  for (const PlannedSession& plan : sessions_) {
    const Outcome good = Trial(plan).finish(exports::plug_in());
    fake::settle_file_buffers();
    for (const Extent extent : {Extent::once, Extent::from_then_on}) {
      bool happened = true;
      for (std::size_t nth = 1; happened; ++nth) {
        const std::size_t held = held_allocations();
        {
          const Outcome run = run_with_failing_allocation(plan, nth, extent, happened);
          if (!happened) break;
          expect_out_of_memory(run.exception);
          EXPECT_TRUE(begins_with(good.writes, run.writes)) << differential::readable(run.writes);
        }
        EXPECT_EQ(held_allocations(), held) << "not all memory was given back";
        count_and_settle();
        ASSERT_FALSE(HasFailure()) << "allocation " << nth << (extent == Extent::once ? "" : " and all behind it")
                                   << " failed in\n"
                                   << readable(plan);
      }
    }
  }
  std::cout << injected_ << " allocations failed\n";
}

/// An allocation that no compiler leaves out.
void allocate() {
  void* const volatile memory = ::operator new(8);
  ::operator delete(memory);
}

TEST(Allocations, FailOnceOrFromThenOn) {
  const std::size_t held = held_allocations();
  {
    FailingAllocations failing(2, Extent::once);
    allocate();
    EXPECT_FALSE(failing.happened());
    EXPECT_THROW(allocate(), std::bad_alloc);
    EXPECT_TRUE(failing.happened());
    EXPECT_NO_THROW(allocate());
  }
  {
    FailingAllocations failing(1, Extent::from_then_on);
    for (int i = 0; i < 3; ++i) EXPECT_THROW(allocate(), std::bad_alloc);
    const UncountedAllocations own;
    EXPECT_NO_THROW(allocate());
  }
  EXPECT_EQ(held_allocations(), held);
  void* const memory = ::operator new(8);
  EXPECT_EQ(held_allocations(), held + 1);
  ::operator delete(memory);
}

}  // namespace
}  // namespace faults
