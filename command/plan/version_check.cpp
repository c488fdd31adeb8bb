#include "plan/version_check.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <vector>

namespace eclipse_plan {

namespace {

/// "4.10.0.v2022" as 4, 10: up to the first part that is not a number, without trailing zeros.
std::vector<unsigned long> leading_numbers(std::string_view version) {
  std::vector<unsigned long> numbers;
  while (!version.empty()) {
    const std::string_view part = version.substr(0, version.find('.'));
    unsigned long number = 0;
    const auto [end, error] = std::from_chars(part.data(), part.data() + part.size(), number);
    if (error != std::errc() || end != part.data() + part.size()) break;
    numbers.push_back(number);
    version.remove_prefix(std::min(part.size() + 1, version.size()));
  }
  while (!numbers.empty() && numbers.back() == 0) numbers.pop_back();
  return numbers;
}

}  // namespace

std::string first_difference(const std::string& version, const std::string& minimum) {
  if (version == minimum) return "they are equal";
  const auto [one, other] = std::mismatch(version.begin(), version.end(), minimum.begin(), minimum.end());
  if (other == minimum.end()) return "\"" + version + "\" begins with \"" + minimum + "\" and is longer, so it comes after it";
  if (one == version.end()) return "\"" + minimum + "\" begins with \"" + version + "\" and is longer, so it comes after it";
  const bool before = static_cast<unsigned char>(*one) < static_cast<unsigned char>(*other);
  return "they first differ at byte " + std::to_string(one - version.begin() + 1) + ", where \"" + *one + "\" comes " +
         (before ? "before" : "after") + " \"" + *other + "\"";
}

bool numeric_order_differs(const VersionCheck& check) {
  const auto version = leading_numbers(check.version);
  const auto minimum = leading_numbers(check.minimum);
  if (version.empty() || minimum.empty()) return false;
  return (version < minimum) == (check.supported == "yes");
}

}  // namespace eclipse_plan
