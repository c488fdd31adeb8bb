// Work in a process of its own, so that it neither blocks nor ends the server, and can be stopped at any time.
#ifndef ECLIPSE_INT_LANGUAGE_SERVER_BACKGROUND_JOB_H
#define ECLIPSE_INT_LANGUAGE_SERVER_BACKGROUND_JOB_H

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>

namespace eclipse_language_server {

using Clock = std::chrono::steady_clock;

/// A child process that does some work on a copy of this process and hands back a text. It has no standard input and output,
/// and is killed with this object. Only to be used in a process with a single thread.
class BackgroundJob {
 public:
  /// Throws std::system_error when the child cannot be started.
  BackgroundJob(const std::function<std::string()>& work, Clock::time_point deadline);
  ~BackgroundJob();
  BackgroundJob(const BackgroundJob&) = delete;
  BackgroundJob& operator=(const BackgroundJob&) = delete;

  /// Is readable when there is something to read.
  int descriptor() const { return descriptor_; }
  Clock::time_point deadline() const { return deadline_; }

  /// Reads what there is, without waiting. True when that was the last.
  bool has_ended();

  // Afterwards:
  bool has_succeeded() const { return has_succeeded_; }
  /// What the work returned; otherwise the message of what it threw or why there is no result, or nothing when the child
  /// crashed.
  const std::string& result() const { return result_; }

 private:
  bool read_some();
  void wait_for_end();
  void fail(std::string message);

  int descriptor_ = -1;
  pid_t child_ = -1;
  Clock::time_point deadline_;
  std::string result_;
  bool has_succeeded_ = false;
};

}  // namespace eclipse_language_server

#endif
