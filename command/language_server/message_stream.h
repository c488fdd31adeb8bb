// Messages as the Language Server Protocol frames them: a header with the length, an empty line, and so many bytes.
#ifndef ECLIPSE_INT_LANGUAGE_SERVER_MESSAGE_STREAM_H
#define ECLIPSE_INT_LANGUAGE_SERVER_MESSAGE_STREAM_H

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "base/limits.h"

namespace eclipse_language_server {

/// The input is not framed as the protocol requires. Where the next message begins is not known.
class FramingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct IncomingMessage {
  std::string content;
  bool exceeds_limit = false;  ///< it is larger than eclipse_base::largest::message, and its content was skipped
};

/// Cuts an input, which comes in pieces of any size, into messages.
class MessageReader {
 public:
  void add(std::string_view piece) { waiting_ += piece; }

  /// The next message; nothing until all of it has come. Throws FramingError.
  std::optional<IncomingMessage> next();

  /// Whether the input may end here.
  bool is_between_messages() const { return waiting_.empty() && !length_; }

 private:
  bool read_header();
  bool skip_content();

  std::string waiting_;
  std::optional<std::size_t> length_;  ///< of the content that comes next, when its header was read
  bool is_skipping_ = false;
};

/// The message with its header.
std::string framed(std::string_view message);

}  // namespace eclipse_language_server

#endif
