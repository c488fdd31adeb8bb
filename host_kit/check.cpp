#include "host_kit/check.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "base/printable.h"

namespace host_kit {

std::string shown(bool value) { return value ? "true" : "false"; }

std::string shown(long long value) { return std::to_string(value); }

std::string shown(const void* pointer) {
  if (pointer == nullptr) return "null";
  std::ostringstream text;
  text << pointer;
  return text.str();
}

std::string shown(std::string_view text) { return eclipse_base::in_quotes(text); }

void expect_text(const std::string& what, std::string_view expected, std::string_view actual,
                 std::initializer_list<Guess<std::string_view>> guesses) {
  constexpr std::size_t shown_whole = 200;
  if (expected == actual) return;
  if (std::max(expected.size(), actual.size()) <= shown_whole) return expect_equal(what, expected, actual, guesses);
  const auto difference = std::mismatch(expected.begin(), expected.end(), actual.begin(), actual.end());
  const auto same = static_cast<std::size_t>(difference.first - expected.begin());
  throw Failure{what + " gives " + std::to_string(expected.size()) + " bytes, from byte " + std::to_string(same) + " on " +
                    shown(expected.substr(same, 40)),
                std::to_string(actual.size()) + " bytes, from there on " + shown(actual.substr(same, 40)),
                same == actual.size() ? "the end is missing: a buffer of a fixed size?" : ""};
}

void expect(bool holds, const std::string& expected, const std::string& actual, const std::string& likely_cause) {
  if (!holds) throw Failure{expected, actual, likely_cause};
}

void write_file(const std::string& path, std::string_view content) {
  std::ofstream file(path, std::ios::binary);
  file << content << std::flush;
  if (!file) throw std::runtime_error("cannot write " + path);
}

std::string content_of(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace host_kit
