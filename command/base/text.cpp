#include "base/text.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <utility>

namespace eclipse_base {

namespace {

constexpr std::size_t compared_bytes = 200;

char lower(char letter) { return static_cast<char>(std::tolower(static_cast<unsigned char>(letter))); }

/// Most texts are ASCII, and some are long: this looks at eight bytes at once.
bool begins_with_eight_of_ascii(std::string_view text) {
  std::uint64_t bytes = ~std::uint64_t{0};
  if (text.size() >= sizeof bytes) std::memcpy(&bytes, text.data(), sizeof bytes);
  return (bytes & 0x8080808080808080U) == 0;
}

bool is_continuation(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

}  // namespace

std::string_view trimmed(std::string_view text, std::string_view characters) {
  text.remove_prefix(std::min(text.find_first_not_of(characters), text.size()));
  return text.substr(0, text.find_last_not_of(characters) + 1);
}

std::string lower_case(std::string_view text) {
  std::string lowered(text);
  std::transform(text.begin(), text.end(), lowered.begin(), lower);
  return lowered;
}

std::string hexadecimal_of(std::string_view bytes) {
  constexpr std::string_view digits = "0123456789abcdef";
  std::string hexadecimal;
  hexadecimal.reserve(2 * bytes.size());
  for (const char each : bytes) {
    const auto byte = static_cast<unsigned char>(each);
    hexadecimal += digits[byte >> 4U];
    hexadecimal += digits[byte & 15U];
  }
  return hexadecimal;
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> pieces;
  for (std::size_t end; (end = text.find(separator)) != text.npos; text.remove_prefix(end + 1)) {
    pieces.emplace_back(text.substr(0, end));
  }
  pieces.emplace_back(text);
  return pieces;
}

std::vector<std::string> lines_of(std::string_view text) {
  std::vector<std::string> lines = split(text, '\n');
  if (lines.back().empty()) lines.pop_back();
  return lines;
}

std::string replaced(std::string_view text, std::string_view from, std::string_view to) {
  if (from.empty()) return std::string(text);
  std::string result;
  for (std::size_t at; (at = text.find(from)) != text.npos; text.remove_prefix(at + from.size())) {
    result.append(text.substr(0, at)).append(to);
  }
  return result.append(text);
}

std::string first_few(const std::vector<std::string>& texts, std::size_t most) {
  if (texts.size() <= most) return joined(texts);
  const std::vector<std::string> first(texts.begin(), texts.begin() + static_cast<std::ptrdiff_t>(most));
  return joined(first) + " and " + std::to_string(texts.size() - most) + " more";
}

std::string counted(std::size_t count, std::string_view noun, std::string_view plural) {
  std::string text = std::to_string(count) + " ";
  if (count == 1) return text.append(noun);
  return plural.empty() ? text.append(noun) + "s" : text.append(plural);
}

std::size_t distance(std::string_view from, std::string_view to) {
  from = from.substr(0, compared_bytes);
  to = to.substr(0, compared_bytes);
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t changed = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = std::exchange(row[j + 1], std::min({changed, row[j] + 1, row[j + 1] + 1}));
    }
  }
  return row.back();
}

std::optional<std::string> similar_word(std::string_view word, const std::vector<std::string>& known) {
  const std::string wanted = lower_case(word.substr(0, compared_bytes));
  std::optional<std::string> nearest;
  std::size_t nearest_distance = 0;
  for (const std::string& each : known) {
    const std::size_t changes = distance(wanted, lower_case(each));
    if (changes > std::max<std::size_t>(1, each.size() / 3) || (nearest && changes >= nearest_distance)) continue;
    nearest = each;
    nearest_distance = changes;
  }
  return nearest;
}

std::size_t character_length(std::string_view text) {
  if (text.empty()) return 0;
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

std::size_t length_of_utf8(std::string_view text) {
  std::size_t valid = 0;
  for (;;) {
    while (begins_with_eight_of_ascii(text.substr(valid))) valid += 8;
    while (valid < text.size() && static_cast<unsigned char>(text[valid]) < 0x80) ++valid;
    const std::size_t length = character_length(text.substr(valid));
    if (length == 0) return valid;
    valid += length;
  }
}

bool is_utf8(std::string_view text) { return length_of_utf8(text) == text.size(); }

namespace {

enum class ByteOrder { low_first, high_first };

/// Nothing when the bytes are not UTF-16, or are not certain to be.
std::optional<ByteOrder> utf_16_order(std::string_view bytes) {
  if (bytes.size() % 2 != 0 || bytes.empty()) return std::nullopt;
  if (bytes.starts_with("\xFF\xFE")) return ByteOrder::low_first;
  if (bytes.starts_with("\xFE\xFF")) return ByteOrder::high_first;
  const std::size_t zero = bytes[0] == '\0' ? 0 : 1;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    const auto letter = static_cast<unsigned char>(bytes[i + 1 - zero]);
    if (bytes[i + zero] != '\0' || letter == 0 || letter >= 0x80) return std::nullopt;
  }
  return zero == 0 ? ByteOrder::high_first : ByteOrder::low_first;
}

void append_utf_8(std::string& text, char32_t character) {
  const auto append = [&](char32_t byte) { text += static_cast<char>(byte); };
  const auto continuation = [&](unsigned shift) { append(0x80U | ((character >> shift) & 0x3FU)); };
  if (character < 0x80) return append(character);
  append(character < 0x800     ? 0xC0U | character >> 6U
         : character < 0x10000 ? 0xE0U | character >> 12U
                               : 0xF0U | character >> 18U);
  if (character >= 0x10000) continuation(12);
  if (character >= 0x800) continuation(6);
  continuation(0);
}

}  // namespace

std::optional<std::string> utf_8_of_utf_16(std::string_view bytes) {
  const auto order = utf_16_order(bytes);
  if (!order) return std::nullopt;
  const auto unit_at = [&](std::size_t i) -> char32_t {
    const char32_t first = static_cast<unsigned char>(bytes[i]);
    const char32_t second = static_cast<unsigned char>(bytes[i + 1]);
    return *order == ByteOrder::low_first ? second << 8U | first : first << 8U | second;
  };
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 2) {
    char32_t character = unit_at(i);
    if (character == 0xFEFF && i == 0) continue;
    if (character >= 0xD800 && character < 0xE000) {
      const char32_t low = i + 3 < bytes.size() ? unit_at(i + 2) : 0;
      if (character >= 0xDC00 || low < 0xDC00 || low >= 0xE000) return std::nullopt;
      character = 0x10000 + ((character - 0xD800) << 10U) + (low - 0xDC00);
      i += 2;
    }
    append_utf_8(text, character);
  }
  return text;
}

}  // namespace eclipse_base
