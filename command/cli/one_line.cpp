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

/// Where the text can be cut near its 200th byte without cutting a character that is UTF-8.
std::size_t cut_of(std::string_view text) {
  std::size_t cut = 200;
  while (cut > 197 && (static_cast<unsigned char>(text[cut]) & 0xC0U) == 0x80U) --cut;
  return cut;
}

}  // namespace

std::string on_one_line(std::string_view text, std::size_t longest) {
  if (text.size() > longest) {
    const std::size_t cut = cut_of(text);
    return on_one_line(text.substr(0, cut), longest) + "... (" + std::to_string(text.size() - cut) + " bytes left out)";
  }
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
