#include "differential/readable.h"

namespace differential {

namespace {

std::string escaped(char byte) {
  constexpr std::string_view digits = "0123456789abcdef";
  switch (byte) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    case '\\':
      return "\\\\";
    case '"':
      return "\\\"";
  }
  const auto code = static_cast<unsigned char>(byte);
  if (code >= 0x20 && code < 0x7f) return {byte};
  return {'\\', 'x', digits[code >> 4], digits[code & 15]};
}

}  // namespace

std::string readable(std::string_view text) {
  std::string quoted = "\"";
  for (const char byte : text) quoted += escaped(byte);
  return quoted + '"';
}

std::string readable(const plugin_config& record) {
  return "{" + readable(record.repository) + ", " + readable(record.feature) + ", " + readable(record.extra) + ", " +
         readable(record.order) + ", " + readable(record.base_dir) + "}";
}

std::string readable(const Component* component) { return component == nullptr ? "null" : readable(component->code); }

std::string readable(const std::pair<std::string, std::string>& texts) {
  return "(" + readable(texts.first) + ", " + readable(texts.second) + ")";
}

}  // namespace differential
