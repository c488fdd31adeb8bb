// A host operation that throws, and memory that is not to be had, at every place where that can happen in a run.
#include <gtest/gtest.h>

#include <functional>
#include <new>

#include "eclipse_int/eclipse_int.h"
#include "fake_host/allocations.h"
#include "fake_host/fake_host.h"
#include "fake_host/file_buffers.h"

using eclipse_host::HostCall;
using fake::fails;
using fake::FakeHost;

namespace {

/// A host in which each action has as much to do as it can have.
struct BusyHost : FakeHost {
  explicit BusyHost(const std::string& choice) {
    fake::write_file("ide/eclipse", "");
    fake::write_file("ide/configuration/config.ini", "eclipse.buildId=4.5\n");
    fake::write_file("c/etc/eclipse/p", "Repository\tFeature\nsite\tF1\tx\t1\nsite.zip\tF2\n");
    add({.code = "c",
         .installBase = "c",
         .install = true,
         .remove = true,
         .package = {{.files = {"etc\\eclipse\\p\r\n", "etc/eclipse/missing"}}},
         .capabilities = {"ECLIPSE_PLUGIN"}});
    add({.code = "ide",
         .install = true,
         .package = {{.prefix = "ide", .files = {"eclipse"}, .root = "."}},
         .capabilities = {"ECLIPSE_IDE"}});
    start_over(choice);
  }
  ~BusyHost() { results.clear(); }  // a run that was cut short leaves some, and some actions run no command

  /// Undoes what a run changed.
  void start_over(const std::string& choice) {
    variables = {{"ECLIPSE_INTEGRATION_CHOICE", choice},
                 {"USER_DEFINED_ECLIPSE_PATH", "ide/eclipse"},
                 {"ECLIPSE_BIN", "eclipse"},
                 {"KORU_MODE", "modify"},
                 {"ECLIPSE_MIN_SUPPORTED_VERSION", "4.4"}};
    results = {fails(1, "all\n"), fails(2, "one\n"), fails(3, "two\n")};
    const fake::BufferAccount account = fake::settle_file_buffers();
    EXPECT_EQ(account.never_freed + account.freed_again, 0U);
  }
};

struct ActionCase {
  std::string name;
  int (*action)(session_t*);
  std::string choice;
};

class EveryAction : public testing::TestWithParam<ActionCase> {};

INSTANTIATE_TEST_SUITE_P(Choice, EveryAction,
                         testing::Values(ActionCase{"eclipse_integration_required", &eclipse_integration_required, ""},
                                         ActionCase{"find_eclipse_ide", &find_eclipse_ide, ""},
                                         ActionCase{"find_eclipse_ide", &find_eclipse_ide, "internal"},
                                         ActionCase{"define_eclipse_path", &define_eclipse_path, ""},
                                         ActionCase{"define_eclipse_path", &define_eclipse_path, "internal"},
                                         ActionCase{"define_eclipse_path", &define_eclipse_path, "user"},
                                         ActionCase{"verify_user_defined_eclipse_path", &verify_user_defined_eclipse_path,
                                                    "user"},
                                         ActionCase{"user_eclipse_version", &user_eclipse_version, "user"},
                                         ActionCase{"verify_eclipse_version", &verify_eclipse_version, "user"},
                                         ActionCase{"perform_integration", &perform_integration, "user"},
                                         ActionCase{"perform_integration", &perform_integration, "internal"},
                                         ActionCase{"perform_integration", &perform_integration, "none"},
                                         ActionCase{"perform_unintegration", &perform_unintegration, "user"},
                                         ActionCase{"perform_unintegration", &perform_unintegration, "internal"}),
                         [](const auto& instance) { return instance.param.name + "_" + instance.param.choice; });

/// Thrown by the host. Carries which call threw it, so that it can be told from any other.
struct HostError {
  std::size_t call;
};

TEST_P(EveryAction, PassesOnWhatAnyHostCallThrows) {
  const auto& [name, action, choice] = GetParam();
  BusyHost host(choice);
  std::size_t throwing = 1;
  for (bool thrown = true; thrown; ++throwing) {
    host.start_over(choice);
    std::size_t calls = 0;
    host.before_call = [&](const HostCall&) {
      if (++calls == throwing) throw HostError{throwing};
    };
    thrown = false;
    try {
      action(&host);
    } catch (const HostError& error) {
      thrown = true;
      EXPECT_EQ(error.call, throwing);
    }
    EXPECT_EQ(calls, thrown ? throwing : throwing - 1) << "the plug-in went on, or kept the exception, after call " << throwing;
    ASSERT_LT(throwing, 1000U);
  }
  EXPECT_GT(throwing, 3U);
}

TEST_P(EveryAction, PassesOnThatMemoryIsShort) {
  const auto& [name, action, choice] = GetParam();
  BusyHost host(choice);
  // What the fake itself remembers needs memory too, and is not what is tried here.
  host.on_call = {};
  host.on_log = [](const std::string&) {};
  host.on_variable = [](const std::string&, const std::string&) {};
  std::size_t nth = 1;
  for (bool failed = true; failed; ++nth) {
    host.start_over(choice);
    bool thrown = false;
    const fake::FailingAllocations allocation(nth, fake::Extent::once);
    try {
      action(&host);
    } catch (const std::bad_alloc&) {
      thrown = true;
    }
    failed = allocation.happened();
    EXPECT_EQ(thrown, failed) << "allocation " << nth;
    ASSERT_LT(nth, 5000U);
  }
  EXPECT_GT(nth, 2U);
}

TEST(UserEclipseVersion, FileBufferIsFreedWhenWhatFollowsThrows) {
  for (const std::string operation : {"print_log(eclipse_int: EOL", "env_set_string(ECLIPSE_VERSION"}) {
    BusyHost host("user");
    fake::write_file("ide/configuration/config.ini", "eclipse.buildId=4.5");
    host.before_call = [&](const HostCall&) {
      if (host.calls.back().starts_with(operation)) throw HostError{0};
    };
    EXPECT_THROW(user_eclipse_version(&host), HostError);
    const std::size_t watched = fake::file_buffers_are_watched() ? 1 : 0;
    EXPECT_EQ(fake::settle_file_buffers(), (fake::BufferAccount{watched, 0, 0})) << operation;
  }
}

TEST(UserEclipseVersion, FileBufferIsFreedWhenItCannotBeCopied) {
  BusyHost host("user");
  // Too long for the text object itself, so that the copy needs memory.
  fake::write_file("ide/configuration/config.ini", "eclipse.buildId=" + std::string(1000, '4') + "\n");
  std::size_t refused = 0;
  bool failed = true;
  for (std::size_t nth = 1; failed; ++nth) {
    host.start_over("user");
    std::optional<fake::FailingAllocations> allocation;
    host.before_call = [&](const HostCall& call) {
      if (call.operation == "get_file") allocation.emplace(nth, fake::Extent::once);
    };
    try {
      user_eclipse_version(&host);
    } catch (const std::bad_alloc&) {
      ++refused;
    }
    failed = allocation->happened();
    allocation.reset();
    const fake::BufferAccount account = fake::settle_file_buffers();
    EXPECT_EQ(account.never_freed + account.freed_again, 0U) << "allocation " << nth;
  }
  EXPECT_GT(refused, 1U);
}

}  // namespace
