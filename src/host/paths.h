// Paths as the plug-in takes them from the host: listed files with either separator and stray line ends.
#ifndef ECLIPSE_INT_SRC_HOST_PATHS_H
#define ECLIPSE_INT_SRC_HOST_PATHS_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace eclipse_int {

/// `directory` and `name` joined by one "/", in the host's normalised form. The slash is put in even where one stands already.
std::string joined_path(std::string_view directory, std::string_view name);

constexpr char forward_slash(char c) { return c == '\\' ? '/' : c; }

/// The text with every "\" turned into "/".
std::string with_forward_slashes(std::string_view text);

/// The text without the line feeds and carriage returns at its end.
constexpr std::string_view without_line_ends(std::string_view text) {
  return text.substr(0, text.find_last_not_of("\n\r") + 1);
}

/// True when `listed`, once its backslashes are slashes, ends with `name`.
bool path_ends_with(std::string_view listed, std::string_view name);

/// A text to look for in listed paths, whichever separator they use. Packages list far more files than matter here, so the
/// paths are searched as they stand, without a converted copy of each.
class PathFragment {
 public:
  /// `text` is kept by reference. It has forward slashes only, is not empty and shorter than 256 bytes.
  explicit constexpr PathFragment(std::string_view text) : text_(text) {
    step_.fill(static_cast<unsigned char>(text.size()));
    for (std::size_t i = 0; i < text.size(); ++i) {
      step_[static_cast<unsigned char>(text[i])] = static_cast<unsigned char>(text.size() - 1 - i);
    }
    step_['\\'] = step_['/'];
  }

  /// True when `listed`, once its backslashes are slashes, contains the text.
  bool occurs_in(std::string_view listed) const;

 private:
  std::string_view text_;
  // How far a window over the path may move on, by the last byte in it (the search of Boyer, Moore and Horspool). It is 0 where
  // that byte is the text's own last: there alone the window has to be compared.
  std::array<unsigned char, 256> step_{};
};

}  // namespace eclipse_int

#endif
