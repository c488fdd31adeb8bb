#include "lint/rules/header_lines.h"

#include <algorithm>
#include <array>

#include "base/text.h"

using namespace eclipse_base;

namespace eclipse_lint {

std::string bare(std::string_view text) {
  std::string letters;
  for (const char byte : lower_case(text)) {
    if (byte >= 'a' && byte <= 'z') letters += byte;
  }
  return letters;
}

bool is_odd_header(const Record& record) {
  constexpr std::array<std::string_view, 3> spellings = {"repository", "repositories", "repo"};
  constexpr std::array<std::string_view, 16> words = {
      "site",    "sites",    "updatesite",    "updatesites", "repositoryurl",     "repositorypath",
      "repourl", "url",      "path",          "location",    "featurerepository", "repositoryfeature",
      "siteurl", "sitepath", "sitefeatureid", "feature"};
  constexpr std::array<std::string_view, 8> second_words = {"feature", "features",   "featureid", "featureids",
                                                            "id",      "repository", "unit",      "plugin"};
  constexpr std::size_t longest = 100;
  if (std::max(record.repository().size(), record.feature().size()) > longest) return false;
  const auto is_in = [](const auto& known, const std::string& letters) {
    return std::find(known.begin(), known.end(), letters) != known.end();
  };
  const std::string first = bare(record.repository());
  return is_in(spellings, first) || (is_in(words, first) && is_in(second_words, bare(record.feature())));
}

}  // namespace eclipse_lint
