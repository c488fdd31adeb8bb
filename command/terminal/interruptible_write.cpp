#include "terminal/interruptible_write.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>

namespace eclipse_terminal {

namespace {

constexpr int wait_milliseconds = 250;

/// False when a wait ended without room for more.
bool has_room(int descriptor) {
  pollfd wanted{descriptor, POLLOUT, 0};
  return poll(&wanted, 1, wait_milliseconds) > 0;
}

/// A pipe with room takes so much at once, so that the write does not block.
ssize_t write_some(int descriptor, std::string_view text) {
  return write(descriptor, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
}

}  // namespace

int write_while(int descriptor, std::string_view text, const std::function<bool()>& goes_on) {
  while (!text.empty()) {
    if (!has_room(descriptor)) {
      if (!goes_on()) return ECANCELED;
      continue;
    }
    const ssize_t count = write_some(descriptor, text);
    if (count < 0 && errno != EINTR && errno != EAGAIN) return errno;
    if (count > 0) text.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

}  // namespace eclipse_terminal
