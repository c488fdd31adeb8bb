#include "p2/filter.h"

#include <sys/utsname.h>

#include <algorithm>

#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

/// Cuts the first "(...)" from the text. Empty when the text does not begin with one.
std::string_view cut_parentheses(std::string_view& text) {
  text = trimmed(text);
  if (text.empty() || text.front() != '(') return {};
  std::size_t depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '(') ++depth;
    if (text[i] == ')' && --depth == 0) {
      const std::string_view cut = text.substr(0, i + 1);
      text = trimmed(text.substr(i + 1));
      return cut;
    }
  }
  return {};
}

std::optional<bool> fulfils_comparison(const Environment& environment, std::string_view comparison, Missing missing) {
  const std::size_t equals = comparison.find('=');
  if (equals == comparison.npos || comparison.find_first_of("~<>\\") != comparison.npos) return std::nullopt;
  const auto known = environment.find(lower_case(trimmed(comparison.substr(0, equals))));
  const std::string_view value = comparison.substr(equals + 1);
  if (known == environment.end()) return missing == Missing::none ? std::optional(false) : std::nullopt;
  if (value == "*") return true;
  return value.find('*') == value.npos ? std::optional(value == known->second) : std::nullopt;
}

/// For "&", false decides, and for "|" true.
std::optional<bool> fulfils_all(const Environment& environment, std::string_view filters, bool decisive, Missing missing) {
  std::optional<bool> result = !decisive;
  while (!filters.empty()) {
    const std::string_view filter = cut_parentheses(filters);
    if (filter.empty()) return std::nullopt;
    const auto fulfilled = fulfils(environment, filter, missing);
    if (fulfilled == decisive) return decisive;
    if (!fulfilled) result = std::nullopt;
  }
  return result;
}

}  // namespace

Environment system_environment(bool more) {
  Environment environment = {{"osgi.os", "linux"}, {"org.eclipse.update.install.features", "true"}};
  utsname name{};
  if (more && uname(&name) == 0) environment.insert({{"osgi.ws", "gtk"}, {"osgi.arch", name.machine}});
  return environment;
}

std::optional<bool> fulfils(const Environment& environment, std::string_view filter, Missing missing) {
  constexpr std::size_t longest = 4096;  // Each pair of parentheses takes a call.
  filter = trimmed(filter);
  if (filter.size() > longest) return std::nullopt;
  if (filter.empty()) return true;
  std::string_view rest = filter;
  const std::string_view whole = cut_parentheses(rest);
  if (whole.size() < 3 || !rest.empty()) return std::nullopt;
  const std::string_view inner = trimmed(whole.substr(1, whole.size() - 2));
  if (inner.starts_with('&')) return fulfils_all(environment, inner.substr(1), false, missing);
  if (inner.starts_with('|')) return fulfils_all(environment, inner.substr(1), true, missing);
  if (!inner.starts_with('!')) return fulfils_comparison(environment, inner, missing);
  const auto fulfilled = fulfils(environment, inner.substr(1), missing);
  return fulfilled ? std::optional(!*fulfilled) : std::nullopt;
}

}  // namespace eclipse_p2
