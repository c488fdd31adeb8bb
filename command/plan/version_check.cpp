#include "plan/version_check.h"

#include <algorithm>
#include <charconv>
#include <string_view>
#include <vector>

namespace eclipse_plan {

namespace {

/// "4.10.0.v2022" as 4, 10: up to the first part that is no number, and without zeros at the end.
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

std::string where_they_part(const std::string& version, const std::string& minimum) {
  if (version == minimum) return "they are the same";
  const auto [one, other] = std::mismatch(version.begin(), version.end(), minimum.begin(), minimum.end());
  if (other == minimum.end()) return "\"" + version + "\" goes on where \"" + minimum + "\" ends, and so comes after it";
  if (one == version.end()) return "\"" + version + "\" ends where \"" + minimum + "\" goes on, and so comes before it";
  const bool before = static_cast<unsigned char>(*one) < static_cast<unsigned char>(*other);
  return "they part at byte " + std::to_string(one - version.begin() + 1) + ", where \"" + *one + "\" comes " +
         (before ? "before" : "after") + " \"" + *other + "\"";
}

bool numbers_say_otherwise(const VersionCheck& check) {
  const auto version = leading_numbers(check.version);
  const auto minimum = leading_numbers(check.minimum);
  if (version.empty() || minimum.empty()) return false;
  return (version < minimum) == (check.supported == "yes");
}

}  // namespace eclipse_plan
