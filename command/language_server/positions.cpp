#include "language_server/positions.h"

#include <algorithm>

#include "base/text.h"

namespace eclipse_language_server {

namespace {

struct Character {
  std::size_t bytes;
  std::size_t units;
};

Character first_character(std::string_view text, PositionEncoding encoding) {
  const std::size_t bytes = std::max<std::size_t>(eclipse_base::character_length(text), 1);
  switch (encoding) {
    case PositionEncoding::utf8:
      return {bytes, bytes};
    case PositionEncoding::utf16:
      return {bytes, bytes == 4 ? 2U : 1U};
    case PositionEncoding::utf32:
      break;
  }
  return {bytes, 1};
}

}  // namespace

std::string_view name_of(PositionEncoding encoding) {
  switch (encoding) {
    case PositionEncoding::utf8:
      return "utf-8";
    case PositionEncoding::utf16:
      return "utf-16";
    case PositionEncoding::utf32:
      break;
  }
  return "utf-32";
}

std::size_t units_in(std::string_view line, std::size_t bytes, PositionEncoding encoding) {
  std::size_t units = 0;
  for (std::size_t at = 0; at < std::min(bytes, line.size());) {
    const Character character = first_character(line.substr(at), encoding);
    at += character.bytes;
    units += character.units;
  }
  return units;
}

std::size_t bytes_in(std::string_view line, std::size_t units, PositionEncoding encoding) {
  std::size_t at = 0;
  while (at < line.size()) {
    const Character character = first_character(line.substr(at), encoding);
    if (character.units > units) break;
    at += character.bytes;
    units -= character.units;
  }
  return at;
}

}  // namespace eclipse_language_server
