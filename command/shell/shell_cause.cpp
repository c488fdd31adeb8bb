#include "shell/shell_cause.h"

#include <algorithm>
#include <utility>

namespace eclipse_shell {

namespace {

/// What of the surroundings stands in the word with the text.
std::string in_the_word(std::string surroundings) {
  std::erase_if(surroundings, [](char byte) { return byte == '"' || byte == ' '; });
  return surroundings;
}

bool is_passed_on(const ShellReading& reading, const std::string& word) {
  return reading.fault.empty() && !reading.is_replaced && reading.redirections.empty() &&
         reading.commands == std::vector<ShellWords>{{word}};
}

}  // namespace

std::optional<ShellCause> cause_in(const CommandPiece& piece) {
  if (piece.text.empty() || is_plain(piece.text)) return std::nullopt;
  const ShellReading reading = read_as_shell(piece.before + piece.text + piece.after);
  if (is_passed_on(reading, in_the_word(piece.before) + piece.text + in_the_word(piece.after))) return std::nullopt;

  ShellCause cause{piece.text, piece.origin, {}};
  std::vector<ShellRemark> remarks = reading.remarks;
  for (const std::size_t gap : reading.gaps) remarks.push_back({gap, "the word ends there"});
  for (ShellRemark& remark : remarks) {
    if (remark.offset < piece.before.size() || remark.offset >= piece.before.size() + piece.text.size()) continue;
    cause.remarks.push_back({remark.offset - piece.before.size(), std::move(remark.effect)});
  }
  std::stable_sort(cause.remarks.begin(), cause.remarks.end(),
                   [](const ShellRemark& one, const ShellRemark& other) { return one.offset < other.offset; });
  // What ends quotes is not remarked on.
  if (cause.remarks.empty())
    cause.remarks.push_back({std::min(piece.text.find('"'), piece.text.size()), "the quotes end there"});
  return cause;
}

}  // namespace eclipse_shell
