#include "base/unified_diff.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "base/printable.h"
#include "base/text.h"

namespace eclipse_base {

namespace {

constexpr std::size_t context = 3;
constexpr std::size_t most_compared = 2'000;  // lines on each side, which are compared each with each

using Lines = std::vector<std::string_view>;

/// With their line feeds.
Lines lines_with_ends(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const std::size_t size = std::min(text.find('\n'), text.size() - 1) + 1;
    lines.push_back(text.substr(0, size));
    text.remove_prefix(size);
  }
  return lines;
}

/// Lines that stay (' '), go ('-') or come ('+').
struct Step {
  char mark;
  std::string_view line;
};

/// The steps from some lines to others by their longest common subsequence.
void add_steps(const Lines& before, const Lines& after, std::vector<Step>& steps) {
  const std::size_t width = after.size() + 1;
  std::vector<std::size_t> common((before.size() + 1) * width);  // of what follows two lines
  for (std::size_t i = before.size(); i-- > 0;) {
    for (std::size_t j = after.size(); j-- > 0;) {
      common[i * width + j] = before[i] == after[j] ? common[(i + 1) * width + j + 1] + 1
                                                    : std::max(common[(i + 1) * width + j], common[i * width + j + 1]);
    }
  }
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < before.size() || j < after.size()) {
    if (i < before.size() && j < after.size() && before[i] == after[j]) {
      steps.push_back({' ', before[i++]});
      ++j;
    } else if (i < before.size() && (j == after.size() || common[(i + 1) * width + j] >= common[i * width + j + 1])) {
      steps.push_back({'-', before[i++]});
    } else {
      steps.push_back({'+', after[j++]});
    }
  }
}

std::vector<Step> steps_between(const Lines& before, const Lines& after) {
  const auto least = std::min(before.size(), after.size());
  std::size_t same = 0;
  while (same < least && before[same] == after[same]) ++same;
  std::size_t same_at_end = 0;
  while (same_at_end < least - same && before[before.size() - 1 - same_at_end] == after[after.size() - 1 - same_at_end]) {
    ++same_at_end;
  }
  const auto middle_of = [&](const Lines& lines) {
    return Lines(lines.begin() + static_cast<std::ptrdiff_t>(same), lines.end() - static_cast<std::ptrdiff_t>(same_at_end));
  };
  const Lines old_middle = middle_of(before);
  const Lines new_middle = middle_of(after);
  std::vector<Step> steps;
  for (std::size_t i = 0; i < same; ++i) steps.push_back({' ', before[i]});
  if (std::max(old_middle.size(), new_middle.size()) <= most_compared) {
    add_steps(old_middle, new_middle, steps);
  } else {
    for (const std::string_view line : old_middle) steps.push_back({'-', line});
    for (const std::string_view line : new_middle) steps.push_back({'+', line});
  }
  for (std::size_t i = before.size() - same_at_end; i < before.size(); ++i) steps.push_back({' ', before[i]});
  return steps;
}

/// "4,2", or "3,0" for no lines after the third.
std::string range(std::size_t lines_before, std::size_t count) {
  return std::to_string(count == 0 ? lines_before : lines_before + 1) + "," + std::to_string(count);
}

std::string hunk(const std::vector<Step>& steps, std::size_t begin, std::size_t end) {
  const auto count = [&](std::size_t from, std::size_t to, char other) {
    return static_cast<std::size_t>(std::count_if(steps.begin() + static_cast<std::ptrdiff_t>(from),
                                                  steps.begin() + static_cast<std::ptrdiff_t>(to),
                                                  [other](const Step& step) { return step.mark != other; }));
  };
  std::string text = "@@ -" + range(count(0, begin, '+'), count(begin, end, '+')) + " +" +
                     range(count(0, begin, '-'), count(begin, end, '-')) + " @@\n";
  for (std::size_t i = begin; i < end; ++i) {
    text.append(1, steps[i].mark).append(steps[i].line);
    if (!steps[i].line.ends_with('\n')) text += "\n\\ No newline at end of file\n";
  }
  return text;
}

/// An escape as in C, of which only these are understood everywhere.
std::string escape_of(char byte) {
  constexpr std::string_view with_letter = "\n\t\r\"\\";
  if (const std::size_t at = with_letter.find(byte); at != with_letter.npos) return {'\\', "ntr\"\\"[at]};
  const auto code = static_cast<unsigned char>(byte);
  return {'\\', static_cast<char>('0' + (code >> 6U)), static_cast<char>('0' + ((code >> 3U) & 7U)),
          static_cast<char>('0' + (code & 7U))};
}

/// A name as git writes it and patch reads it: in quotes when it has a byte that needs an escape, and with a tab at its end
/// when it has a space, so that what follows the space is not taken for a date.
std::string name_in_diff(std::string_view file) {
  std::string quoted;
  bool needs_quotes = false;
  for (std::string_view rest = file; !rest.empty();) {
    const std::string_view character = rest.substr(0, std::max<std::size_t>(character_length(rest), 1));
    rest.remove_prefix(character.size());
    const bool is_plain = character_length(character) != 0 && is_printable(character) && character != "\"" && character != "\\";
    if (is_plain) {
      quoted += character;
    } else {
      needs_quotes = true;
      for (const char byte : character) quoted += escape_of(byte);
    }
  }
  const std::string name = needs_quotes ? "\"" + quoted + "\"" : std::string(file);
  return file.find(' ') == file.npos ? name : name + "\t";
}

}  // namespace

std::string unified_diff(std::string_view file, std::string_view before, std::string_view after) {
  if (before == after) return "";
  const auto steps = steps_between(lines_with_ends(before), lines_with_ends(after));
  const std::string name = name_in_diff(file);
  std::string text = "--- " + name + "\n+++ " + name + "\n";
  const auto is_change = [](const Step& step) { return step.mark != ' '; };
  for (auto change = std::find_if(steps.begin(), steps.end(), is_change); change != steps.end();) {
    const auto begin = static_cast<std::size_t>(change - steps.begin());
    std::size_t end = begin;  // after the last change that is not further from the one before it than twice the context
    for (std::size_t i = begin; i < steps.size() && i <= end + 2 * context; ++i) {
      if (is_change(steps[i])) end = i + 1;
    }
    text += hunk(steps, begin - std::min(begin, context), std::min(end + context, steps.size()));
    change = std::find_if(steps.begin() + static_cast<std::ptrdiff_t>(end), steps.end(), is_change);
  }
  return text;
}

}  // namespace eclipse_base
