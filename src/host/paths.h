// Paths from the host: listed files may use either separator and end in stray line ends.
#ifndef ECLIPSE_INT_SRC_HOST_PATHS_H
#define ECLIPSE_INT_SRC_HOST_PATHS_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace eclipse_int {

/// `directory` + "/" + `name` in the host's normalised form. The slash is inserted even if there is one already.
std::string joined_path(std::string_view directory, std::string_view name);

constexpr char forward_slash(char c) { return c == '\\' ? '/' : c; }

/// The text with every "\" turned into "/".
std::string with_forward_slashes(std::string_view text);

/// The text without the line feeds and carriage returns at its end.
constexpr std::string_view without_line_ends(std::string_view text) {
  return text.substr(0, text.find_last_not_of("\n\r") + 1);
}

/// True if `listed`, with its backslashes as slashes, ends with `name`.
bool path_ends_with(std::string_view listed, std::string_view name);

/// A text to find in listed paths, whichever separator they use. Packages list far more files than matter here, so the paths
/// are searched without making a converted copy of each.
class PathFragment {
 public:
  /// Keeps `text` by reference. It must have forward slashes only, and be 1 to 255 bytes long.
  explicit constexpr PathFragment(std::string_view text) : text_(text) {
    step_.fill(static_cast<unsigned char>(text.size()));
    for (std::size_t i = 0; i < text.size(); ++i) {
      step_[static_cast<unsigned char>(text[i])] = static_cast<unsigned char>(text.size() - 1 - i);
    }
    step_['\\'] = step_['/'];
  }

  /// True if `listed`, with its backslashes as slashes, contains the text.
  bool occurs_in(std::string_view listed) const;

 private:
  std::string_view text_;
  // How far a window over the path may advance, by the last byte in it (Boyer-Moore-Horspool). It is 0 where that byte is the
  // last of the text: only then must the window be compared.
  std::array<unsigned char, 256> step_{};
};

}  // namespace eclipse_int

#endif
