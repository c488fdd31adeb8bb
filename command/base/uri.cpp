#include "base/uri.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <system_error>

namespace eclipse_base {

std::optional<std::string> without_escapes(std::string_view text) {
  std::string result;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (text[at] != '%') {
      result += text[at];
      continue;
    }
    const std::string_view digits = text.substr(at + 1, 2);
    unsigned code = 0;
    const auto read = std::from_chars(digits.data(), digits.data() + digits.size(), code, 16);
    if (digits.size() != 2 || read.ec != std::errc() || read.ptr != digits.data() + 2 || code == 0) return std::nullopt;
    result += static_cast<char>(code);
    at += 2;
  }
  return result;
}

bool has_scheme(std::string_view text) {
  const std::size_t colon = text.find(':');
  if (colon == text.npos || colon < 2 || std::isalpha(static_cast<unsigned char>(text.front())) == 0) return false;
  return std::all_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(colon),
                     [](unsigned char byte) { return std::isalnum(byte) != 0 || byte == '+' || byte == '-' || byte == '.'; });
}

std::string percent_encoded(char byte) {
  constexpr std::string_view hexadecimal = "0123456789ABCDEF";
  const auto code = static_cast<unsigned char>(byte);
  return {'%', hexadecimal[code / 16], hexadecimal[code % 16]};
}

std::string uri_of(const std::string& file) {
  constexpr std::string_view plain = "-._~/";
  std::string uri = file.starts_with('/') ? "file://" : "";
  for (const char byte : file) {
    const auto code = static_cast<unsigned char>(byte);
    if (std::isalnum(code) != 0 || plain.find(byte) != plain.npos) {
      uri += byte;
    } else {
      uri += percent_encoded(byte);
    }
  }
  return uri;
}

std::optional<std::filesystem::path> file_of_uri(std::string_view uri) {
  for (const std::string_view beginning : {"file://localhost/", "file:///", "file:/"}) {
    if (!uri.starts_with(beginning)) continue;
    if (beginning == "file:/" && uri.starts_with("file://")) break;  // on another machine
    auto path = without_escapes(uri.substr(beginning.size() - 1));
    if (!path || path->find('\0') != std::string::npos) break;
    return std::filesystem::path(*std::move(path)).lexically_normal();
  }
  return std::nullopt;
}

}  // namespace eclipse_base
