#include "p2/unit_list.h"

#include <algorithm>

#include "base/text.h"
#include "shell/shell_reading.h"

using namespace eclipse_base;

namespace eclipse_p2 {

namespace {

std::string word_of(std::string_view list) { return eclipse_shell::as_word(std::string(list)); }

/// The texts of the units in a list that the director gets. A comma at the beginning makes one unit of the whole list. Other
/// empty parts do not count.
std::vector<std::string_view> texts_in(std::string_view list) {
  if (list.starts_with(',')) return {list};
  std::vector<std::string_view> texts;
  while (!list.empty()) {
    const std::size_t comma = std::min(list.find(','), list.size());
    const std::string_view text = trimmed(list.substr(0, comma));
    if (!text.empty()) texts.push_back(text);
    list.remove_prefix(std::min(comma + 1, list.size()));
  }
  return texts;
}

}  // namespace

std::string list_of(const std::vector<Unit>& units) { return joined(texts_of(units), ","); }

std::vector<Unit> units_named(std::string_view list) {
  std::vector<Unit> units;
  for (const std::string_view text : texts_in(list)) units.push_back(unit_called(text));
  return units;
}

std::vector<WrittenUnit> units_written_in(std::string_view list) {
  const std::string word = word_of(list);
  const std::size_t start = list.find(word);
  std::vector<WrittenUnit> units;
  for (const std::string_view text : texts_in(word)) {
    const auto offset = static_cast<std::size_t>(text.data() - word.data());
    units.push_back({unit_called(text), std::string(text), start == list.npos ? std::nullopt : std::optional(start + offset)});
  }
  return units;
}

bool is_read_as_option(std::string_view list) { return !eclipse_shell::is_plain(list) && word_of(list).starts_with('-'); }

bool begins_with_comma(std::string_view list) { return !eclipse_shell::is_plain(list) && word_of(list).starts_with(','); }

}  // namespace eclipse_p2
