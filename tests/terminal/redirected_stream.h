// A standard stream of this process that leads elsewhere for a while.
#ifndef ECLIPSE_INT_TESTS_TERMINAL_REDIRECTED_STREAM_H
#define ECLIPSE_INT_TESTS_TERMINAL_REDIRECTED_STREAM_H

#include <functional>
#include <string>

namespace terminal_test {

class RedirectedStream {
 public:
  /// Takes over the other descriptor.
  RedirectedStream(int stream, int other);
  ~RedirectedStream();
  RedirectedStream(const RedirectedStream&) = delete;
  RedirectedStream& operator=(const RedirectedStream&) = delete;

 private:
  int stream_;
  int before_;
};

/// What the action writes to the descriptor of a standard stream; few enough bytes for a pipe.
std::string written_to(int stream, const std::function<void()>& action);

/// The same when the stream is a terminal, as the terminal shows it, with "\r\n" for each line feed.
std::string shown_on_terminal(int stream, const std::function<void()>& action);

/// The exit status of a child that performs this, for what would change this process for good.
int status_of_child(const std::function<int()>& action);

}  // namespace terminal_test

#endif
