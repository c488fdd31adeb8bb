#include "base/printable.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/text.h"

namespace eclipse_base {

namespace {

constexpr std::size_t shown_of_longer = 200;

/// Characters that control, format or are invisible: the general categories Cc, Cf, Zl, Zp and Zs of Unicode except U+0020, and
/// its default-ignorable code points; and the Braille pattern without dots. In ascending order.
using Range = std::pair<char32_t, char32_t>;
constexpr auto unprintable = std::to_array<Range>(
    {{0x0000, 0x001F},   {0x007F, 0x00A0},   {0x00AD, 0x00AD},   {0x034F, 0x034F},   {0x0600, 0x0605},   {0x061C, 0x061C},
     {0x06DD, 0x06DD},   {0x070F, 0x070F},   {0x0890, 0x0891},   {0x08E2, 0x08E2},   {0x115F, 0x1160},   {0x1680, 0x1680},
     {0x17B4, 0x17B5},   {0x180B, 0x180F},   {0x2000, 0x200F},   {0x2028, 0x202F},   {0x205F, 0x206F},   {0x2800, 0x2800},
     {0x3000, 0x3000},   {0x3164, 0x3164},   {0xFE00, 0xFE0F},   {0xFEFF, 0xFEFF},   {0xFFA0, 0xFFA0},   {0xFFF0, 0xFFFB},
     {0x110BD, 0x110BD}, {0x110CD, 0x110CD}, {0x13430, 0x1343F}, {0x1BCA0, 0x1BCA3}, {0x1D173, 0x1D17A}, {0xE0000, 0xE0FFF}});

bool is_unprintable(char32_t character) {
  if (character >= ' ' && character <= '~') return false;
  const auto is_before = [](const Range& range, char32_t code) { return range.second < code; };
  const auto found = std::lower_bound(unprintable.begin(), unprintable.end(), character, is_before);
  return found != unprintable.end() && found->first <= character;
}

/// The code point of a valid UTF-8 character.
char32_t code_point(std::string_view character) {
  const auto first = static_cast<unsigned char>(character.front());
  if (character.size() == 1) return first;
  char32_t code = first & (0xFFU >> (character.size() + 1));
  for (const char byte : character.substr(1)) code = (code << 6U) | (static_cast<unsigned char>(byte) & 0x3FU);
  return code;
}

std::string in_hexadecimal(std::string_view prefix, std::size_t digits, char32_t code) {
  std::string text(prefix);
  while (digits-- > 0) text += "0123456789ABCDEF"[(code >> (4 * digits)) & 15U];
  return text;
}

std::string byte_in_hexadecimal(char byte) { return in_hexadecimal("\\x", 2, static_cast<unsigned char>(byte)); }

std::string escape_of(char32_t code, const PrintableForm& form) {
  switch (code) {
    case '\n':
      return std::string(form.line_feed);
    case '\t':
      return std::string(form.tab);
    case '\r':
      return "\\r";
    default:
      if (code < 0x80) return byte_in_hexadecimal(static_cast<char>(code));
      return code < 0x10000 ? in_hexadecimal("\\u", 4, code) : in_hexadecimal("\\U", 8, code);
  }
}

/// Where a text can be cut near its `end` without cutting a UTF-8 character.
std::size_t cut_near(std::string_view text, std::size_t end) {
  for (std::size_t cut = end; cut + 3 > end; --cut) {
    if ((static_cast<unsigned char>(text[cut]) & 0xC0U) != 0x80U) return cut;
  }
  return end;
}

/// Whether a text that ends too early could be the beginning of a UTF-8 character.
bool begins_character(std::string_view text) {
  for (const std::string_view rest : {"\x80\x80\x80", "\xBF\xBF\xBF"}) {
    for (std::size_t missing = 1; missing <= rest.size(); ++missing) {
      if (character_length(std::string(text).append(rest.substr(0, missing))) == text.size() + missing) return true;
    }
  }
  return false;
}

}  // namespace

std::string printable(std::string_view text, const PrintableForm& form) {
  if (text.size() > form.longest) {
    const std::size_t cut = cut_near(text, std::min(shown_of_longer, form.longest));
    return printable(text.substr(0, cut), form) + "... (" + counted(text.size() - cut, "byte") + " left out)";
  }
  std::string shown;
  shown.reserve(text.size());
  while (!text.empty()) {
    const std::string_view character = text.substr(0, std::max<std::size_t>(character_length(text), 1));
    text.remove_prefix(character.size());
    const bool is_valid = character_length(character) != 0;
    if (!is_valid) {
      shown += byte_in_hexadecimal(character.front());
    } else if (const char32_t code = code_point(character); is_unprintable(code)) {
      shown += escape_of(code, form);
    } else {
      shown += character;
    }
  }
  return shown;
}

bool is_printable(std::string_view character) { return !is_unprintable(code_point(character)); }

std::string in_quotes(std::string_view text) { return "\"" + printable(text) + "\""; }

std::string did_you_mean(std::string_view word) { return "did you mean " + in_quotes(word) + "?"; }

std::string PrintablePieces::add(std::string_view piece) {
  const std::string text = std::exchange(incomplete_, "") + std::string(piece);
  std::size_t end = text.size();
  for (std::size_t length = 1; length <= std::min<std::size_t>(3, text.size()); ++length) {
    if (begins_character(std::string_view(text).substr(text.size() - length))) end = text.size() - length;
  }
  incomplete_ = text.substr(end);
  return printable(std::string_view(text).substr(0, end), form_);
}

std::string PrintablePieces::end() { return printable(std::exchange(incomplete_, ""), form_); }

}  // namespace eclipse_base
