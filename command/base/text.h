// Texts, whatever they are about.
#ifndef ECLIPSE_INT_BASE_TEXT_H
#define ECLIPSE_INT_BASE_TEXT_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace eclipse_base {

/// The byte-order mark at the beginning of a text in UTF-8.
inline constexpr std::string_view utf_8_mark = "\xEF\xBB\xBF";

/// Whether bytes begin with the byte-order mark of UTF-16.
inline bool has_utf_16_mark(std::string_view bytes) { return bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF"); }

inline constexpr std::string_view white_space = " \t\r\n\v\f";

/// The text without these characters at both ends.
std::string_view trimmed(std::string_view text, std::string_view characters = white_space);

/// ASCII letters only.
std::string lower_case(std::string_view text);

/// The bytes in hexadecimal digits with small letters, two for each.
std::string hexadecimal_of(std::string_view bytes);

/// The pieces between the separators, one more than there are separators.
std::vector<std::string> split(std::string_view text, char separator);

/// The lines of a text without their line feeds. A line feed at the end begins no further line.
std::vector<std::string> lines_of(std::string_view text);

std::string replaced(std::string_view text, std::string_view from, std::string_view to);

template <typename Texts>
std::string joined(const Texts& texts, std::string_view separator = ", ") {
  std::string all;
  bool is_first = true;
  for (const auto& text : texts) {
    if (!is_first) all += separator;
    all += text;
    is_first = false;
  }
  return all;
}

/// "a, b and 3 more": at most `most` of the texts.
std::string first_few(const std::vector<std::string>& texts, std::size_t most = 3);

/// "1 file", "2 files". Give the plural where it is not the noun with an "s".
std::string counted(std::size_t count, std::string_view noun, std::string_view plural = "");

/// How many characters must be inserted, removed or replaced to turn one word into the other. Of long words only the first 200
/// bytes count.
std::size_t distance(std::string_view from, std::string_view to);

/// What was probably meant by a misspelled word: the known word most like it, regardless of case. Nothing when none is similar.
std::optional<std::string> similar_word(std::string_view word, const std::vector<std::string>& known);

/// The length of the UTF-8 character that a text begins with; 0 when it begins with none.
std::size_t character_length(std::string_view text);

/// How many characters a text has. Bytes that are not UTF-8 count as one each.
std::size_t characters_in(std::string_view text);

/// How many bytes of a text are UTF-8, from its beginning on, without those of a character that is not complete.
std::size_t length_of_utf8(std::string_view text);

bool is_utf8(std::string_view text);

/// The same text in UTF-8. The bytes are UTF-16 with a byte-order mark, or without one if all characters are ASCII. Nothing
/// when they are not.
std::optional<std::string> utf_8_of_utf_16(std::string_view bytes);

}  // namespace eclipse_base

#endif
