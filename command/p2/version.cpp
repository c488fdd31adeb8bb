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

}  // namespace eclipse_p2
