#include "cli/one_line.h"

#include <array>
#include <cstdio>

namespace eclipse_cli {

namespace {

bool is_control(char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F; }

std::string shown(char byte) {
  switch (byte) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      break;
  }
  std::array<char, 8> text;
  std::snprintf(text.data(), text.size(), "\\x%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
  return text.data();
}

}  // namespace

std::string on_one_line(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (const char byte : text) {
    if (is_control(byte)) {
      line += shown(byte);
    } else {
      line += byte;
    }
  }
  return line;
}

}  // namespace eclipse_cli
