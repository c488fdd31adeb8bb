#include "language_server/serve.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <vector>

#include "base/limits.h"

namespace eclipse_language_server {

namespace {

/// While so much waits for the editor to read it, nothing is read from it.
constexpr std::size_t most_outgoing = eclipse_base::largest::message;

constexpr int last_wait_milliseconds = 5000;

class Connection {
 public:
  Connection(Server& server, int input, int output) : server_(server), input_(input), output_(output) {}

  void serve() {
    while (has_input_ && has_output_ && !server_.has_ended()) {
      const short events = wait();
      if ((events & input_ready) != 0) read_input();
      if ((events & output_ready) != 0) write_output();
      server_.proceed();
    }
    while (has_output_ && !unsent().empty() && output_has_room()) write_output();
  }

 private:
  static constexpr short input_ready = 1;
  static constexpr short output_ready = 2;

  /// Waits until there is something to do: which of the two streams are ready.
  short wait() const {
    const bool reads = unsent().size() < most_outgoing;
    const bool writes = !unsent().empty();
    // A negative descriptor is ignored.
    std::vector<pollfd> streams = {{reads ? input_ : -1, POLLIN, 0}, {writes ? output_ : -1, POLLOUT, 0}};
    for (const BackgroundJob* const job : server_.jobs()) streams.push_back({job->descriptor(), POLLIN, 0});
    if (poll(streams.data(), streams.size(), milliseconds_to_wait()) <= 0) return 0;
    return static_cast<short>((streams[0].revents != 0 ? input_ready : 0) | (streams[1].revents != 0 ? output_ready : 0));
  }

  int milliseconds_to_wait() const {
    const auto time = server_.next_time();
    if (!time) return -1;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(*time - Clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left + 1, 0, INT_MAX));
  }

  void read_input() {
    std::array<char, 65536> buffer;
    const ssize_t count = read(input_, buffer.data(), buffer.size());
    if (count < 0 && (errno == EINTR || errno == EAGAIN)) return;
    if (count <= 0) {
      has_input_ = false;
      if (count == 0 && !reader_.is_between_messages()) throw FramingError("the input ends inside a message");
      return;
    }
    reader_.add({buffer.data(), static_cast<std::size_t>(count)});
    while (const auto message = server_.has_ended() ? std::nullopt : reader_.next()) server_.receive(*message);
  }

  /// At the end, an editor that does not read is not waited for long.
  bool output_has_room() const {
    pollfd output{output_, POLLOUT, 0};
    return poll(&output, 1, last_wait_milliseconds) > 0;
  }

  std::string_view unsent() const { return std::string_view(server_.outgoing()).substr(sent_); }

  /// A pipe with room takes so much at once, so that the write does not block.
  void write_output() {
    const std::string_view next = unsent().substr(0, PIPE_BUF);
    const ssize_t count = write(output_, next.data(), next.size());
    if (count > 0) sent_ += static_cast<std::size_t>(count);
    if (count < 0 && errno != EINTR && errno != EAGAIN) has_output_ = false;
    // Not after each write, since what is left moves.
    if (!unsent().empty() && sent_ < most_outgoing) return;
    server_.outgoing().erase(0, sent_);
    sent_ = 0;
  }

  Server& server_;
  int input_;
  int output_;
  MessageReader reader_;
  std::size_t sent_ = 0;  ///< of what is outgoing
  bool has_input_ = true;
  bool has_output_ = true;
};

}  // namespace

void serve(Server& server, int input, int output) { Connection(server, input, output).serve(); }

}  // namespace eclipse_language_server
