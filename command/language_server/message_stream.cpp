#include "language_server/message_stream.h"

#include <algorithm>
#include <charconv>

#include "base/printable.h"
#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_language_server {

namespace {

constexpr std::string_view length_field = "content-length";

std::size_t length_from(std::string_view value) {
  std::size_t length = 0;
  const auto read = std::from_chars(value.data(), value.data() + value.size(), length);
  if (value.empty() || read.ec != std::errc() || read.ptr != value.data() + value.size()) {
    throw FramingError("Content-Length is " + in_quotes(value) + "; it must be a number of bytes");
  }
  return length;
}

/// The Content-Length in the lines of a header.
std::size_t length_in(std::string_view header) {
  std::optional<std::size_t> length;
  for (const std::string& line : lines_of(header)) {
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos) throw FramingError("a line of a header has no colon: " + in_quotes(line));
    if (lower_case(line.substr(0, colon)) != length_field) continue;
    if (length) throw FramingError("a header has two Content-Length");
    length = length_from(trimmed(std::string_view(line).substr(colon + 1)));
  }
  if (!length) throw FramingError("a header has no Content-Length");
  return *length;
}

/// Where the header at the beginning of a text ends, and how long the empty line after it is; npos when it does not end.
std::pair<std::size_t, std::size_t> end_of_header(std::string_view text) {
  if (text.starts_with("\r\n")) return {0, 2};
  if (text.starts_with('\n')) return {0, 1};
  const std::size_t end = std::min(text.find("\n\r\n"), text.find("\n\n"));
  if (end == text.npos) return {text.npos, 0};
  return {end + 1, text[end + 1] == '\r' ? 2 : 1};
}

}  // namespace

std::optional<IncomingMessage> MessageReader::next() {
  if (!length_ && !read_header()) return std::nullopt;
  if (is_skipping_) return skip_content() ? std::optional(IncomingMessage{"", true}) : std::nullopt;
  if (waiting_.size() < *length_) return std::nullopt;
  IncomingMessage message{waiting_.substr(0, *length_)};
  waiting_.erase(0, *length_);
  length_.reset();
  return message;
}

bool MessageReader::read_header() {
  const auto [end, width] = end_of_header(std::string_view(waiting_).substr(0, largest::message_header));
  if (end == std::string::npos) {
    if (waiting_.size() >= largest::message_header)
      throw FramingError("a header is longer than " + std::to_string(largest::message_header) + " bytes");
    return false;
  }
  length_ = length_in(std::string_view(waiting_).substr(0, end));
  is_skipping_ = *length_ > largest::message;
  waiting_.erase(0, end + width);
  return true;
}

bool MessageReader::skip_content() {
  const std::size_t count = std::min(*length_, waiting_.size());
  waiting_.erase(0, count);
  *length_ -= count;
  if (*length_ != 0) return false;
  length_.reset();
  is_skipping_ = false;
  return true;
}

std::string framed(std::string_view message) {
  return "Content-Length: " + std::to_string(message.size()) + "\r\n\r\n" + std::string(message);
}

}  // namespace eclipse_language_server
