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

bool is_osgi_version(std::string_view version) {
  const auto parts = eclipse_base::split(version, '.');
  if (parts.size() > 4) return false;
  for (std::size_t i = 0; i < parts.size(); ++i) {
    const auto belongs = [&](char byte) {
      const auto code = static_cast<unsigned char>(byte);
      return i < 3 ? std::isdigit(code) != 0 : std::isalnum(code) != 0 || byte == '_' || byte == '-';
    };
    if (parts[i].empty() || !std::all_of(parts[i].begin(), parts[i].end(), belongs)) return false;
  }
  return true;
}

std::strong_ordering compare_versions(std::string_view left, std::string_view right) {
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

}  // namespace eclipse_p2
