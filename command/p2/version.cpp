#include "p2/version.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

#include "base/text.h"

namespace eclipse_p2 {

namespace {

constexpr std::size_t numbers = 3;

std::string_view without_leading_zeros(std::string_view number) {
  if (number.empty()) return number;
  return number.substr(std::min(number.find_first_not_of('0'), number.size() - 1));
}

std::size_t digits_at(std::string_view text, std::size_t at) {
  const auto is_digit = [](unsigned char byte) { return std::isdigit(byte) != 0; };
  return static_cast<std::size_t>(std::find_if_not(text.begin() + static_cast<std::ptrdiff_t>(at), text.end(), is_digit) -
                                  text.begin()) -
         at;
}

/// Cuts a version at its next dot: the part before it, which is returned, and the rest.
std::string_view cut(std::string_view& version) {
  const std::size_t end = std::min(version.find('.'), version.size());
  const std::string_view part = version.substr(0, end);
  version.remove_prefix(std::min(end + 1, version.size()));
  return part;
}

}  // namespace

std::string whole_version(std::string_view version) {
  std::string whole;
  for (std::size_t i = 0; i < numbers; ++i) {
    const bool is_last = version.find('.') == version.npos;
    whole += (i == 0 ? "" : ".");
    whole += without_leading_zeros(cut(version));
    if (is_last) {
      for (++i; i < numbers; ++i) whole += ".0";
      return whole;
    }
  }
  return version.empty() ? whole : whole + "." + std::string(version);
}

bool is_osgi_version(std::string_view version) {
  for (std::size_t i = 0; i <= numbers; ++i) {
    const auto belongs = [&](char byte) {
      const auto code = static_cast<unsigned char>(byte);
      return i < numbers ? std::isdigit(code) != 0 : std::isalnum(code) != 0 || byte == '_' || byte == '-';
    };
    const bool is_last = version.find('.') == version.npos;
    const std::string_view part = cut(version);
    if (part.empty() || !std::all_of(part.begin(), part.end(), belongs)) return false;
    if (is_last) return true;
  }
  return false;
}

std::strong_ordering compare_versions(std::string_view left, std::string_view right) {
  if (left == right) return std::strong_ordering::equal;
  const std::string whole_left = whole_version(left);
  const std::string whole_right = whole_version(right);
  left = whole_left;
  right = whole_right;
  for (std::size_t i = 0; i < numbers; ++i) {
    const std::string_view number = cut(left);
    const std::string_view other = cut(right);
    if (number.size() != other.size()) return number.size() <=> other.size();  // neither has leading zeros
    if (const auto order = number <=> other; order != std::strong_ordering::equal) return order;
  }
  return left <=> right;
}

bool has_lower_number(std::string_view newer, std::string_view older) {
  constexpr std::size_t digits_of_a_day = 8;
  const std::string one = whole_version(newer);
  const std::string other = whole_version(older);
  const auto differs_at = std::mismatch(one.begin(), one.end(), other.begin(), other.end());
  auto at = static_cast<std::size_t>(differs_at.first - one.begin());
  if (at == one.size() || at == other.size() || std::count(one.begin(), differs_at.first, '.') < 3) return false;
  while (std::isdigit(static_cast<unsigned char>(one[at - 1])) != 0) --at;
  const std::size_t length = digits_at(one, at);
  const std::size_t other_length = digits_at(other, at);
  if (length == 0 || other_length == 0 || std::min(length, other_length) >= digits_of_a_day) return false;
  const std::string_view number = without_leading_zeros(std::string_view(one).substr(at, length));
  const std::string_view other_number = without_leading_zeros(std::string_view(other).substr(at, other_length));
  return number.size() < other_number.size() && std::is_gt(compare_versions(newer, older));
}

bool is_in_range(std::string_view version, std::string_view range) {
  const std::size_t comma = range.find(',');
  if (comma == range.npos) return !is_osgi_version(range) || std::is_gteq(compare_versions(version, range));
  const std::string_view low = eclipse_base::trimmed(range.substr(1, comma - 1));
  const std::string_view high = eclipse_base::trimmed(range.substr(comma + 1, range.size() - comma - 2));
  if (!is_osgi_version(low) || !is_osgi_version(high)) return true;
  const auto from_low = compare_versions(version, low);
  const auto to_high = compare_versions(high, version);
  return (range.starts_with('[') ? std::is_gteq(from_low) : std::is_gt(from_low)) &&
         (range.ends_with(']') ? std::is_gteq(to_high) : std::is_gt(to_high));
}

}  // namespace eclipse_p2
