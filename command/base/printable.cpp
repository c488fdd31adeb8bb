#include "base/printable.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace eclipse_base {

namespace {

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

bool is_control(char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; }

std::string as_hexadecimal(char byte) {
  std::array<char, 8> text;
  std::snprintf(text.data(), text.size(), "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  return text.data();
}

}  // namespace

std::size_t character_length(std::string_view text) {
  const auto first = static_cast<unsigned char>(text.front());
  if (first < 0x80) return 1;
  const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  const auto second = static_cast<unsigned char>(text[1]);
  if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F)) return 0;
  if ((first == 0xF0 && second < 0x90) || (first == 0xF4 && second > 0x8F)) return 0;
  return std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length), is_continuation) ? length : 0;
}

std::size_t characters_in(std::string_view text) {
  std::size_t count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(std::max<std::size_t>(character_length(text), 1));
  return count;
}

std::string shown_line(std::string_view text) {
  std::string line;
  while (!text.empty()) {
    const std::size_t length = character_length(text);
    const char first = text.front();
    if (first == '\t') {
      line += "→";
    } else if (length == 0 || is_control(first)) {
      line += as_hexadecimal(first);
    } else {
      line.append(text.substr(0, length));
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return line;
}

}  // namespace eclipse_base
