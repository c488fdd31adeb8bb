#include "terminal/redirected_stream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <iostream>

namespace terminal_test {

namespace {

std::string all_of(int descriptor) {
  std::string text;
  std::array<char, 4096> buffer;
  fcntl(descriptor, F_SETFL, O_NONBLOCK);
  for (ssize_t count = 0; (count = read(descriptor, buffer.data(), buffer.size())) > 0;) {
    text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  close(descriptor);
  return text;
}

}  // namespace

RedirectedStream::RedirectedStream(int stream, int other) : stream_(stream), before_(fcntl(stream, F_DUPFD_CLOEXEC, 3)) {
  std::cout.flush();
  EXPECT_EQ(dup2(other, stream), stream);
  close(other);
}

RedirectedStream::~RedirectedStream() {
  std::cout.flush();
  dup2(before_, stream_);
  close(before_);
}

std::string written_to(int stream, const std::function<void()>& action) {
  std::array<int, 2> ends{};
  EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
  {
    const RedirectedStream redirected(stream, ends[1]);
    action();
  }
  return all_of(ends[0]);
}

std::string shown_on_terminal(int stream, const std::function<void()>& action) {
  int screen = -1;
  int terminal = -1;
  EXPECT_EQ(openpty(&screen, &terminal, nullptr, nullptr, nullptr), 0);
  std::string text;
  {
    const int kept = dup(terminal);
    {
      const RedirectedStream redirected(stream, terminal);
      action();
    }
    text = all_of(screen);
    close(kept);
  }
  return text;
}

int status_of_child(const std::function<int()>& action) {
  const pid_t child = fork();
  if (child == 0) std::_Exit(action());
  int status = 0;
  EXPECT_EQ(waitpid(child, &status, 0), child);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace terminal_test
