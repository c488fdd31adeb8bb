// How texts from outside (files, file names, sessions, commands and what they print) are shown to a person.
#ifndef ECLIPSE_INT_BASE_PRINTABLE_H
#define ECLIPSE_INT_BASE_PRINTABLE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace eclipse_base {

/// As long as a path can be.
inline constexpr std::size_t longest_shown = 4096;
inline constexpr std::size_t no_limit = std::string_view::npos;

struct PrintableForm {
  std::string_view tab = "\\t";
  std::string_view line_feed = "\\n";
  std::size_t longest = longest_shown;  ///< in bytes; of a longer text only the first 200 and how many are left out
};

/// The text as one line that neither steers a terminal nor hides anything: "\n", "\r" and "\t" for these, "\x1B" for other
/// ASCII control characters and for bytes that are not UTF-8, and "\u202E" or "\U000E0001" for other characters that control,
/// format or are invisible: also spaces other than U+0020. A backslash is shown as it is.
std::string printable(std::string_view text, const PrintableForm& form = {});

/// Whether printable() shows a character, which is valid UTF-8, as it is.
bool is_printable(std::string_view character);

/// printable() in double quotes.
std::string in_quotes(std::string_view text);

/// "A", "B": each of the texts in quotes.
template <typename Texts>
std::string each_in_quotes(const Texts& texts) {
  std::string all;
  for (const auto& text : texts) all += (all.empty() ? "" : ", ") + in_quotes(text);
  return all;
}

/// "A", "B" or "C": what to choose from.
template <typename Texts>
std::string any_in_quotes(const Texts& texts) {
  std::string any;
  std::size_t left = texts.size();
  for (const auto& text : texts) {
    --left;
    any += (any.empty() ? "" : left == 0 ? " or " : ", ") + in_quotes(text);
  }
  return any;
}

/// The question about a misspelled word: "did you mean "WORD"?".
std::string did_you_mean(std::string_view word);

/// Makes a text printable that comes in pieces, which may end in the middle of a character.
class PrintablePieces {
 public:
  explicit PrintablePieces(PrintableForm form) : form_(form) { form_.longest = no_limit; }

  /// What can be shown now.
  std::string add(std::string_view piece);
  /// What was held back.
  std::string end();

 private:
  PrintableForm form_;
  std::string incomplete_;  ///< the beginning of a character
};

}  // namespace eclipse_base

#endif
