#include "language_server/serve.h"

#include <limits.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <vector>

#include "base/file.h"

namespace eclipse_language_server {

namespace {

/// While so much waits for the editor to read it, nothing is read from it.
constexpr std::size_t most_outgoing = eclipse_base::largest::message;

class Connection {
 public:
  Connection(Server& server, int input, int output) : server_(server), input_(input), output_(output) {}

  void serve() {
    while (is_open_ && !server_.has_ended()) {
      const short events = wait();
      if ((events & input_ready) != 0) read_input();
      if ((events & output_ready) != 0) write_output();
      server_.proceed();
    }
    while (is_open_ && !server_.outgoing().empty()) write_output();
  }

 private:
  static constexpr short input_ready = 1;
  static constexpr short output_ready = 2;

  /// Waits until there is something to do: which of the two streams are ready.
  short wait() const {
    const bool reads = server_.outgoing().size() < most_outgoing;
    const bool writes = !server_.outgoing().empty();
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
      is_open_ = false;
      if (count == 0 && !reader_.is_between_messages()) throw FramingError("the input ends inside a message");
      return;
    }
    reader_.add({buffer.data(), static_cast<std::size_t>(count)});
    while (const auto message = server_.has_ended() ? std::nullopt : reader_.next()) server_.receive(*message);
  }

  /// A pipe with room takes so much at once, so that the write does not block.
  void write_output() {
    std::string& outgoing = server_.outgoing();
    const ssize_t count = write(output_, outgoing.data(), std::min<std::size_t>(outgoing.size(), PIPE_BUF));
    if (count > 0) outgoing.erase(0, static_cast<std::size_t>(count));
    if (count < 0 && errno != EINTR && errno != EAGAIN) is_open_ = false;
  }

  Server& server_;
  int input_;
  int output_;
  MessageReader reader_;
  bool is_open_ = true;
};

}  // namespace

void serve(Server& server, int input, int output) { Connection(server, input, output).serve(); }

}  // namespace eclipse_language_server
