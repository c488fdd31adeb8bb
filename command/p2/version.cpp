#include "p2/version.h"

#include <algorithm>
#include <cstddef>

namespace eclipse_p2 {

namespace {

constexpr std::size_t numbers = 3;

std::string_view without_leading_zeros(std::string_view number) {
  if (number.empty()) return number;
  return number.substr(std::min(number.find_first_not_of('0'), number.size() - 1));
}

bool is_number(std::string_view text) { return !text.empty() && text.find_first_not_of("0123456789") == text.npos; }

/// Without leading zeros, so of two numbers the longer one is greater.
bool is_lower_part(std::string_view part, std::string_view other, bool is_qualifier) {
  if (is_qualifier || !is_number(part) || !is_number(other) || part.size() == other.size()) return part < other;
  return part.size() < other.size();
}

std::string_view next_part(std::string_view& version, bool is_qualifier) {
  const std::size_t end = is_qualifier ? version.size() : std::min(version.find('.'), version.size());
  const std::string_view part = version.substr(0, end);
  version.remove_prefix(std::min(end + 1, version.size()));
  return part;
}

}  // namespace

std::string whole_version(std::string_view version) {
  std::string whole;
  for (std::size_t i = 0; i < numbers; ++i) {
    const std::size_t end = std::min(version.find('.'), version.size());
    whole += (i == 0 ? "" : ".");
    whole += without_leading_zeros(version.substr(0, end));
    if (end == version.size()) {
      for (++i; i < numbers; ++i) whole += ".0";
      return whole;
    }
    version.remove_prefix(end + 1);
  }
  return whole + "." + std::string(version);
}

bool is_lower_version(std::string_view version, std::string_view other) {
  const std::string whole = whole_version(version);
  const std::string other_whole = whole_version(other);
  std::string_view rest = whole;
  std::string_view other_rest = other_whole;
  for (std::size_t i = 0; i <= numbers; ++i) {
    const bool is_qualifier = i == numbers;
    const std::string_view part = next_part(rest, is_qualifier);
    const std::string_view other_part = next_part(other_rest, is_qualifier);
    if (part != other_part) return is_lower_part(part, other_part, is_qualifier);
  }
  return false;
}

}  // namespace eclipse_p2
