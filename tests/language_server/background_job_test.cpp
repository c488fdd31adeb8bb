// That the result of work in another process is all of it, or an error.
#include "language_server/background_job.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <stdexcept>
#include <string>

using namespace eclipse_language_server;

namespace {

constexpr int highest_descriptor = 255;
constexpr std::chrono::seconds patience(20);

void wait_for(BackgroundJob& job) {
  while (!job.has_ended() && Clock::now() < job.deadline()) {
    pollfd input{job.descriptor(), POLLIN, 0};
    poll(&input, 1, 100);
  }
}

/// "RESULT", or "failed: MESSAGE".
std::string result_of(const std::function<std::string()>& work) {
  BackgroundJob job(work, Clock::now() + patience);
  wait_for(job);
  return (job.has_succeeded() ? "" : "failed: ") + job.result();
}

TEST(BackgroundJob, HandsBackATextOfAnySize) {
  EXPECT_EQ(result_of([] { return "text"; }), "text");
  EXPECT_EQ(result_of([] { return ""; }), "");
  EXPECT_TRUE(result_of([] { return std::string(1 << 20, 'x'); }) == std::string(1 << 20, 'x'));
}

TEST(BackgroundJob, HandsBackTheMessageOfAnError) {
  EXPECT_EQ(result_of([]() -> std::string { throw std::runtime_error("it failed"); }), "failed: it failed");
  EXPECT_EQ(result_of([]() -> std::string { _exit(3); }), "failed: ");
}

/// Half a result would be taken for a whole one.
TEST(BackgroundJob, FailsWhenItsResultCannotBeWritten) {
  const auto close_all = [] {
    for (int descriptor = 3; descriptor <= highest_descriptor; ++descriptor) close(descriptor);
  };
  EXPECT_EQ(result_of([&] { return close_all(), "text"; }), "failed: the result cannot be written");
  EXPECT_EQ(result_of([&]() -> std::string { throw(close_all(), std::runtime_error("it failed")); }),
            "failed: the result cannot be written");
}

/// The child still writes then, and nobody reads it.
TEST(BackgroundJob, FailsAtOnceWhenItsResultCannotBeRead) {
  BackgroundJob job([] { return std::string(1 << 20, 'x'); }, Clock::now() + patience);
  const int directory = open(".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  ASSERT_EQ(dup2(directory, job.descriptor()), job.descriptor());
  close(directory);
  wait_for(job);
  EXPECT_FALSE(job.has_succeeded());
  EXPECT_EQ(job.result(), "the result cannot be read: Is a directory");
}

}  // namespace
