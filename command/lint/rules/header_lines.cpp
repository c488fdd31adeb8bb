#include "lint/rules/header_lines.h"

#include <algorithm>
#include <array>

#include "base/text.h"
#include "lint/texts.h"
#include "p2/unit.h"

using namespace eclipse_base;

namespace eclipse_lint {

namespace {

/// Of "P2 update site (relative path)", without what is not a letter.
constexpr std::array<std::string_view, 25> repository_words = {
    "archive",    "column", "directory", "dir",    "eclipse",  "file",  "folder", "id",    "local",
    "location",   "name",   "path",      "p",      "relative", "repos", "repo",   "sites", "repositories",
    "repository", "site",   "source",    "update", "uri",      "url",   "zip"};
constexpr std::array<std::string_view, 10> place_words = {"repo",     "site",    "path", "url",    "uri",
                                                          "location", "archive", "zip",  "folder", "dir"};
constexpr std::array<std::string_view, 7> unit_words = {"feature", "plugin", "unit", "bundle", "iu", "id", "name"};
constexpr std::array<std::string_view, 17> feature_words = {"bundle", "column",  "eclipse",     "features", "feature", "group",
                                                            "ids",    "id",      "installable", "ius",      "iu",      "name",
                                                            "p",      "plugins", "plugin",      "units",    "unit"};

template <typename Words>
bool is_made_of(std::string_view letters, const Words& words) {
  return letters.empty() || std::any_of(words.begin(), words.end(), [&](std::string_view word) {
           return letters.starts_with(word) && is_made_of(letters.substr(word.size()), words);
         });
}

template <typename Words>
bool has_any_of(std::string_view letters, const Words& words) {
  return std::any_of(words.begin(), words.end(), [&](std::string_view word) { return letters.find(word) != letters.npos; });
}

bool names_feature(std::string_view letters) { return has_any_of(letters, unit_words) && is_made_of(letters, feature_words); }

bool names_repository(std::string_view letters) {
  return has_any_of(letters, place_words) && is_made_of(letters, repository_words);
}

}  // namespace

std::string bare(std::string_view text) {
  std::string letters;
  for (const char byte : lower_case(text)) {
    if (byte >= 'a' && byte <= 'z') letters += byte;
  }
  return letters;
}

HeaderWords header_words(std::string_view first, std::string_view second) {
  constexpr std::size_t longest = 100;
  const bool is_feature = looks_like_feature(trimmed(second, " \"'"));
  if (std::max(first.size(), second.size()) > longest || is_feature) return HeaderWords::none;
  const std::string one = bare(first);
  const std::string other = bare(second);
  if (one == "repository" || one == "repositories" || one == "repo") return HeaderWords::in_order;
  // The names of archives and ids are made of such words, too, but with dots between them.
  if (first.find('.') != first.npos || second.find('.') != second.npos) return HeaderWords::none;
  if (names_feature(one) && names_repository(other)) return HeaderWords::exchanged;
  // A column may be said to be about both, as "Feature/Repository".
  const bool is_header = names_repository(replaced(one, "feature", "")) && names_feature(replaced(other, "repository", ""));
  return is_header ? HeaderWords::in_order : HeaderWords::none;
}

bool is_odd_header(const Record& record) { return header_words(record.repository(), record.feature()) != HeaderWords::none; }

bool is_shifted(const Record& record) {
  const std::string_view second = record.feature();
  const std::string_view third = record.cell(2);
  if (!record.repository().empty() || second.empty()) return false;
  const bool is_repository = !looks_like_feature(eclipse_p2::unit_called(second).id);
  return header_words(second, third) != HeaderWords::none ||
         (is_repository && looks_like_feature(eclipse_p2::unit_called(third).id));
}

bool are_swapped(const Record& record) {
  const std::string_view site = record.feature();
  if (!looks_like_feature(record.repository()) || looks_like_site(record.repository())) return false;
  if (looks_like_feature(eclipse_p2::unit_called(site).id) || (record.site != nullptr && record.site->exists)) return false;
  const bool is_name = !site.empty() && site.find_first_of("0123456789[(<>=") != 0;
  return looks_like_site(site) || (is_name && record.repository().ends_with(eclipse_p2::group_suffix));
}

}  // namespace eclipse_lint
